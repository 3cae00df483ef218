#include "platform/BufferStream.h"

#include "ReadAhead.h"

namespace kiv { namespace appli {

class BufferStream::Impl : public tiny::ReadAhead {
public:
    using ReadAhead::ReadAhead;
};

BufferStream::BufferStream(boost::shared_ptr<IReadableStream> stream)
    : m_impl(new Impl(std::move(stream)))
{}
BufferStream::~BufferStream() = default;

void BufferStream::SetMaxBufferSize(unsigned int bytes) { m_impl->setMaximum(bytes); }
void BufferStream::SetStartThreashold(unsigned int bytes) { m_impl->setStart(bytes); }
void BufferStream::SetStopThreashold(unsigned int bytes) { m_impl->setStop(bytes); }
void BufferStream::StartBuffering() { m_impl->start(); }

int BufferStream::WaitForReadable(int time, boost::function<void(int)> const& progress)
{
    return m_impl->wait(std::chrono::milliseconds(time), progress);
}

void BufferStream::SeekLock(bool on) { m_impl->holdFilling(on); }

boost::shared_ptr<Avr::Interface::IReadableStream> BufferStream::GetStream() const
{
    return m_impl->stream();
}

long long BufferStream::GetPosition() const { return m_impl->position(); }

int BufferStream::IsOpened() { return m_impl->stream()->IsOpened(); }
int BufferStream::Open()
{
    return m_impl->moveStream([this] { return m_impl->stream()->Open(); }, 0);
}
void BufferStream::Close() { m_impl->stream()->Close(); }
int BufferStream::Read(void* buf, unsigned int len, unsigned int* got)
{
    return m_impl->read(buf, len, *got);
}
int BufferStream::GetCapabilities() { return m_impl->stream()->GetCapabilities(); }
int BufferStream::SeekByte(long long offset) { return m_impl->seekByte(offset); }
int BufferStream::SeekTime(double seconds)
{
    return m_impl->moveStream([=] { return m_impl->stream()->SeekTime(seconds); }, -1);
}
int BufferStream::GetStreamProperty(int key, std::string& value)
{
    return m_impl->stream()->GetStreamProperty(key, value);
}
int BufferStream::GetErrorStatus() { return m_impl->stream()->GetErrorStatus(); }

}} // namespace kiv::appli
