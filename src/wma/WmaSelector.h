#pragma once

#include "BufferReaderModule.h"
#include "HalmerDecCommon.h"
#include "WmaInput.h"
#include "decoder/IWMADecoder.h"

#include <boost/thread/condition_variable.hpp>
#include <boost/thread/mutex.hpp>

#include <memory>

namespace kiv { namespace appli {

class WmaInnerDecoder;

/// Plays ASF files of either kind of WMA: it tries the likelier one, then the other, and hands
/// every operation on to the decoder that it chose. The registry does not have it; a player makes
/// its own.
///
/// Each attempt is a run of its own on the player's callback: a file of the other kind gives the
/// events 11 and 1, then 2; a file that is neither 11, 1, 11, 1.
class AVR_API VWMADecoder final : public Avr::Decoder::DecoderImple,
                                  public IWMADecoder,
                                  public Avr::Decoder::BufferReaderModule<VWMADecoder> {
public:
    using StreamPtr = boost::shared_ptr<Avr::Interface::IReadableStream>;

    VWMADecoder();
    explicit VWMADecoder(StreamPtr) : VWMADecoder() {}
    ~VWMADecoder() override;

    /// Returns when the first attempt has found its format, or the second one has begun: whether
    /// that one finds its format is told by its events. It may take 4 seconds, a Close on another
    /// thread ends it.
    /// @return 0; -10002 for a null stream, inside a callback, when a Close came, or when no run
    ///         could be begun
    int Open(StreamPtr stream, IDecoderCallback* callback) override;

    // Those of the chosen decoder; -10002 without one.
    int Start() override;
    int Resume() override;
    int Pause() override;
    int Close() override;
    int Seek(long milliseconds) override;
    int Seek(double) override;
    int Seek(TimeSpec const& position) override;
    int SetProperty(smart_enum<DecoderPropTypeBase> type, std::string& value) override;
    int GetProperty(smart_enum<DecoderPropTypeBase> type, std::string& value) override;
    int GetWaveFormat(tWAVEFORMAT& format) override;
    int GetCurrentState(smart_enum<DecoderStateBase>& state) override;

    /// @return -1
    int PlayCom() override { return -1; }
    void SetDecoderHistory(std::string const& choice) override;
    /// The kind that occurs more often in the history.
    std::string AnalysisHistory() const;
    HalmerDecCommon* GetHalmerCommon() { return m_halmerCommon.get(); }

    // For the inner decoders; their decoding threads.

    WmaInput& input() { return m_input; }
    /// Whether the head of the stream could be read: 0 or a failure.
    void UpdateParseResult(long result);
    /// The run is about to end.
    void runEnds();

protected:
    int playThread() override;

private:
    using DecoderPtr = std::shared_ptr<WmaInnerDecoder>;

    static constexpr long NotParsed = -1;

    DecoderPtr decoder() const;
    /// Calls an operation of the chosen decoder.
    template <class Operation>
    int forward(Operation operation) const;
    DecoderPtr makeDecoder(std::string const& kind);
    void releaseEarlier();
    int attempt(std::string const& kind, StreamPtr const& stream, IDecoderCallback* callback);
    long parseWait();
    bool endAttempt();
    bool chosenIsOver() const;
    bool isClosed() const;

    WmaInput m_input;
    std::unique_ptr<HalmerDecCommon> const m_halmerCommon;
    boost::mutex m_openLock; ///< one Open at a time; taken before all others
    mutable boost::mutex m_parseMutex;
    boost::condition_variable m_parseCond; ///< a result, a run's end, Close. With m_parseMutex
    long m_parseResult = NotParsed;        ///< guarded by m_parseMutex
    bool m_runEnded = false;               ///< guarded by m_parseMutex
    bool m_closed = false;                 ///< since Open began; guarded by m_parseMutex
    bool m_releasing = false;              ///< Open ends the earlier run; guarded by m_parseMutex
    DecoderPtr m_decoder;                  ///< guarded by m_parseMutex
    DecoderPtr m_dropped; ///< the last Open's first choice, if it was the wrong one; m_openLock
};

}} // namespace kiv::appli
