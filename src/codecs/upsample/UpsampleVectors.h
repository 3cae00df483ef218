#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

/// The up-converter's inner loops. A vector holds samples of neighbouring frames; the outputs of a
/// vector are `steps`, one vector for each step of the ratio, and are woven into their order last.
namespace avr { namespace vectors {

constexpr std::ptrdiff_t Lanes = 4;
using Words = std::uint32_t __attribute__((vector_size(16)));
using Samples = std::int32_t __attribute__((vector_size(16)));

template <int... I>
using Indices = std::integer_sequence<int, I...>;
template <int Size>
inline constexpr std::make_integer_sequence<int, Size> upTo{};

inline Words load(const int* from)
{
    Words words;
    std::memcpy(&words, from, sizeof words);
    return words;
}
inline void store(Words words, int* to) { std::memcpy(to, &words, sizeof words); }

inline Words shifted(Words words, int bits) { return Words(Samples(words) >> bits); }

/// Truncates toward zero. Divides without the sign: SSE2 has the high half of no signed product.
template <int Divisor>
inline Words quotient(Words words)
{
    Words const sign = Words(Samples(words) < 0);
    return ((((words ^ sign) - sign) / Divisor) ^ sign) - sign;
}

/// A vector that ends with the frame.
template <int Channels>
inline Words endingWith(const int (&frame)[2])
{
    return Words(Samples{0, 0, frame[0], frame[Channels - 1]});
}

/// The vector one frame earlier.
template <int Channels>
inline Words earlier(Words before, Words words)
{
    constexpr int I = Lanes - Channels;
    return __builtin_shufflevector(before, words, I, I + 1, I + 2, I + 3);
}

/// The even (0) or odd (1) frames of two vectors.
template <int Channels, int Phase>
inline Words everyOther(const int* in)
{
    constexpr int I = Phase * Channels, Next = I + 3 - Channels;
    return __builtin_shufflevector(load(in), load(in + Lanes), I, Next, I + 4, Next + 4);
}

/// A vector that has these two words of the output; when they are mono, in front.
template <int Channels, int Word, int Ratio>
inline Words pair(Words const (&steps)[Ratio])
{
    constexpr int Next = Word + 1;
    if constexpr (Channels == 2)
        return steps[Word / 2 % Ratio];
    else
        return __builtin_shufflevector(steps[Word % Ratio], steps[Next % Ratio], Word / Ratio,
                                       Next / Ratio + Lanes, -1, -1);
}

template <int Channels, int Word, int Ratio>
inline Words row(Words const (&steps)[Ratio])
{
    constexpr int I = Channels == 2 ? Word / 2 / Ratio * 2 : 0;
    constexpr int J = Channels == 2 ? (Word / 2 + 1) / Ratio * 2 : 0;
    return __builtin_shufflevector(pair<Channels, Word>(steps), pair<Channels, Word + 2>(steps), I,
                                   I + 1, J + Lanes, J + 1 + Lanes);
}

template <int Channels, int Ratio, int... I>
inline void weave(Words const (&steps)[Ratio], int* out, Indices<I...>)
{
    (store(row<Channels, I * Lanes>(steps), out + I * Lanes), ...);
}

/// From the frames before, divided into `a`, to `samples`, divided into `b`.
template <int Ratio, int Channels, int... K>
inline void ramp(Words a, Words b, Words samples, int* out, Indices<0, K...> all)
{
    if constexpr (Ratio == 3) { // an addition less
        Words const steps[] = {a + b + a, a + b + b, samples};
        weave<Channels>(steps, out, all);
    } else {
        Words value = a * (Ratio - 1) + b;
        Words const step = b - a;
        Words const steps[] = {value, (K == Ratio - 1 ? samples : value += step)...};
        weave<Channels>(steps, out, all);
    }
}

/// All divisions come first, so that they overlap.
template <int Ratio, int Channels, int... I>
inline void interpolate(Words& before, const int* in, int* out, Indices<I...>)
{
    Words const x[] = {load(in + I * Lanes)...};
    Words const q[] = {before, quotient<Ratio>(x[I])...};
    (ramp<Ratio, Channels>(earlier<Channels>(q[I], q[I + 1]), q[I + 1], x[I],
                           out + I * Lanes * Ratio, upTo<Ratio>),
     ...);
    before = q[sizeof...(I)];
}

/// Triples pairs of frames, x and y, and halves the six that each pair becomes.
template <int Channels>
inline void halve(Words a, Words b, Words c, Words x, Words y, Words& quarter, int* out)
{
    Words const q1 = shifted(a + b + b, 2), q3 = shifted(b + c + b, 2), q5 = shifted(y, 2);
    Words const steps[] = {shifted(a + b + a, 1) + q1 + earlier<Channels>(quarter, q5),
                           shifted(x, 1) + q3 + q1, shifted(b + c + c, 1) + q5 + q3};
    weave<Channels>(steps, out, upTo<3>);
    quarter = q5;
}

template <int Channels, int... I>
inline void interpolateHalves(Words& before, Words& quarter, const int* in, int* out, Indices<I...>)
{
    Words const x[] = {everyOther<Channels, 0>(in + I * Lanes * 2)...};
    Words const y[] = {everyOther<Channels, 1>(in + I * Lanes * 2)...};
    Words const b[] = {quotient<3>(x[I])...};
    Words const c[] = {before, quotient<3>(y[I])...};
    (halve<Channels>(earlier<Channels>(c[I], c[I + 1]), b[I], c[I + 1], x[I], y[I], quarter,
                     out + I * Lanes * 3),
     ...);
    before = c[sizeof...(I)];
}

}} // namespace avr::vectors
