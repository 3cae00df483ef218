#include "Upsample.h"

#include "UpsampleVectors.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>

namespace avr {

using namespace vectors;

constexpr int Vectors = 4; // more run short of registers
constexpr std::ptrdiff_t Block = Vectors * Lanes;

template <int Ratio, int Channels>
int upsample::convert(const int* in, int count, int* out)
{
    std::ptrdiff_t done = 0;
    Words before = quotient<Ratio>(endingWith<Channels>(m_history));
    for (; count - done >= Block; done += Block)
        interpolate<Ratio, Channels>(before, in + done, out + done * Ratio, upTo<Vectors>);
    if (done != 0)
        std::copy(in + done - Channels, in + done, m_history);
    for (; done < count; done += Channels)
        for (int c = 0; c < Channels; ++c) {
            int const x = in[done + c], a = m_history[c] / Ratio, b = x / Ratio;
            int* to = out + done * Ratio + c;
            for (int k = 1; k < Ratio; ++k, to += Channels)
                *to = (Ratio - k) * a + k * b; // no overflow, since both are quotients
            *to = m_history[c] = x;
        }
    return count * Ratio;
}

/// Triples and halves: the blocks in registers, the rest in `out`.
template <int Channels>
int upsample::convertHalves(const int* in, int count, int* out)
{
    std::ptrdiff_t done = 0, written = 0;
    Words before = quotient<3>(endingWith<Channels>(m_history));
    Words quarter = endingWith<Channels>(m_decimation);
    for (; count - done >= Block; done += Block, written += Block / 2 * 3)
        interpolateHalves<Channels>(before, quarter, in + done, out + written, upTo<Vectors / 2>);
    for (int c = 0; done != 0 && c < Channels; ++c) {
        m_history[c] = in[done - Channels + c];
        m_decimation[c] = m_history[c] >> 2;
    }
    convert<3, Channels>(in + done, static_cast<int>(count - done), out + 3 * done);
    for (; 2 * written < 3 * std::ptrdiff_t{count}; written += Channels)
        for (int c = 0; c < Channels; ++c) {
            int const odd = out[2 * written + Channels + c] >> 2;
            out[written + c] = (out[2 * written + c] >> 1) + odd + m_decimation[c];
            m_decimation[c] = odd;
        }
    return static_cast<int>(written);
}

int upsample::do_convert_2_1(int* in, int n, int* out) { return convert<2, 1>(in, n, out); }
int upsample::do_convert_2_2(int* in, int n, int* out) { return convert<2, 2>(in, n, out); }
int upsample::do_convert_3_1(int* in, int n, int* out) { return convert<3, 1>(in, n, out); }
int upsample::do_convert_3_2(int* in, int n, int* out) { return convert<3, 2>(in, n, out); }
int upsample::do_convert_4_1(int* in, int n, int* out) { return convert<4, 1>(in, n, out); }
int upsample::do_convert_4_2(int* in, int n, int* out) { return convert<4, 2>(in, n, out); }
int upsample::do_convert_6_1(int* in, int n, int* out) { return convert<6, 1>(in, n, out); }
int upsample::do_convert_6_2(int* in, int n, int* out) { return convert<6, 2>(in, n, out); }
int upsample::do_convert_8_1(int* in, int n, int* out) { return convert<8, 1>(in, n, out); }
int upsample::do_convert_8_2(int* in, int n, int* out) { return convert<8, 2>(in, n, out); }
int upsample::do_convert_12_1(int* in, int n, int* out) { return convert<12, 1>(in, n, out); }
int upsample::do_convert_12_2(int* in, int n, int* out) { return convert<12, 2>(in, n, out); }
int upsample::do_convert_15_1(int* in, int n, int* out) { return convertHalves<1>(in, n, out); }
int upsample::do_convert_15_2(int* in, int n, int* out) { return convertHalves<2>(in, n, out); }

void upsample::reset()
{
    m_converter = nullptr;
    std::fill_n(m_history, 2, 0);
    m_reserved = 0;
}

void upsample::select_converter(int rate, int channels)
{
    static constexpr struct {
        int rate, channels;
        Converter converter;
    } linear_ent[] = {{20, 1, &upsample::do_convert_2_1},
                      {20, 2, &upsample::do_convert_2_2},
                      {30, 1, &upsample::do_convert_3_1},
                      {30, 2, &upsample::do_convert_3_2},
                      {15, 1, &upsample::do_convert_15_1},
                      {15, 2, &upsample::do_convert_15_2},
                      {40, 1, &upsample::do_convert_4_1},
                      {40, 2, &upsample::do_convert_4_2},
                      {60, 1, &upsample::do_convert_6_1},
                      {60, 2, &upsample::do_convert_6_2},
                      {80, 1, &upsample::do_convert_8_1},
                      {80, 2, &upsample::do_convert_8_2},
                      {120, 1, &upsample::do_convert_12_1},
                      {120, 2, &upsample::do_convert_12_2},
                      {-1, -1, nullptr}};
    reset();
    std::printf("select_converter(), rate = %d, channel = %d\n", rate, channels);
    for (int row = 0; linear_ent[row].rate != -1; ++row)
        if (linear_ent[row].rate == rate && linear_ent[row].channels == channels) {
            std::printf("found, [%d] rate = %d, ch = %d\n", row, rate, channels);
            std::fill_n(m_decimation, 2, 0);
            m_converter = linear_ent[row].converter;
            return;
        }
}

} // namespace avr
