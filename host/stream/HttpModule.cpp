#include "HttpModule.h"

#include "Module.h"

#include <mutex>

namespace avr { namespace host {

HttpModule const* httpModule(std::string& reason)
{
    static std::mutex lock;
    static HttpModule const* module = nullptr; // guarded by lock
    std::lock_guard<std::mutex> const guard(lock);
    if (!module)
        module =
            static_cast<HttpModule const*>(moduleEntry("libavrhttp.so", "avr_http_module", reason));
    return module;
}

}} // namespace avr::host
