#pragma once

#include "BufferReaderModule.h"
#include "EngineDecoder.h"
#include "PdtParser.h"
#include "WmaInput.h"
#include "WmaLosslessCodec.h"
#include "WmaStdCodec.h"

namespace kiv { namespace appli {

/// WMA of either kind, from files and network streams. Standard WMA comes in blocks of 1024 samples
/// of each channel, lossless in blocks of a frame, at most 4096. Sends the titles that a standard
/// stream carries.
class AVR_API VWmaDecoder final
    : public Avr::Decoder::EngineDecoder<IDecoder, Avr::Decoder::DecoderImple,
                                         Avr::Decoder::BufferReaderModule<VWmaDecoder>> {
public:
    using StreamPtr = boost::shared_ptr<Avr::Interface::IReadableStream>;

    VWmaDecoder();
    ~VWmaDecoder() override;

    // Seeks of standard WMA, in milliseconds; of lossless they fail. No event comes. Up to 1024
    // samples of the old position are still played.

    int Seek(long milliseconds) override;
    int Seek(double) override { return ErrorFailed; }
    int Seek(TimeSpec const& position) override;
    int SetProperty(smart_enum<DecoderPropTypeBase>, std::string&) override { return ErrorFailed; }
    int GetProperty(smart_enum<DecoderPropTypeBase> type, std::string& value) override;
    int GetWaveFormat(tWAVEFORMAT&) override { return ErrorFailed; }
    int GetCurrentState(smart_enum<DecoderStateBase>&) override { return ErrorFailed; }

    /// Looks for titles in what was read; event 7 tells them. Decoding thread. @return 0
    int AppendDataToPDT(unsigned char const* data, unsigned int length);

protected:
    int playThread() override;
    int openHook(StreamPtr stream) override;
    void closeHook() override;

private:
    enum class Mode { None, Lossless, Standard };
    struct Pcm;

    template <class Position>
    int seek(Position const& position);
    int openHookStd();
    int openHookLL();
    void rewind();
    void atNewPosition();
    int playThreadStd();
    int playThreadLL();
    int playFrame(unsigned int available);
    unsigned int playBlocks(unsigned int pending);
    int stopped(unsigned int pending);
    void noMoreData(const char* name);

    std::unique_ptr<Pcm> const m_pcm;
    WmaInput m_input;
    WmaStdCodec m_standard;
    WmaLosslessCodec m_lossless;
    // Decoding thread.
    Mode m_mode = Mode::None;
    pdt::parser m_pdt;
    bool m_scansPdt = false;
};

}} // namespace kiv::appli
