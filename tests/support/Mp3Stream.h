#pragma once

#include "Samples.h"
#include "platform/codecs/vmp3.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace avr { namespace test {

inline Bytes head(Bytes const& all, std::size_t size)
{
    return {all.begin(), all.begin() + long(size)};
}
inline Bytes tail(Bytes const& all, std::size_t from)
{
    return {all.begin() + long(from), all.end()};
}

inline Bytes id3v2(std::uint32_t size)
{
    Bytes tag = {'I', 'D', '3', 4, 0, 0};
    for (int shift = 21; shift >= 0; shift -= 7)
        tag.push_back(size >> shift & 0x7F);
    append(tag, noise(size));
    return tag;
}
inline Bytes apeTag(std::uint32_t size, std::uint32_t claimed)
{
    Bytes tag;
    append(tag, "APETAGEX");
    for (std::uint32_t field : {2000u, claimed, 1u, 0xA0000000u, 0u, 0u}) // with its head in front
        append(tag, field, 4);
    append(tag, noise(size));
    return tag;
}
inline Bytes const id3v1 = joined({{'T', 'A', 'G'}, Bytes(125, 0xFF)});

/// The MP3 codec over bytes in memory, called as a decoder calls it. Watches what it reads.
class Mp3Stream {
public:
    using Pcm = std::vector<std::int32_t>;

    explicit Mp3Stream(Bytes bytes) : input(std::move(bytes)), m_object(VMP3_getDataObjSize(), 0xAA)
    {
        EXPECT_EQ(0, VMP3_init(m_instance, &m_descriptor, m_object.data()));
    }
    Mp3Stream(Mp3Stream const&) = delete;
    Mp3Stream& operator=(Mp3Stream const&) = delete;

    int fetch()
    {
        std::size_t const start = at;
        m_failedReads = 0;
        m_fetching = true;
        int const result = VMP3_fetchFrame(m_object.data());
        m_fetching = false;
        EXPECT_LE(m_failedReads, result == 0 || result == 1 ? 0 : 1);
        longestFetch = std::max(longestFetch, at - start);
        return result;
    }
    /// @return samples per channel; -1 on an error
    int decode()
    {
        Pcm out(VMP3_PcmBytes / 4);
        unsigned char work[VMP3_WorkBytes];
        int samples = 7;
        needFetch = 7;
        int const result =
            VMP3_decode(work, m_instance, out.data(), &samples, &needFetch, m_object.data());
        EXPECT_TRUE(needFetch == 1 || (needFetch == 0 && samples > 0));
        EXPECT_TRUE(result == 0 || samples == 0);
        if (samples > 0)
            VMP3_getInfo(&info, m_object.data());
        pcm.insert(pcm.end(), out.begin(), out.begin() + samples * info.channels);
        return result == 0 ? samples : -1;
    }
    /// To the fetch that fails. @return all the samples so far
    Pcm const& play()
    {
        for (int fetched = 0; fetched == 0 || fetched == 1;) {
            fetched = needFetch ? fetch() : 0;
            int const samples = decode();
            EXPECT_TRUE(fetched == 0 || (samples == 0 && needFetch == 1));
            errors += samples < 0;
            skips += fetched == 1;
        }
        return pcm;
    }

    Bytes input;
    std::size_t at = 0;
    std::size_t longestFetch = 0; ///< bytes
    Pcm pcm;
    VMP3_StreamInfo info = {};
    int needFetch = 1;
    int errors = 0;
    int skips = 0;

private:
    static unsigned int read(void* to, unsigned int size, unsigned int count, void* context)
    {
        auto& stream = *static_cast<Mp3Stream*>(context);
        EXPECT_TRUE(stream.m_fetching && size * count != 0);
        std::size_t const n = std::min<std::size_t>(size * count, stream.input.size() - stream.at);
        stream.m_failedReads += n < size * count;
        std::copy_n(stream.input.begin() + long(stream.at), n, static_cast<std::uint8_t*>(to));
        stream.at += n;
        return static_cast<unsigned int>(n);
    }

    unsigned char m_instance[VMP3_InstanceBytes], m_buffer[VMP3_InputBytes];
    VMP3_InputDescriptor m_descriptor = {m_buffer, VMP3_InputBytes, this, read};
    Bytes m_object;
    int m_failedReads = 0;
    bool m_fetching = false;
};

}} // namespace avr::test
