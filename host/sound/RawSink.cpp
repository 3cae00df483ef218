#include "OutputFile.h"
#include "Pacer.h"
#include "Sinks.h"

namespace avr { namespace host {

namespace {

class RawSink final : public ISoundSink {
public:
    RawSink(std::string path, Pace pace) : m_file(std::move(path)), m_pacer(pace) {}
    RawSink(int descriptor, std::string name, Pace pace)
        : m_file(descriptor, std::move(name)), m_pacer(pace)
    {}

    bool open(PcmFormat const& format, std::string& error) override
    {
        if (m_begun && m_format != format) {
            error = m_file.name() + ": holds " + describe(m_format) + " and cannot take " +
                    describe(format) + " too; write such tracks into different files";
            return false;
        }
        if (!m_begun && !m_file.open(error))
            return false;
        m_begun = true;
        m_format = format;
        m_pacer.open(format);
        return true;
    }

    long write(const std::uint8_t* pcm, std::size_t bytes, std::string& error) override
    {
        const std::size_t room = m_pacer.room(bytes);
        if (room == 0)
            return 0;
        const long taken = m_file.write(pcm, room, m_format.frameBytes(), error);
        if (taken > 0)
            m_pacer.took(std::size_t(taken));
        return taken;
    }

    bool drained() override
    {
        // What cannot be stored shows again in close.
        std::string ignored;
        return (!m_file.flush(ignored) || m_file.flushed()) && m_pacer.drained();
    }

    void pause(bool paused) override { m_pacer.pause(paused); }
    void discard() override { m_pacer.discard(); }
    bool close(std::string& error) override { return m_file.close(error); }

private:
    OutputFile m_file;
    Pacer m_pacer;
    bool m_begun = false;
    PcmFormat m_format;
};

} // namespace

std::unique_ptr<ISoundSink> makeRawFileSink(std::string path, Pace pace)
{
    return std::make_unique<RawSink>(std::move(path), pace);
}

std::unique_ptr<ISoundSink> makeRawDescriptorSink(int descriptor, std::string name, Pace pace)
{
    return std::make_unique<RawSink>(descriptor, std::move(name), pace);
}

}} // namespace avr::host
