#pragma once

namespace avr {

/// Raises the sampling rate of interleaved 32-bit PCM by linear interpolation in integers. Blocks
/// that follow one another join without a seam. Select a converter and call it block by block:
/// `int const written = (upsampler.*upsampler.m_converter)(in, count, out);`
///
/// `in` holds `count` samples, all channels together. `out` is other memory with room for ratio *
/// `count` samples (3 * `count` when the ratio is 1.5), a number that fits an int. The result is
/// ratio * `count`, at the ratio 1.5 rounded up to a whole frame.
/// - An odd `count` of stereo reads one sample more and needs room for what comes of it.
/// - The ratio 1.5 starts every block in phase. An odd number of frames takes in the frame at
///   out[3 * count], which has to be there, initialised.
class __attribute__((visibility("default"))) upsample {
public:
    using Converter = int (upsample::*)(int* in, int count, int* out);

    Converter m_converter = nullptr; ///< null, and not to be called, when none is selected

    /// @param rate ten times the ratio: 15, 20, 30, 40, 60, 80 or 120; others select nothing
    /// @param channels 1 or 2; others select nothing
    void select_converter(int rate, int channels);
    /// Forgets the converter and what it interpolates from, but not the history of its decimation.
    void reset();

    int do_convert_2_1(int* in, int count, int* out);
    int do_convert_2_2(int* in, int count, int* out);
    int do_convert_3_1(int* in, int count, int* out);
    int do_convert_3_2(int* in, int count, int* out);
    int do_convert_15_1(int* in, int count, int* out);
    int do_convert_15_2(int* in, int count, int* out);
    int do_convert_4_1(int* in, int count, int* out);
    int do_convert_4_2(int* in, int count, int* out);
    int do_convert_6_1(int* in, int count, int* out);
    int do_convert_6_2(int* in, int count, int* out);
    int do_convert_8_1(int* in, int count, int* out);
    int do_convert_8_2(int* in, int count, int* out);
    int do_convert_12_1(int* in, int count, int* out);
    int do_convert_12_2(int* in, int count, int* out);

private:
    template <int Ratio, int Channels>
    int convert(const int* in, int count, int* out);
    template <int Channels>
    int convertHalves(const int* in, int count, int* out);

    int m_history[2] = {}; ///< the last input frame
    int m_reserved = 0;
    int m_decimation[2] = {}; ///< a quarter of the last frame before the halving
};

} // namespace avr
