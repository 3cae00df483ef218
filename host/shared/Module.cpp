#include "Module.h"

#include <dlfcn.h>

namespace avr { namespace host {

namespace {

/// A file beside the one that holds this function.
std::string neighbour(const char* fileName)
{
    Dl_info here = {};
    if (dladdr(reinterpret_cast<void*>(&moduleEntry), &here) == 0 || !here.dli_fname)
        return fileName;
    std::string const path = here.dli_fname;
    return path.substr(0, path.find_last_of('/') + 1) + fileName;
}

} // namespace

void const* moduleEntry(const char* fileName, const char* name, std::string& reason)
{
    void* module = dlopen(neighbour(fileName).c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!module)
        module = dlopen(fileName, RTLD_NOW | RTLD_LOCAL);
    void const* const found = module ? dlsym(module, name) : nullptr;
    const char* const error = found ? nullptr : dlerror();
    if (error)
        reason = error;
    return found;
}

}} // namespace avr::host
