#pragma once

#include "ISoundSink.h"
#include "OutputFile.h"
#include "Pacer.h"

#include <vector>

namespace avr { namespace host {

/// A RIFF/WAVE file of plain PCM. Its header follows once per second of audio, so that a file
/// whose writer was killed plays too. Where nothing can be rewritten (a pipe) the sizes say
/// "unknown".
class WavFileSink final : public ISoundSink {
public:
    /// What the 32-bit sizes can hold, less the header, a pad byte and a frame half written.
    static constexpr std::uint64_t MostData = 0xFFFE0000u;

    WavFileSink(std::string path, Pace pace, std::uint64_t mostData = MostData);

    bool open(PcmFormat const& format, std::string& error) override;
    long write(const std::uint8_t* pcm, std::size_t bytes, std::string& error) override;
    bool drained() override;
    void pause(bool paused) override { m_pacer.pause(paused); }
    void discard() override { m_pacer.discard(); }
    bool close(std::string& error) override;

private:
    bool begin(PcmFormat const& format, std::string& error);
    const std::uint8_t* unsign(const std::uint8_t* pcm, std::size_t bytes);
    std::uint64_t dataBytes() const;
    bool updateHeader(std::uint64_t data, std::uint64_t pad, std::string& error);

    OutputFile m_file;
    Pacer m_pacer;
    const std::uint64_t m_mostData;
    PcmFormat m_format;
    std::uint64_t m_headerSays = 0;       ///< data bytes
    std::vector<std::uint8_t> m_unsigned; ///< 8-bit only
};

}} // namespace avr::host
