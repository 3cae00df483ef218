#include "FakeBufferStream.h"

#include <atomic>

namespace avr { namespace test {

std::vector<std::string>& bufferJournal()
{
    static std::vector<std::string> journal;
    return journal;
}

namespace {

void note(const char* what, long long value)
{
    bufferJournal().push_back(std::string(what) + ' ' + std::to_string(value));
}

} // namespace

}} // namespace avr::test

namespace kiv { namespace appli {

using avr::test::note;

class BufferStream::Impl {
public:
    boost::shared_ptr<Avr::Interface::IReadableStream> base;
    std::atomic<long long> position{0};
};

BufferStream::BufferStream(boost::shared_ptr<Avr::Interface::IReadableStream> stream)
    : m_impl(new Impl)
{
    m_impl->base = std::move(stream);
}
BufferStream::~BufferStream() = default;

void BufferStream::SetMaxBufferSize(unsigned int bytes) { note("size", bytes); }
void BufferStream::SetStartThreashold(unsigned int bytes) { note("start", bytes); }
void BufferStream::SetStopThreashold(unsigned int bytes) { note("stop", bytes); }
void BufferStream::StartBuffering() { note("buffering", 1); }
void BufferStream::SeekLock(bool on) { note("lock", on); }

int BufferStream::SeekByte(long long offset)
{
    note("seek", offset);
    int const result = m_impl->base->SeekByte(offset);
    if (result >= 0)
        m_impl->position = offset;
    return result;
}
int BufferStream::Read(void* buf, unsigned int len, unsigned int* got)
{
    int const result = m_impl->base->Read(buf, len, got);
    m_impl->position += *got;
    return result;
}
long long BufferStream::GetPosition() const { return m_impl->position; }

int BufferStream::WaitForReadable(int, boost::function<void(int)> const&) { return Ok; }
boost::shared_ptr<Avr::Interface::IReadableStream> BufferStream::GetStream() const
{
    return m_impl->base;
}
int BufferStream::IsOpened() { return m_impl->base->IsOpened(); }
int BufferStream::Open() { return m_impl->base->Open(); }
void BufferStream::Close() { m_impl->base->Close(); }
int BufferStream::GetCapabilities() { return m_impl->base->GetCapabilities(); }
int BufferStream::SeekTime(double seconds) { return m_impl->base->SeekTime(seconds); }
int BufferStream::GetStreamProperty(int key, std::string& value)
{
    return m_impl->base->GetStreamProperty(key, value);
}
int BufferStream::GetErrorStatus() { return m_impl->base->GetErrorStatus(); }

}} // namespace kiv::appli
