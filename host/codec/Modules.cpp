#include "CodecModule.h"
#include "CodecSupport.h"
#include "Module.h"
#include "Mp4Module.h"

#include <mutex>

namespace avr { namespace host {

namespace {

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

void const* entry(const char* fileName, const char* name)
{
    std::string reason;
    void const* const found = moduleEntry(fileName, name, reason);
    std::lock_guard<std::mutex> const guard(missing().lock);
    if (!found)
        missing().text = reason;
    return found;
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
