// One decoder through its public interface. AVR_FUZZ_... of the build say which and what holds:
// HEADER and DECODER; FRAME, which divides the size of every block, with the record as `format`;
// PASSES, how often it plays its input over, 0 when that does not bound the PCM.
#include "Deadlines.h"
#include "FakeSoundDevice.h"
#include "OggPages.h"
#include "ScriptedStream.h"
#include "decoder/IDecoderCallback.h"

#include AVR_FUZZ_HEADER

#include <boost/make_shared.hpp>

#include <cstdio>
#include <cstring>
#include <iostream>
#include <numeric>
#include <sys/resource.h>
#include <utility>

using namespace avr::test;
using namespace kiv::appli;

namespace {

constexpr unsigned MostSeeks = 8;          ///< of a run
constexpr std::size_t MostPcm = 32u << 20; ///< bytes; then the player has heard enough
constexpr std::uint8_t AtOnce = 255;       ///< closeAt: right after Open
constexpr std::chrono::milliseconds Patience(10);

void require(bool condition)
{
    if (!condition)
        __builtin_trap();
}

/// How an input begins: what stream and player do. Zeros are an ordinary run.
struct Behaviour {
    std::uint8_t type;        ///< of the stream
    std::uint8_t oddities;    ///< a bit each
    std::uint8_t longestRead; ///< the square root of it; 0 = any
    std::uint8_t fault;       ///< of the stream
    std::uint8_t faultAtRead;
    std::uint8_t closeAt;    ///< the callback that calls Close, from 1; 0 = none
    std::uint8_t seekEach;   ///< callbacks from one seek to the next; 0 = none
    std::uint8_t seekStep;   ///< the square root of it in milliseconds
    std::uint8_t pauseEach;  ///< callbacks; 0 = none
    std::uint8_t fromThread; ///< odd: another thread closes and seeks while the callback returns
    std::uint8_t properties; ///< a bit for each that is set to the text
    char text[5];

    bool is(int oddity) const { return (oddities & oddity) != 0; }
};
static_assert(sizeof(Behaviour) == 16, "scripts/test puts so many zeros before its seeds");

Script scriptOf(Behaviour const& behaviour, Bytes const& content)
{
    static const char* const Types[] = {"local", "http:inet", "other", ""};
    Script script;
    script.data = content;
    script.type = Types[behaviour.type % 4];
    script.knowsLength = !behaviour.is(1);
    script.retryBeforeEach = behaviour.is(2);
    script.seeksFail = behaviour.is(4);
    script.capabilities = (behaviour.is(8) ? 0 : ScriptedStream::CanSeekByte) |
                          (behaviour.is(16) ? ScriptedStream::CanSeekTime : 0);
    // Each retry costs a pause.
    script.longestRead = script.retryBeforeEach ? 0 : behaviour.longestRead * behaviour.longestRead;
    int const fault = behaviour.fault % 9;
    script.openFails = fault == 7;
    script.openStalls = fault == 8;
    script.fault = fault < 7 ? Script::Fault(fault) : Script::Fault::None;
    script.faultAtRead = behaviour.faultAtRead;
    return script;
}

class Player final : public IDecoderCallback {
public:
    Player(IDecoder& decoder, Behaviour const& behaviour, Script const& script)
        : m_decoder(decoder), m_behaviour(behaviour), m_inputBytes(script.data.size()),
          m_streamMayStall(script.openStalls || script.fault == Script::Fault::Stall ||
                           script.fault == Script::Fault::RetryForever)
    {}

    int OnSample(const void* pcm, unsigned int bytes, TimeSpec* duration) override
    {
        tWAVEFORMAT format{};
        m_decoder.GetWaveFormat(format);
        require(!m_ended && bytes != 0 && bytes % (AVR_FUZZ_FRAME) == 0);
        require(duration->nanoseconds < 1000000000);
        auto const* const first = static_cast<const std::uint8_t*>(pcm);
        m_sum = m_sum + std::accumulate(first, first + bytes, 0u);
        m_pcmBytes += bytes;
        std::size_t const most = AVR_FUZZ_PASSES * (m_seeks + 1) * m_inputBytes;
        require(AVR_FUZZ_PASSES == 0 || m_pcmBytes <= most);
        takeTurn();
        if (m_behaviour.pauseEach != 0 && m_calls % m_behaviour.pauseEach == 0)
            m_decoder.Pause();
        return m_pcmBytes > MostPcm ? ErrorFailed : Ok;
    }

    int OnEvent(int event, void*, unsigned int) override
    {
        require(!m_ended);
        if (event == EventStreamInfo)
            start();
        else if (event == EventPosition)
            FakeSoundDevice::instance().putEofMark(false);
        else if (event == EventPaused)
            m_decoder.Resume();
        if (event == EventClosed)
            wake([this] { m_ended = true; });
        else if (event != EventBufferStatus) // their number depends on timing
            takeTurn();
        return Ok;
    }

    /// Does what the callbacks leave to another thread until the run has ended or, if the stream
    /// may stall, nothing comes any more.
    void attend()
    {
        std::unique_lock<std::mutex> lock(m_lock);
        auto const isWoken = [this] { return m_ended || m_left != nullptr; };
        while (!m_ended) {
            if (!m_streamMayStall)
                m_wake.wait(lock, isWoken);
            else if (!m_wake.wait_for(lock, Patience, isWoken))
                return;
            if (auto const action = std::exchange(m_left, nullptr)) {
                lock.unlock();
                (this->*action)();
                lock.lock();
            }
        }
    }

    bool hasEnded() const { return m_ended; }

private:
    using Action = void (Player::*)();

    void start()
    {
        FakeSoundDevice::instance().beginRun();
        std::string text(m_behaviour.text, strnlen(m_behaviour.text, sizeof m_behaviour.text));
        for (int type = 0; type < 8; ++type) {
            if ((m_behaviour.properties >> type & 1) != 0)
                m_decoder.SetProperty(type, text);
        }
        m_decoder.Start();
    }
    void takeTurn()
    {
        unsigned const call = ++m_calls;
        std::string text;
        m_decoder.GetProperty(static_cast<int>(call % 8), text);
        if (call == m_behaviour.closeAt)
            act(&Player::close);
        else if (m_behaviour.seekEach != 0 && call % m_behaviour.seekEach == 0)
            act(&Player::seek);
    }
    void act(Action action)
    {
        // A seek waits for a read in progress: who will close a stalled stream must not seek.
        bool const waits = m_streamMayStall && action == &Player::seek;
        if (m_behaviour.fromThread % 2 == 0 || waits)
            (this->*action)();
        else
            wake([this, action] { m_left = action; });
    }
    void close() { m_decoder.Close(); }
    void seek()
    {
        if (m_seeks >= MostSeeks)
            return;
        unsigned const milliseconds = m_behaviour.seekStep * m_behaviour.seekStep * m_seeks++;
        m_decoder.Seek(TimeSpec{milliseconds / 1000, milliseconds % 1000 * 1000000});
    }
    template <class Change>
    void wake(Change change)
    {
        std::lock_guard<std::mutex> lock(m_lock);
        change();
        m_wake.notify_one();
    }

    IDecoder& m_decoder;
    Behaviour const m_behaviour;
    std::size_t const m_inputBytes;
    bool const m_streamMayStall;
    std::size_t m_pcmBytes = 0;
    volatile unsigned m_sum = 0; ///< so that every byte is read
    std::atomic<unsigned> m_calls{0};
    std::atomic<unsigned> m_seeks{0};
    std::atomic<bool> m_ended{false};
    std::mutex m_lock;
    std::condition_variable m_wake;
    Action m_left = nullptr; ///< for attend; guarded by m_lock
};

void run(IDecoder& decoder, Behaviour const& behaviour, Bytes const& content)
{
    Script const script = scriptOf(behaviour, content);
    auto const stream = boost::make_shared<ScriptedStream>(script);
    Player player(decoder, behaviour, script);
    require(decoder.Open(stream, &player) == Ok);
    if (behaviour.closeAt != AtOnce)
        player.attend();
    decoder.Close();
    smart_enum<DecoderStateBase> state;
    bool const tells = decoder.GetCurrentState(state) == Ok; // WMA does not
    require(player.hasEnded() && (!tells || state == DecoderStateBase::Closed));
    require(stream->IsOpened() < 0 && !stream->contractBroken());
}

} // namespace

/// The decoding threads do not come before the rest of the machine.
extern "C" int setpriority(__priority_which_t, id_t, int) noexcept { return 0; }

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    Avr::Decoder::Deadlines& limits = Avr::Decoder::deadlines();
    limits.readWait = limits.libraryWait = Patience;
    limits.endPoll = limits.pausedPoll = limits.retryPause = std::chrono::milliseconds(1);
    limits.pacingPause = std::chrono::microseconds(0);
    stdout = stderr = std::fopen("/dev/null", "w"); // libFuzzer has kept its own
    std::cout.rdbuf(nullptr);
    std::cerr.rdbuf(nullptr);
    return 0;
}

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t most);

/// One change in four is one of the behaviour.
extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t most, unsigned int seed)
{
    if (size < sizeof(Behaviour) || seed % 4 != 0)
        return LLVMFuzzerMutate(data, size, most);
    LLVMFuzzerMutate(data, sizeof(Behaviour), sizeof(Behaviour));
    return size;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Behaviour behaviour;
    if (size < sizeof behaviour)
        return 0;
    std::memcpy(&behaviour, data, sizeof behaviour);
    Bytes content(data + sizeof behaviour, data + size);
    if (!behaviour.is(64))
        mendOggPages(content);
    AVR_FUZZ_DECODER decoder;
    for (int runs = behaviour.is(32) ? 2 : 1; runs > 0; --runs)
        run(decoder, behaviour, content);
    return 0;
}
