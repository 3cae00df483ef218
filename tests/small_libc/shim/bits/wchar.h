// uClibc-ng's own calls wchar_t signed, which it is not on ARM; Boost refuses to be compiled then.
#pragma once
#define __WCHAR_MIN __WCHAR_MIN__
#define __WCHAR_MAX __WCHAR_MAX__
