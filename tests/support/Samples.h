#pragma once

#include "ScriptedStream.h"

#include <boost/make_shared.hpp>

namespace avr { namespace test {

struct WaveSpec {
    std::uint16_t tag = 1;
    std::uint16_t channels = 2;
    std::uint32_t rate = 44100;
    std::uint16_t bits = 16;
    std::uint32_t frames = 5000;
    Bytes before;                  ///< bytes in front of "RIFF"
    Bytes betweenFmtAndData;       ///< whole chunks
    int blockAlign = -1;           ///< as stored; -1 = the right one
    long long bytesPerSecond = -1; ///< as stored; -1 = the right one
};

/// Bytes that repeat only after a long time.
inline Bytes noise(std::size_t size, std::uint32_t seed = 1)
{
    Bytes bytes(size);
    for (auto& byte : bytes) {
        seed = seed * 1664525u + 1013904223u;
        byte = static_cast<std::uint8_t>(seed >> 24);
    }
    return bytes;
}

inline void append(Bytes& to, Bytes const& bytes)
{
    to.insert(to.end(), bytes.begin(), bytes.end());
}
inline void append(Bytes& to, const char* text)
{
    while (*text != '\0')
        to.push_back(static_cast<std::uint8_t>(*text++));
}
inline void append(Bytes& to, std::uint32_t value, int bytes)
{
    for (int i = 0; i < bytes; ++i)
        to.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
}

/// A chunk as it stands in a file.
inline Bytes chunk(const char* name, Bytes const& body)
{
    Bytes bytes;
    append(bytes, name);
    append(bytes, static_cast<std::uint32_t>(body.size()), 4);
    append(bytes, body);
    return bytes;
}

inline Bytes waveAudio(WaveSpec const& spec)
{
    return noise(std::size_t(spec.frames) * spec.channels * spec.bits / 8);
}

inline Bytes waveFile(WaveSpec const& spec)
{
    unsigned const align = unsigned(spec.channels) * spec.bits / 8;
    Bytes fmt;
    append(fmt, spec.tag, 2);
    append(fmt, spec.channels, 2);
    append(fmt, spec.rate, 4);
    append(fmt,
           static_cast<std::uint32_t>(spec.bytesPerSecond < 0 ? spec.rate * align
                                                              : spec.bytesPerSecond),
           4);
    append(fmt, static_cast<std::uint32_t>(spec.blockAlign < 0 ? int(align) : spec.blockAlign), 2);
    append(fmt, spec.bits, 2);
    Bytes file = spec.before;
    append(file, "RIFF");
    append(file, 0, 4);
    append(file, "WAVE");
    append(file, chunk("fmt ", fmt));
    append(file, spec.betweenFmtAndData);
    append(file, chunk("data", waveAudio(spec)));
    return file;
}

inline Bytes joined(std::initializer_list<Bytes> parts)
{
    Bytes all;
    for (Bytes const& part : parts)
        append(all, part);
    return all;
}

inline boost::shared_ptr<ScriptedStream> scripted(Script script)
{
    return boost::make_shared<ScriptedStream>(std::move(script));
}
inline boost::shared_ptr<ScriptedStream> streamOf(Bytes data)
{
    Script script;
    script.data = std::move(data);
    return scripted(std::move(script));
}

}} // namespace avr::test
