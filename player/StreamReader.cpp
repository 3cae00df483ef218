#include "StreamReader.h"

#include <chrono>
#include <thread>

namespace avr { namespace player {

using namespace kiv::appli;

bool readAll(Avr::Interface::IReadableStream& stream, void* to, std::size_t bytes)
{
    constexpr std::chrono::milliseconds RetryPause(5);
    auto* at = static_cast<char*>(to);
    while (bytes != 0) {
        unsigned int got = 0;
        int const result = stream.Read(at, static_cast<unsigned int>(bytes), &got);
        if (result == StreamRetry)
            std::this_thread::sleep_for(RetryPause);
        else if (result < 0)
            return false;
        at += got;
        bytes -= got;
    }
    return true;
}

StreamVisit::StreamVisit(Avr::Interface::IReadableStream& stream)
    : m_stream(stream), m_wasOpen(stream.IsOpened() >= 0), m_isOpen(m_wasOpen || stream.Open() >= 0)
{}

StreamVisit::~StreamVisit()
{
    bool const isBack = m_wasOpen && m_stream.SeekByte(0) >= 0;
    if (!isBack) // the next Open begins anew
        m_stream.Close();
}

}} // namespace avr::player
