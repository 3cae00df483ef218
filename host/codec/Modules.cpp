#include "CodecModule.h"
#include "CodecSupport.h"
#include "Mp4Module.h"

#include <dlfcn.h>
#include <mutex>

namespace avr { namespace host {

namespace {

/// A file beside the one that holds this function.
std::string neighbour(const char* fileName)
{
    Dl_info here = {};
    if (dladdr(reinterpret_cast<void*>(&codecModule), &here) == 0 || !here.dli_fname)
        return fileName;
    std::string const path = here.dli_fname;
    return path.substr(0, path.find_last_of('/') + 1) + fileName;
}

/// Why modules could not be loaded.
struct Missing {
    std::mutex lock;
    std::string text; ///< guarded by lock
};
Missing& missing()
{
    static Missing& instance = *new Missing; // nothing depends on the order of exits
    return instance;
}

/// The module stays loaded: engines may use it at any time.
void const* entry(const char* fileName, const char* name)
{
    void* module = dlopen(neighbour(fileName).c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!module)
        module = dlopen(fileName, RTLD_NOW | RTLD_LOCAL);
    if (module)
        return dlsym(module, name);
    const char* const reason = dlerror();
    std::lock_guard<std::mutex> const guard(missing().lock);
    missing().text = reason ? reason : fileName;
    return nullptr;
}

} // namespace

std::string missingCodecs()
{
    std::lock_guard<std::mutex> const guard(missing().lock);
    return missing().text;
}

CodecModule const* codecModule()
{
    static auto const* const module =
        static_cast<CodecModule const*>(entry("libavrcodecs.so", "avr_codec_module"));
    return module;
}

Mp4Module const* mp4Module()
{
    static auto const* const module =
        static_cast<Mp4Module const*>(entry("libavrmp4.so", "avr_mp4_module"));
    return module;
}

}} // namespace avr::host
