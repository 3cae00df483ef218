#include "CurlHandles.h"

#include <condition_variable>
#include <mutex>
#include <system_error>
#include <thread>

namespace avr { namespace host {

namespace {

struct Abandoned {
    std::mutex lock;
    std::condition_variable gone;
    unsigned int left = 0; ///< guarded by lock
};
Abandoned& abandoned()
{
    static Abandoned& instance = *new Abandoned; // its threads may outlive the program's end
    return instance;
}

} // namespace

void abandon(std::unique_ptr<CurlHandles> handles)
{
    Abandoned& all = abandoned();
    {
        std::lock_guard<std::mutex> const guard(all.lock);
        ++all.left;
    }
    auto const destroy = [&all](CurlHandles* held) {
        delete held;
        std::lock_guard<std::mutex> const guard(all.lock);
        --all.left;
        all.gone.notify_all();
    };
    CurlHandles* const held = handles.release();
    try {
        std::thread(destroy, held).detach();
    } catch (std::system_error const&) { // no thread to be had: then it waits here
        destroy(held);
    }
}

void waitForAbandoned()
{
    Abandoned& all = abandoned();
    std::unique_lock<std::mutex> lock(all.lock);
    all.gone.wait(lock, [&all] { return all.left == 0; });
}

}} // namespace avr::host
