// A project that only wants the platform: reads the start of this file through the read-ahead
// buffer, and asks the sound output for its state.
#include "host/sound/Sinks.h"
#include "host/sound/SoundDevice.h"
#include "host/stream/FileStream.h"
#include "platform/BufferStream.h"
#include "platform/MimeTable.h"

#include <boost/make_shared.hpp>
#include <iostream>
#include <string>

static bool readsThisFile()
{
    auto file = boost::make_shared<avr::host::FileStream>(__FILE__);
    kiv::appli::BufferStream buffer(file);
    char text[] = "__________";
    unsigned int got = 0;
    const bool read = buffer.Open() >= 0 && buffer.Read(text, 10, &got) == 0;
    buffer.Close();
    return read && got > 0 && std::string("// A project").compare(0, got, text, got) == 0;
}

static bool playsNothing()
{
    auto& device = avr::host::SoundDevice::instance();
    device.setSink(avr::host::makeNullSink(avr::host::Pace::AsFastAsPossible));
    device.putEofMark(true);
    std::string error;
    return device.isPlaybackCompleted() && device.closeSink(error);
}

int main()
{
    const bool read = readsThisFile();
    const bool played = playsNothing();
    const bool types = kiv::mimetype_ex::MimeTypeInfoSize >= 9;
    std::cerr << "file " << read << ", sound " << played << ", MIME types " << types << '\n';
    return read && played && types ? 0 : 1;
}
