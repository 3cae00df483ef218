// The reading half of the MP3 decoder.
#include "VMP3Decoder.h"

#include "platform/Mp3TagParser.h"

#include <algorithm>
#include <cstdio>

namespace kiv { namespace appli {

using namespace Avr::Decoder;

namespace {

constexpr unsigned int TagStep = 1024; ///< bytes of a tag that are read at once

} // namespace

int VMP3Decoder::SetReadLimit(bool on)
{
    m_limited = on;
    if (on)
        m_readCount = 0;
    return Ok;
}

/// @return false when that goes beyond the limit
bool VMP3Decoder::chargeLimit(unsigned int bytes)
{
    if (!m_limited)
        return true;
    m_readCount += static_cast<int>(bytes);
    if (IsOverLimit())
        std::fprintf(stderr, "[VMP3Decoder::Read] read limit %d !!\n", m_readCount);
    return !IsOverLimit();
}

unsigned int VMP3Decoder::Read(void* buffer, unsigned int n)
{
    unsigned int const again = std::min(n, m_headLeft);
    auto* const to = static_cast<unsigned char*>(buffer);
    for (unsigned int i = 0; i < again; ++i) {
        to[i] = m_head[HeadBytes - m_headLeft--];
        if (!chargeLimit(1))
            return 0;
    }
    if (again == n)
        return n;
    BufferedRead::Outcome const outcome = m_reader.fill(*this, "Read", to + again, n - again);
    if (outcome.result == Ok)
        return chargeLimit(outcome.bytes) ? n : 0;
    if (outcome.result != BufferedRead::GaveUp)
        m_reader.interruptPlayback(*this, outcome.result);
    return again + outcome.bytes;
}

unsigned int VMP3Decoder::readForCodec(void* destination, unsigned int elementSize,
                                       unsigned int count, void* context)
{
    auto* const self = static_cast<VMP3Decoder*>(context);
    if (self == nullptr || self->isOvertaken())
        return 0;
    unsigned int const got = self->m_interruption.guard(
        0u, [&] { return self->Read(destination, elementSize * count); });
    return self->isOvertaken() ? 0 : got;
}

int VMP3Decoder::skipID3V2Tag(unsigned int& tagLength)
{
    unsigned char scratch[TagStep];
    if (Read(scratch, HeadBytes) < HeadBytes)
        return ErrorFailed;
    m_headLeft = 0;
    unsigned int const length =
        CMp3TagParser(scratch, HeadBytes, true, false, false).getID3v2HeaderSize();
    if (length == 0) {
        std::fprintf(stderr, "[VMP3Decoder::skipID3V2Tag] No ID3v2 tag, backup red 10byte\n");
        std::copy_n(scratch, HeadBytes, m_head);
        m_headLeft = HeadBytes;
    }
    for (unsigned int done = HeadBytes; done < length;) {
        unsigned int const got = Read(scratch, std::min(length - done, TagStep));
        if (got == 0)
            return ErrorFailed;
        done += got;
    }
    tagLength = length;
    return Ok;
}

}} // namespace kiv::appli
