#include "WmaSelector.h"

#include "Deadlines.h"
#include "DecoderHistory.h"
#include "ThreadPlace.h"
#include "WMALosslessDecoder.h"
#include "WMAStdDecoder.h"

#include <boost/thread/lock_guard.hpp>

namespace kiv { namespace appli {

using namespace Avr::Decoder;
using Guard = boost::lock_guard<boost::mutex>;
using Lock = boost::unique_lock<boost::mutex>;
using Clock = boost::chrono::steady_clock;

namespace {

/// Whether the calling thread is inside that decoder's run: there nobody can wait for it.
bool isWithin(WmaInnerDecoder const& decoder)
{
    return ThreadPlace::isAt(decoder, ThreadPlace::Kind::DecodingThread) ||
           ThreadPlace::isAt(decoder, ThreadPlace::Kind::Callback);
}

std::string otherKind(std::string const& kind)
{
    return kind == DecoderHistory::Standard ? DecoderHistory::Lossless : DecoderHistory::Standard;
}

} // namespace

VWMADecoder::VWMADecoder()
    : m_input(*this, m_reader, nullptr, [this] { return chosenIsOver(); }),
      m_halmerCommon(std::make_unique<HalmerDecCommon>())
{}

VWMADecoder::~VWMADecoder() { Close(); }

int VWMADecoder::Open(StreamPtr stream, IDecoderCallback* callback)
{
    if (DecoderPtr const earlier = decoder(); earlier && isWithin(*earlier))
        return ErrorFailed;
    boost::this_thread::disable_interruption whole;
    Guard const serial(m_openLock);
    releaseEarlier();
    if (!stream)
        return ErrorFailed;
    std::string const likelier = DecoderHistory::instance().firstKind();
    if (attempt(likelier, stream, callback) == Ok && parseWait() == Ok) {
        SetDecoderHistory(likelier);
        return Ok;
    }
    m_dropped = decoder();
    if (!endAttempt())
        return ErrorFailed;
    std::string const other = otherKind(likelier);
    int const result = attempt(other, stream, callback);
    if (result == Ok)
        SetDecoderHistory(other);
    return result;
}

/// Ends and destroys what the last Open made. Until that run is over, its callbacks find it here,
/// and what they close is that run.
void VWMADecoder::releaseEarlier()
{
    DecoderPtr earlier; // destroyed after the lock
    {
        Guard const guard(m_parseMutex);
        m_closed = false;
        earlier = m_decoder;
        m_releasing = earlier != nullptr;
    }
    if (earlier)
        earlier->Close();
    m_dropped.reset();
    Guard const guard(m_parseMutex);
    m_releasing = false;
    m_decoder.reset();
}

/// Makes a decoder of this kind and begins its run, unless a Close has come.
int VWMADecoder::attempt(std::string const& kind, StreamPtr const& stream,
                         IDecoderCallback* callback)
{
    DecoderPtr const made = makeDecoder(kind);
    {
        Guard const guard(m_parseMutex);
        m_parseResult = NotParsed; // whatever was reported before
        m_runEnded = false;
        m_decoder = made;
    }
    int const result = made->Open(stream, callback);
    if (!isClosed())
        return result;
    made->Close(); // the other one may have come before there was a run
    return ErrorFailed;
}

VWMADecoder::DecoderPtr VWMADecoder::makeDecoder(std::string const& kind)
{
    if (kind == DecoderHistory::Standard)
        return std::make_shared<WMAStdDecoder>(this);
    return std::make_shared<WMALosslessDecoder>(this);
}

/// @return what the run reported; not 0 without a report, or when a Close came
long VWMADecoder::parseWait()
{
    auto const now = boost::chrono::time_point_cast<boost::chrono::seconds>(Clock::now());
    auto const deadline = now + boost::chrono::milliseconds(deadlines().parseWait.count());
    Lock lock(m_parseMutex);
    while (m_parseResult == NotParsed && !m_runEnded && !m_closed) {
        if (m_parseCond.wait_until(lock, deadline) == boost::cv_status::timeout)
            break;
    }
    return m_closed ? NotParsed : m_parseResult;
}

/// The run that failed ends by itself, with its events; one that did not report in time is cut
/// short. In either case its thread is gone then, and with it everything that could still close the
/// stream.
/// @return false when a Close came
bool VWMADecoder::endAttempt()
{
    bool fails = false;
    {
        Guard const guard(m_parseMutex);
        fails = m_parseResult == ErrorFailed || m_runEnded;
    }
    if (fails)
        m_dropped->waitForEnd();
    m_dropped->Close();
    return !isClosed();
}

VWMADecoder::DecoderPtr VWMADecoder::decoder() const
{
    Guard const guard(m_parseMutex);
    return m_decoder;
}

/// The selector's own engine never runs: who reads its input is the chosen decoder.
bool VWMADecoder::chosenIsOver() const
{
    DecoderPtr const chosen = decoder();
    return chosen && !chosen->IsDecoding();
}

bool VWMADecoder::isClosed() const
{
    Guard const guard(m_parseMutex);
    return m_closed;
}

void VWMADecoder::UpdateParseResult(long result)
{
    Guard const guard(m_parseMutex);
    m_parseResult = result;
    m_parseCond.notify_all();
}

void VWMADecoder::runEnds()
{
    m_reader.install(nullptr);
    Guard const guard(m_parseMutex);
    m_runEnded = true;
    m_parseCond.notify_all();
}

int VWMADecoder::Close()
{
    {
        Guard const guard(m_parseMutex);
        // Within the run that an Open is just ending, that run is meant.
        if (!m_releasing || !isWithin(*m_decoder))
            m_closed = true;
        m_parseCond.notify_all();
    }
    return forward([](WmaInnerDecoder& decoder) { return decoder.Close(); });
}

template <class Operation>
int VWMADecoder::forward(Operation operation) const
{
    DecoderPtr const chosen = decoder();
    return chosen ? operation(*chosen) : static_cast<int>(ErrorFailed);
}

int VWMADecoder::Start()
{
    return forward([](WmaInnerDecoder& decoder) { return decoder.Start(); });
}

int VWMADecoder::Resume()
{
    return forward([](WmaInnerDecoder& decoder) { return decoder.Resume(); });
}

int VWMADecoder::Pause()
{
    return forward([](WmaInnerDecoder& decoder) { return decoder.Pause(); });
}

int VWMADecoder::Seek(long milliseconds)
{
    return forward([&](IWMADecoder& decoder) { return decoder.Seek(milliseconds); });
}

int VWMADecoder::Seek(double seconds)
{
    return forward([&](IWMADecoder& decoder) { return decoder.Seek(seconds); });
}

int VWMADecoder::Seek(TimeSpec const& position)
{
    return forward([&](IWMADecoder& decoder) { return decoder.Seek(position); });
}

int VWMADecoder::SetProperty(smart_enum<DecoderPropTypeBase> type, std::string& value)
{
    return forward([&](WmaInnerDecoder& decoder) { return decoder.SetProperty(type, value); });
}

int VWMADecoder::GetProperty(smart_enum<DecoderPropTypeBase> type, std::string& value)
{
    return forward([&](WmaInnerDecoder& decoder) { return decoder.GetProperty(type, value); });
}

int VWMADecoder::GetWaveFormat(tWAVEFORMAT& format)
{
    return forward([&](WmaInnerDecoder& decoder) { return decoder.GetWaveFormat(format); });
}

int VWMADecoder::GetCurrentState(smart_enum<DecoderStateBase>& state)
{
    return forward([&](WmaInnerDecoder& decoder) { return decoder.GetCurrentState(state); });
}

int VWMADecoder::playThread()
{
    return forward([](WmaInnerDecoder& decoder) { return decoder.PlayCom(); });
}

void VWMADecoder::SetDecoderHistory(std::string const& choice)
{
    DecoderHistory::instance().add(choice);
}

std::string VWMADecoder::AnalysisHistory() const { return DecoderHistory::instance().majority(); }

}} // namespace kiv::appli
