// libstdc++'s locale model without locales of the C library: there is only "C".
#pragma once
#include <clocale>

#define _GLIBCXX_NUM_CATEGORIES 0

namespace std {

typedef int* __c_locale;

inline int __convert_from_v(const __c_locale&, char* out, const int size, const char* format, ...)
{
    __builtin_va_list arguments;
    __builtin_va_start(arguments, format);
    const int length = __builtin_vsnprintf(out, static_cast<unsigned>(size), format, arguments);
    __builtin_va_end(arguments);
    return length;
}

} // namespace std
