// Plays files out of memory on the tiny platform and tells how many frames were heard.
//
//   tiny_player FILE...        *.wav, *.flac, ... as the platform's MIME table has them
#include "CountingSink.h"
#include "MemoryStream.h"
#include "decoder/DecoderFactory.h"
#include "decoder/IDecoder.h"
#include "decoder/IDecoderCallback.h"

#include <boost/make_shared.hpp>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <future>
#include <iterator>
#include <thread>

using namespace kiv::appli;

namespace {

/// One run. The calls come on the decoding thread.
class Player final : public IDecoderCallback {
public:
    explicit Player(IDecoder& decoder) : m_decoder(decoder) {}

    int OnSample(const void*, unsigned int bytes, TimeSpec*) override
    {
        m_sink.put(bytes / m_format.blockAlign);
        return Ok;
    }

    int OnEvent(int event, void* data, unsigned int) override
    {
        if (event == EventStreamInfo) {
            m_format = static_cast<DecoderStreamInfo*>(data)->format;
            m_sink.begin(0);
            m_decoder.Start();
        } else if (event == EventClosed) { // always comes, and last
            m_over.set_value(m_end);
        } else if (event != EventBufferStatus) {
            m_end = event;
        }
        return Ok;
    }

    /// Waits for the end of the run. @return the event that told how it ended
    int finish() { return m_over.get_future().get(); }
    tWAVEFORMAT const& format() const { return m_format; }

private:
    IDecoder& m_decoder;
    tiny::CountingSink& m_sink = tiny::CountingSink::instance();
    tWAVEFORMAT m_format{};
    int m_end = -1;
    std::promise<int> m_over;
};

/// Not every decoder waits for the sound output, so the player does.
void playOut()
{
    tiny::CountingSink& sink = tiny::CountingSink::instance();
    sink.putEofMark(true);
    while (!sink.isPlaybackCompleted())
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
}

bool play(std::string const& path)
{
    std::ifstream file(path, std::ios::binary);
    std::vector<std::uint8_t> bytes(std::istreambuf_iterator<char>(file), {});
    std::string const name = path.substr(path.find_last_of('/') + 1);
    IDecoder* const decoder =
        Avr::Decoder::LookupFromFormat(name.substr(name.find_last_of('.') + 1));
    if (!decoder) {
        std::printf("%s: no decoder\n", name.c_str());
        return false;
    }
    Player player(*decoder);
    decoder->Open(boost::make_shared<tiny::MemoryStream>(std::move(bytes)), &player);
    int const end = player.finish();
    decoder->Close(); // waits until the decoding thread has left the player
    if (end != EventEndOfStream) {
        std::printf("%s: event %d\n", name.c_str(), end);
        return false;
    }
    playOut();
    std::printf("%s: %u Hz, %u channels, %llu frames\n", name.c_str(),
                unsigned(player.format().samplesPerSecond), unsigned(player.format().channels),
                static_cast<unsigned long long>(tiny::CountingSink::instance().frames()));
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    Avr::Decoder::InitDecoder();
    int notPlayed = 0;
    for (int i = 1; i < argc; ++i)
        notPlayed += play(argv[i]) ? 0 : 1;
    return notPlayed;
}
