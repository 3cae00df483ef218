#pragma once

#include "BufferReaderModule.h"
#include "EngineDecoder.h"
#include "KeptInterruption.h"
#include "platform/codecs/vmp3.h"

#include <atomic>
#include <memory>

namespace kiv { namespace appli {

/// MPEG audio Layer III, decoded by the platform's codec (VMP3_...). Blocks are of 32-bit samples.
class AVR_API VMP3Decoder final
    : public Avr::Decoder::EngineDecoder<Avr::Decoder::DecoderImple, IDecoder,
                                         Avr::Decoder::BufferReaderModule<VMP3Decoder>> {
public:
    using StreamPtr = boost::shared_ptr<Avr::Interface::IReadableStream>;

    VMP3Decoder();
    ~VMP3Decoder() override;

    /// In milliseconds.
    int Seek(long position) override;
    int Seek(double) override { return ErrorFailed; }
    /// To the byte that the bit rate gives, from the beginning of the stream; the codec finds the
    /// next frame. Event 10 comes, and the answer is 0, also when the stream did not move.
    int Seek(TimeSpec const& position) override;
    int SetProperty(smart_enum<DecoderPropTypeBase>, std::string&) override { return ErrorFailed; }
    int GetProperty(smart_enum<DecoderPropTypeBase> type, std::string& value) override;

    // Reading for the codec, which calls back; decoding thread.

    /// Limits what is read from now on, or lifts the limit. @return 0
    int SetReadLimit(bool on);
    bool IsOverLimit() const { return m_readCount > ReadLimit; }
    /// Reads over a leading ID3v2 tag; without one what was read is given again by Read.
    /// @param tagLength  receives the bytes of the whole tag, 0 when there is none
    /// @return 0; -10002 when the stream ends before
    int skipID3V2Tag(unsigned int& tagLength);
    /// @return bytes read; fewer than n at the end or a failure of the stream; 0 beyond the limit
    unsigned int Read(void* buffer, unsigned int n);

protected:
    int playThread() override;
    int openHook(StreamPtr stream) override;
    void closeHook() override;

private:
    static constexpr int ReadLimit = 262144;      ///< bytes of one search for a frame
    static constexpr unsigned int HeadBytes = 10; ///< of an ID3v2 tag

    /// What the codec works in.
    struct Areas;

    static unsigned int readForCodec(void* destination, unsigned int elementSize,
                                     unsigned int count, void* context);
    bool chargeLimit(unsigned int bytes);
    int openCodec();
    int probe();
    void describe(Stream& stream, unsigned int tagLength);
    int playFrames();
    /// A seek came since the last frame, or since the codec was told so.
    bool isOvertaken() const { return m_seeked || m_readsFail; }
    bool fetch();
    void lookAnew();
    bool decode();
    int deliver();

    std::unique_ptr<Areas> const m_areas;
    // Decoding thread, while a run is on.
    bool m_limited = false;
    int m_readCount = 0; ///< bytes since the limit was set
    unsigned char m_head[HeadBytes] = {};
    unsigned int m_headLeft = 0; ///< of m_head, to be given again
    int m_fetchErrors = 0;       ///< since the last block
    int m_decodeErrors = 0;      ///< the same
    Avr::Decoder::KeptInterruption m_interruption;
    std::atomic<std::uint32_t> m_bitRate{0};
    bool m_readsFail = false;          ///< decoding thread
    std::atomic<bool> m_seeked{false}; ///< since the fetch in progress began
};

}} // namespace kiv::appli
