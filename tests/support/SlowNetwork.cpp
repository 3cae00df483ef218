#include "SlowNetwork.h"

#include "decoder/Export.h"

#include <arpa/inet.h>
#include <condition_variable>
#include <cstring>
#include <dlfcn.h>
#include <map>
#include <mutex>
#include <netdb.h>
#include <sys/socket.h>

namespace avr { namespace test {

namespace {

/// Never destroyed: threads that were given up may still look for a host.
struct Watch {
    std::mutex lock; ///< guards what follows
    std::condition_variable changed;
    bool isSlow = false;
    unsigned int questions = 0;
    std::map<unsigned int, unsigned int> attempts; ///< to connect, by port

    static Watch& instance()
    {
        static Watch& watch = *new Watch;
        return watch;
    }
    void waitWhileSlow()
    {
        std::unique_lock<std::mutex> guard(lock);
        ++questions;
        changed.notify_all();
        changed.wait(guard, [this] { return !isSlow; });
    }
    void note(const sockaddr* address)
    {
        if (address->sa_family != AF_INET)
            return;
        sockaddr_in to;
        std::memcpy(&to, address, sizeof to);
        std::lock_guard<std::mutex> const guard(lock);
        ++attempts[ntohs(to.sin_port)];
        changed.notify_all();
    }
    void setSlow(bool on)
    {
        std::lock_guard<std::mutex> const guard(lock);
        isSlow = on;
        questions = 0;
        changed.notify_all();
    }
};

} // namespace

SlowResolver::SlowResolver() { Watch::instance().setSlow(true); }

SlowResolver::~SlowResolver() { Watch::instance().setSlow(false); }

void SlowResolver::waitForQuestions(unsigned int count) const
{
    Watch& watch = Watch::instance();
    std::unique_lock<std::mutex> guard(watch.lock);
    watch.changed.wait(guard, [&] { return watch.questions >= count; });
}

unsigned int attemptsAt(unsigned int port)
{
    Watch& watch = Watch::instance();
    std::lock_guard<std::mutex> const guard(watch.lock);
    return watch.attempts[port];
}

void waitForAttempts(unsigned int port, unsigned int count)
{
    Watch& watch = Watch::instance();
    std::unique_lock<std::mutex> guard(watch.lock);
    watch.changed.wait(guard, [&] { return watch.attempts[port] >= count; });
}

}} // namespace avr::test

using avr::test::SlowResolver;
using avr::test::Watch;

extern "C" AVR_API int getaddrinfo(const char* host, const char* service, const addrinfo* hints,
                                   addrinfo** found)
{
    static auto const system =
        reinterpret_cast<decltype(&getaddrinfo)>(dlsym(RTLD_NEXT, "getaddrinfo"));
    if (host && std::strcmp(host, avr::test::NoHost) == 0)
        return EAI_NONAME;
    if (!host || std::strcmp(host, SlowResolver::SlowHost) != 0)
        return system(host, service, hints, found);
    Watch::instance().waitWhileSlow();
    return system("127.0.0.1", service, hints, found);
}

extern "C" AVR_API int connect(int descriptor, const sockaddr* address, socklen_t size)
{
    static auto const system = reinterpret_cast<decltype(&connect)>(dlsym(RTLD_NEXT, "connect"));
    int const result = system(descriptor, address, size);
    Watch::instance().note(address);
    return result;
}
