#pragma once

#include "EngineDecoder.h"
#include "decoder/IWMADecoder.h"

namespace kiv { namespace appli {

class VWMADecoder;
class WmaInput;

/// What the decoders of the two kinds have in common. A VWMADecoder makes them and lends them its
/// input; without one they cannot read.
class WmaInnerDecoder
    : public Avr::Decoder::EngineDecoder<Avr::Decoder::DecoderImple, IWMADecoder> {
public:
    int Open(StreamPtr stream, IDecoderCallback* callback) override;
    int Close() override;
    int Seek(long milliseconds) override;
    int Seek(double) override { return ErrorFailed; }
    /// In milliseconds. No event comes; the next block is of the new position.
    int Seek(TimeSpec const& position) override;
    int SetProperty(smart_enum<DecoderPropTypeBase>, std::string&) override { return ErrorFailed; }
    int GetProperty(smart_enum<DecoderPropTypeBase> type, std::string& value) override;
    int GetWaveFormat(tWAVEFORMAT&) override { return ErrorFailed; }
    int GetCurrentState(smart_enum<DecoderStateBase>&) override { return ErrorFailed; }
    /// Runs the play loop on the calling thread.
    int PlayCom() override { return playThread(); }
    void SetDecoderHistory(std::string const&) override {}

protected:
    WmaInnerDecoder(VWMADecoder* parent, const char* codecName)
        : m_parent(parent), m_codecName(codecName)
    {}

    /// Leaves its last word to the parent, which waits for it.
    void closeHook() override;

    /// Puts the parent's buffer over the stream, which is open. @return null without a parent
    WmaInput* inputOver(StreamPtr const& stream) const;
    /// Tells the parent whether the head of the stream could be read. @return the result
    int report(int result) const;
    /// The head of a play loop. @return false when it must end with `result`
    bool goesOn(int& result);
    virtual int seekCodec(unsigned int milliseconds) = 0;
    virtual void resetCodec() = 0;

private:
    template <class Position>
    int seek(Position const& position);

    VWMADecoder* const m_parent;
    const char* const m_codecName;
};

}} // namespace kiv::appli
