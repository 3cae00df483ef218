#pragma once

#include "BufferReaderModule.h"
#include "EngineDecoder.h"
#include "RiffHead.h"

namespace kiv { namespace appli {

/// What differs between the WAVE decoders outside their play loops.
template <class Leaf>
struct WaveTraits;

/// What the WAVE decoder and its test mode have in common: the head of the file, seeking and the
/// answers. Leaf derives from it and writes playThread.
template <class Leaf>
class WaveDecoderCore : public Avr::Decoder::EngineDecoder<Avr::Decoder::DecoderImple, IDecoder,
                                                           Avr::Decoder::BufferReaderModule<Leaf>> {
public:
    using StreamPtr = boost::shared_ptr<Avr::Interface::IReadableStream>;

    int Seek(long) override { return Ok; }
    int Seek(double) override { return Ok; }
    /// By byte where the stream can, else by time.
    int Seek(TimeSpec const& position) override;
    int SetProperty(smart_enum<DecoderPropTypeBase>, std::string&) override { return Ok; }
    int GetProperty(smart_enum<DecoderPropTypeBase> type, std::string& value) override;
    /// The file's own record, not that of the delivered PCM.
    int GetWaveFormat(tWAVEFORMAT& format) override;

protected:
    WaveDecoderCore() = default;
    ~WaveDecoderCore() override = default;

    void prepareRun() override;
    int openHook(StreamPtr stream) override;
    void closeHook() override { this->m_reader.install(nullptr); }

    /// The file's head, for the play loops and seeks; any thread.
    RiffHead head() const;
    /// A block of the file in bytes, 0 when it cannot be played; writes its line of the log.
    std::size_t blockBytes() const;
    /// Makes 8-bit samples signed.
    static void makeSigned(std::uint8_t* pcm, std::size_t bytes);
    int deliver(const std::uint8_t* pcm, unsigned int bytes, RiffHead const& head);

private:
    int moveToTop(StreamPtr const& stream);
    bool readHead();
    void fillStreamInfo(RiffHead const& head);
    void measureDuration(StreamPtr const& stream, RiffHead const& head);

    RiffHead m_head; ///< guarded by stateLock()
};

}} // namespace kiv::appli
