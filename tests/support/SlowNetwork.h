#pragma once

namespace avr { namespace test {

/// The host name SlowHost is not found before this is gone, and then it is this machine. One at a
/// time. The program's own getaddrinfo stands in front of the system's for that.
class SlowResolver {
public:
    static constexpr const char* SlowHost = "slow.test";
    SlowResolver();
    ~SlowResolver();
    /// Waits until so many have asked for it.
    void waitForQuestions(unsigned int count) const;
};

/// A host name that is never found.
constexpr const char* NoHost = "none.test";

/// How many attempts to connect to the port this program has made.
unsigned int attemptsAt(unsigned int port);
/// Waits until it has made so many.
void waitForAttempts(unsigned int port, unsigned int count);

}} // namespace avr::test
