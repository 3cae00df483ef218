#include "WmaInput.h"

#include "DecoderImple.h"
#include "StreamSeek.h"

#include <cstdio>
#include <iostream>

namespace kiv { namespace appli {

using namespace Avr::Decoder;

WmaInput::WmaInput(DecoderImple& engine, BufferedRead& reader, Watch watch,
                   std::function<bool()> isOver)
    : m_engine(engine), m_reader(reader), m_watch(std::move(watch))
{
    reader.abandonWhen([this, isOver = std::move(isOver)] {
        return m_seeks != m_seeksSeen || (isOver && isOver());
    });
}

int WmaInput::read(void* destination, unsigned short elementSize, unsigned short elementCount,
                   void* context)
{
    auto* const input = static_cast<WmaInput*>(context);
    if (input == nullptr) {
        std::cout << "FP ERROR READ" << std::endl;
        return 0;
    }
    unsigned int const bytes = static_cast<unsigned int>(elementSize) * elementCount;
    return input->m_interruption.guard(0, [&] { return input->readAll(destination, bytes); });
}

int WmaInput::readAll(void* destination, unsigned int bytes)
{
    BufferedRead::Outcome const outcome = m_reader.fill(m_engine, "Read", destination, bytes);
    if (outcome.result != Ok) {
        if (outcome.result != BufferedRead::GaveUp)
            m_reader.interruptPlayback(m_engine, outcome.result);
        return 0;
    }
    if (m_watch)
        m_watch(static_cast<const unsigned char*>(destination), bytes);
    return static_cast<int>(bytes);
}

int WmaInput::seek(void* context, int offset, int whence)
{
    auto* const input = static_cast<WmaInput*>(context);
    if (input == nullptr) {
        std::cout << "FP ERROR SEEK" << std::endl;
        return 0;
    }
    return input->m_interruption.guard(1, [&] { return input->seekTo(offset, whence); });
}

int WmaInput::seekTo(long long offset, int whence)
{
    BufferedRead::BufferStreamPtr const stream = m_reader.stream();
    if (!stream)
        return 1;
    if (whence == SEEK_END) {
        std::fprintf(stderr, "[StreamSeek] seek end!!\n");
        return 0;
    }
    if (whence == SEEK_CUR)
        offset += stream->GetPosition();
    return seekBufferedByte(m_engine, stream.get(), offset) == Ok ? 0 : 1;
}

}} // namespace kiv::appli
