// A radio station's stream: the audio and the titles are the same however it is cut, and the audio
// is what the plainest scan finds. The first byte tells how far the blocks are apart; what pieces
// it is cut into, the stream's own bytes tell.
#include "ExactInput.h"
#include "IcyTitles.h"

#include <string>
#include <vector>

using namespace avr::host;

namespace {

using Bytes = std::vector<std::uint8_t>;

struct Heard {
    Bytes audio;
    std::vector<std::pair<long long, std::string>> titles;
    bool operator==(Heard const& other) const
    {
        return audio == other.audio && titles == other.titles;
    }
};

Heard heard(Bytes const& stream, std::size_t interval, bool isCut)
{
    Heard all;
    IcyTitles icy(interval, [&](long long position, std::string const& title) {
        require(position % static_cast<long long>(interval) == 0);
        require(all.titles.empty() ? !title.empty() : all.titles.back().second != title);
        all.titles.emplace_back(position, title);
    });
    for (std::size_t at = 0, bytes; at < stream.size(); at += bytes) {
        bytes =
            std::min<std::size_t>(isCut ? 1 + stream[at] % 64 : stream.size(), stream.size() - at);
        Bytes data(stream.begin() + long(at), stream.begin() + long(at + bytes));
        data.resize(icy.filter(data.data(), bytes));
        all.audio.insert(all.audio.end(), data.begin(), data.end());
    }
    require(icy.position() == static_cast<long long>(all.audio.size()));
    return all;
}

Bytes plainAudio(Bytes const& stream, std::size_t interval)
{
    Bytes audio;
    std::size_t left = interval;
    for (std::size_t at = 0; at < stream.size(); ++at) {
        if (interval != 0 && left == 0) {
            at += stream[at] * 16u;
            left = interval;
        } else {
            audio.push_back(stream[at]);
            --left;
        }
    }
    return audio;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0)
        return 0;
    std::size_t const interval = data[0];
    Bytes const stream(data + 1, data + size);
    Heard const whole = heard(stream, interval, false);
    require(whole == heard(stream, interval, true));
    require(whole.audio == plainAudio(stream, interval));
    return 0;
}
