// A host may find the library's entry by the name main instead of calling InitDecoder. The name is
// looked up in the library alone: this program has one of its own.
#include "decoder/DecoderFactory.h"

#include <dlfcn.h>
#include <iostream>

static int fail(const char* what)
{
    std::cerr << what << '\n';
    return 1;
}

int main()
{
    if (Avr::Decoder::LookupFromFormat("wav"))
        return fail("loading the library has registered decoders");
    void* library = dlopen("libavrdecoder.so.1", RTLD_NOW);
    void* entry = library ? dlsym(library, "main") : nullptr;
    if (!entry)
        return fail(dlerror());
    if (reinterpret_cast<int (*)()>(entry)() != 0)
        return fail("the library's main does not return 0");
    if (!Avr::Decoder::LookupFromFormat("wav"))
        return fail("the library's main has registered no decoders");
    return 0;
}
