// The tiny platform's part of the contract suite.
#include "PlatformUnderTest.h"

#include "CountingSink.h"
#include "MemoryStream.h"

#include <boost/make_shared.hpp>

namespace avr { namespace test {

using tiny::CountingSink;
using tiny::MemoryStream;

constexpr unsigned int Rate = 8000;

boost::shared_ptr<Avr::Interface::IReadableStream> platformStream(Bytes const& bytes)
{
    return boost::make_shared<MemoryStream>(bytes);
}

boost::shared_ptr<Avr::Interface::IReadableStream> missingStream() { return platformStream({}); }

void beginSound() { CountingSink::instance().begin(Rate); }
void queueSound(unsigned int milliseconds)
{
    CountingSink::instance().put(milliseconds * Rate / 1000);
}
void pauseSound(bool paused) { CountingSink::instance().pause(paused); }
void discardSound() { CountingSink::instance().discard(); }

}} // namespace avr::test
