#pragma once

#include "ISoundSink.h"
#include "decoder/Export.h"

#include <atomic>
#include <memory>
#include <string>

namespace avr { namespace host {

/// How a sink without a clock takes its PCM.
enum class Pace { Realtime, AsFastAsPossible };

/// ALSA. `device` is a PCM name as `aplay -L` lists it, for example "default" or "hw:0".
AVR_API std::unique_ptr<ISoundSink> makeAlsaSink(std::string device);
/// True when a PCM of this name can be opened now.
AVR_API bool alsaDeviceUsable(std::string const& device);

/// A RIFF/WAVE file; 8-bit samples are made unsigned again. Tracks of one format follow each other
/// in the file; another format is refused.
AVR_API std::unique_ptr<ISoundSink> makeWavFileSink(std::string path, Pace pace);

/// The PCM as it comes, into a file or, given a descriptor, there (it is not closed;
/// `name` stands in error lines).
AVR_API std::unique_ptr<ISoundSink> makeRawFileSink(std::string path, Pace pace);
AVR_API std::unique_ptr<ISoundSink> makeRawDescriptorSink(int descriptor, std::string name,
                                                          Pace pace);

/// What a null sink does wrong on purpose.
struct NullFaults {
    std::atomic<bool> neverCompletes{false}; ///< drained() stays false
    std::atomic<int> lateMilliseconds{0};    ///< drained() only this long after finish()
};

/// Takes everything, keeps nothing. `faults`, when given, must outlive the sink.
AVR_API std::unique_ptr<ISoundSink> makeNullSink(Pace pace, NullFaults* faults = nullptr);

}} // namespace avr::host
