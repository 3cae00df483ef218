#pragma once

#include "ScriptedStream.h"

#include <boost/shared_ptr.hpp>

namespace avr { namespace test {

// What a platform's maker supplies, beside the platform, to run the contract suite on it.

/// The platform's own stream over these bytes; it must be able to be positioned by byte.
boost::shared_ptr<Avr::Interface::IReadableStream> platformStream(Bytes const& bytes);
/// The same for an input that does not exist.
boost::shared_ptr<Avr::Interface::IReadableStream> missingStream();

/// Begins the sound device's run as a player does in OnEvent(2), for 8000 Hz, mono, 16 bits.
void beginSound();
/// Queues that many milliseconds of silence, as a player does in OnSample.
void queueSound(unsigned int milliseconds);
void pauseSound(bool paused);
/// What a player does in OnEvent(10).
void discardSound();

}} // namespace avr::test
