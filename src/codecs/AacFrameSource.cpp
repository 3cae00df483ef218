#include "AacFrameSource.h"

#include <iostream>

namespace kiv { namespace appli {

unsigned int AacFrameSource::readFor(void* destination, unsigned int elementSize,
                                     unsigned int count, void* context)
{
    auto& self = *static_cast<AacFrameSource*>(context);
    unsigned int const bytes = elementSize * count;
    return bytes == 0 ? 0 : self.m_interruption.guard(0u, [&] {
        return self.m_reading.read(destination, bytes);
    });
}

int AacFrameSource::seekFor(void* context, long offset, int origin)
{
    if (context == nullptr)
        return 0;
    auto& self = *static_cast<AacFrameSource*>(context);
    return self.m_interruption.guard(-1, [&] { return self.m_reading.seek(offset, origin); });
}

int AacFrameSource::open(VAAC_FileType type)
{
    close();
    m_type = type;
    m_sample = 0;
    m_track = 0;
    m_mp4Info = {};
    int result = 0;
    if (type == VAAC_Mp4) {
        VMP4_Config const config{readFor, seekFor, this};
        result = VMP4_open(&config, &m_mp4Info, m_mp4);
        m_interruption.rethrow();
        if (result != 0) {
            std::cerr << "[VAACDecoder::VAAC_open] VMP4_open error" << std::endl;
            return static_cast<std::int16_t>(result);
        }
        m_track = VMP4_getAudioTrack(m_mp4);
        if (m_track < 0) // the first fetch fails
            std::cerr << "[VAACDecoder::VAAC_open] VMP4_getAudioTrack" << std::endl;
    } else if (type == VAAC_Adts) {
        VMP2_Config const config{readFor, seekFor, this, m_adtsFrame, VMP2_FrameBytes};
        result = static_cast<std::int16_t>(VMP2_open(&config, m_adts));
        m_interruption.rethrow();
    }
    return result;
}

void AacFrameSource::close()
{
    if (m_type.exchange(Closed) == VAAC_Mp4)
        VMP4_close(m_mp4);
}

AacFrameSource::Outcome AacFrameSource::fetch(void* instance)
{
    unsigned int words = 0;
    int wanted = 0;
    void* const buffer = VAAC_getInputinfo(&words, &wanted, instance);
    if (wanted == 0)
        return Outcome::Ready;
    int const bytes = read(buffer, words * 2);
    m_interruption.rethrow();
    m_error = bytes;
    if (bytes < 0)
        return Outcome::Failed;
    return VAAC_notifyDecoder(bytes, instance) == 0 ? Outcome::Ended : Outcome::Ready;
}

int AacFrameSource::read(void* buffer, unsigned int capacity)
{
    switch (m_type) {
    case VAAC_Adif:
        return static_cast<int>(readFor(buffer, 1, capacity, this));
    case VAAC_Mp4:
        return VMP4_getFrame(buffer, m_track, m_sample++, capacity, m_mp4);
    default:
        return VMP2_getFrame(buffer, capacity, m_adts);
    }
}

}} // namespace kiv::appli
