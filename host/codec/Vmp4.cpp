#include "platform/codecs/vmp4.h"

#include "HandleTable.h"
#include "Mp4Atoms.h"
#include "Mp4Module.h"

#include <climits>
#include <cstdio>

namespace {

using namespace avr::host;

/// A file that is open. It has at most one track that counts.
struct Mp4File {
    explicit Mp4File(VMP4_Config const& config);

    bool open();
    unsigned int getSample(unsigned int index, std::uint8_t* to, unsigned int capacity);

    Mp4Input input;
    Mp4Track track;
};
using Files = HandleTable<Mp4File>;

constexpr std::int16_t TrackNumber = 0;

Mp4File::Mp4File(VMP4_Config const& config)
    : input(
          [from = config](std::uint8_t* to, std::size_t bytes) {
              auto const count = static_cast<unsigned int>(bytes);
              return from.read(to, 1, count, from.context) == count;
          },
          [from = config](std::uint64_t position) {
              return from.seek && position <= LONG_MAX &&
                     from.seek(from.context, static_cast<long>(position), SEEK_SET) == 0;
          })
{}

bool Mp4File::open()
{
    std::vector<std::uint8_t> head = readMp4Head(input);
    Mp4Module const* const module = head.empty() ? nullptr : mp4Module();
    if (!module)
        return false;
    if (!reduceMp4Head(head) || !module->readHead(head, track))
        track = {};
    return true;
}

unsigned int Mp4File::getSample(unsigned int index, std::uint8_t* to, unsigned int capacity)
{
    if (index >= track.samples.size())
        return 0;
    Mp4Track::Sample const sample = track.samples[index];
    if (sample.bytes == 0 || sample.bytes > capacity) {
        *to = 0;
        return 1;
    }
    return input.moveTo(sample.position) && input.read(to, sample.bytes) ? sample.bytes : 0;
}

} // namespace

int VMP4_open(const VMP4_Config* config, VMP4_Info* info, void* state)
{
    *info = {};
    Files::instance().erase(state);
    if (!config || !config->read)
        return -1;
    auto const file = std::make_shared<Mp4File>(*config);
    if (!file->open())
        return -1;
    Mp4Track const& track = file->track;
    *info = {track.duration, track.timescale, track.bitRate, track.samplingRate, track.channels};
    Files::instance().put(state, file);
    return 0;
}

std::int16_t VMP4_getAudioTrack(void* state)
{
    auto const file = Files::instance().get(state);
    return file && !file->track.samples.empty() ? TrackNumber : std::int16_t{-1};
}

int VMP4_getFrame(void* buffer, int track, unsigned int index, unsigned int capacity, void* state)
{
    auto const file = Files::instance().get(state);
    if (!file || file->track.samples.empty() || track != TrackNumber || capacity == 0)
        return -1;
    return static_cast<int>(file->getSample(index, static_cast<std::uint8_t*>(buffer), capacity));
}

void VMP4_close(void* state) { Files::instance().erase(state); }
