#include "Pacer.h"
#include "Sinks.h"

#include <chrono>

namespace avr { namespace host {

namespace {

class NullSink final : public ISoundSink {
public:
    NullSink(Pace pace, NullFaults& faults) : m_pacer(pace), m_faults(faults) {}

    bool open(PcmFormat const& format, std::string&) override
    {
        m_pacer.open(format);
        return true;
    }

    long write(const std::uint8_t*, std::size_t bytes, std::string&) override
    {
        const std::size_t taken = m_pacer.room(bytes);
        m_pacer.took(taken);
        return long(taken);
    }

    void finish() override { m_finished = Pacer::Clock::now(); }

    bool drained() override
    {
        const std::chrono::milliseconds late(m_faults.lateMilliseconds);
        return !m_faults.neverCompletes && Pacer::Clock::now() - m_finished >= late &&
               m_pacer.drained();
    }

    void pause(bool paused) override { m_pacer.pause(paused); }
    void discard() override { m_pacer.discard(); }
    bool close(std::string&) override { return true; }

private:
    Pacer m_pacer;
    NullFaults& m_faults;
    Pacer::Clock::time_point m_finished;
};

NullFaults& noFaults()
{
    static NullFaults none;
    return none;
}

} // namespace

std::unique_ptr<ISoundSink> makeNullSink(Pace pace, NullFaults* faults)
{
    return std::make_unique<NullSink>(pace, faults ? *faults : noFaults());
}

}} // namespace avr::host
