#include "NetworkStream.h"

#include "LowerCase.h"

#include <cerrno>
#include <utility>

namespace avr { namespace host {

using namespace kiv::appli;
using Lock = std::unique_lock<std::mutex>;
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

NetworkStream::NetworkStream(std::string address, NetworkLimits const& limits)
    : m_address(std::move(address)), m_limits(limits)
{}

NetworkStream::~NetworkStream() { Close(); }

int NetworkStream::IsOpened()
{
    Lock const lock(m_lock);
    return m_isOpen ? Ok : ErrorFailed;
}

int NetworkStream::Open()
{
    unsigned int closesBefore = 0;
    {
        Lock const lock(m_lock);
        closesBefore = m_closes; // a Close ends an Open that waits for another one, too
    }
    Use const using_(m_use);
    {
        Lock const lock(m_lock);
        if (m_isOpen)
            return Ok;
        m_fault = {};
        m_contentType.clear();
        m_interrupted = false;
        m_closesBefore = closesBefore;
        m_phase = Phase::Connecting;
    }
    bool const connected = connect();
    Transfer unused;
    Lock const lock(m_lock);
    m_isOpen = connected && !isClosedLocked();
    m_phase = m_isOpen ? Phase::Open : Phase::Closed;
    if (!m_isOpen)
        unused.swap(m_transfer);
    return m_isOpen ? Ok : ErrorFailed;
}

void NetworkStream::Close()
{
    Transfer transfer, pending;
    {
        Lock const lock(m_lock);
        ++m_closes;
        m_isOpen = false;
        m_phase = Phase::Closed;
        transfer.swap(m_transfer);
        pending = m_pending;
        m_wake.notify_all();
    }
    if (transfer)
        transfer->cancel();
    if (pending)
        pending->cancel();
}

int NetworkStream::Read(void* buf, unsigned int len, unsigned int* got)
{
    if (!got)
        return ErrorFailed;
    *got = 0;
    if (len == 0)
        return Ok;
    Use const using_(m_use);
    {
        Lock const lock(m_lock);
        if (!m_isOpen)
            return ErrorFailed;
        if (std::exchange(m_interrupted, false) || m_seeksWaiting != 0)
            return StreamRetry;
        m_isReading = true;
        m_waitsSince = Clock::now();
    }
    std::size_t bytes = 0;
    HttpResult const result = readSome(buf, len, bytes);
    Lock const lock(m_lock);
    m_isReading = false;
    m_waitsSince.reset();
    switch (result) {
    case HttpResult::Ok:
        *got = static_cast<unsigned int>(bytes);
        return Ok;
    case HttpResult::Interrupted:
        m_interrupted = false;
        return StreamRetry;
    case HttpResult::Finished:
        return ResultEndOfStream;
    default:
        return ErrorFailed;
    }
}

int NetworkStream::GetStreamProperty(int key, std::string& value)
{
    switch (key) {
    case Address:
        value = m_address;
        return Ok;
    case StreamType:
        value = "http:inet";
        return Ok;
    default:
        return ErrorFailed;
    }
}

int NetworkStream::GetErrorStatus()
{
    Lock const lock(m_lock);
    return m_fault.number;
}

NetworkStream::Status NetworkStream::status() const
{
    Lock const lock(m_lock);
    milliseconds const silent =
        m_waitsSince ? std::chrono::duration_cast<milliseconds>(Clock::now() - *m_waitsSince)
                     : milliseconds(0);
    return {m_phase, m_attempt, silent};
}

std::string NetworkStream::errorText() const
{
    Lock const lock(m_lock);
    return m_fault.text;
}

std::string NetworkStream::contentType() const
{
    Lock const lock(m_lock);
    return m_contentType;
}

std::string NetworkStream::finalAddress() const
{
    Lock const lock(m_lock);
    return m_finalAddress;
}

void NetworkStream::waitForAbandoned()
{
    std::string reason;
    if (HttpModule const* const module = httpModule(reason))
        module->waitForAbandoned();
}

void NetworkStream::interruptRead()
{
    Transfer transfer, pending;
    {
        Lock const lock(m_lock);
        m_interrupted = true;
        if (!m_isReading)
            return;
        transfer = m_transfer;
        pending = m_pending;
        m_wake.notify_all();
    }
    if (transfer)
        transfer->interrupt();
    if (pending)
        pending->interrupt();
}

NetworkStream::Use NetworkStream::useInsteadOfReading()
{
    {
        Lock const lock(m_lock);
        ++m_seeksWaiting;
    }
    interruptRead();
    Use use(m_use);
    Lock const lock(m_lock);
    --m_seeksWaiting;
    m_interrupted = false;
    return use;
}

NetworkStream::Transfer NetworkStream::begin(std::string const& url,
                                             std::vector<std::string> headers, HttpAnswer& answer,
                                             HttpFault& fault)
{
    std::string reason;
    HttpModule const* const module = httpModule(reason);
    if (!module) {
        fault = {ENOSYS, "the part that uses the network cannot be loaded: " + reason};
        return nullptr;
    }
    Transfer const transfer =
        module->makeTransfer({url, std::move(headers), m_limits.connect, m_limits.stall});
    {
        Lock const lock(m_lock);
        if (isClosedLocked() || (m_isReading && m_interrupted))
            return nullptr;
        m_pending = transfer;
    }
    HttpResult const result = transfer->begin(answer);
    Lock const lock(m_lock);
    m_pending.reset();
    if (result == HttpResult::Ok)
        return transfer;
    fault = transfer->fault();
    return nullptr;
}

bool NetworkStream::install(Transfer transfer)
{
    Lock const lock(m_lock);
    if (isClosedLocked())
        return false;
    m_transfer.swap(transfer);
    return true;
}

NetworkStream::Transfer NetworkStream::release()
{
    Lock const lock(m_lock);
    return std::move(m_transfer);
}

HttpResult NetworkStream::receive(void* to, std::size_t room, std::size_t& got)
{
    Transfer transfer;
    {
        Lock const lock(m_lock);
        transfer = m_transfer;
    }
    return transfer ? transfer->read(to, room, got) : HttpResult::Cancelled;
}

HttpFault NetworkStream::receivingFault() const
{
    Lock const lock(m_lock);
    return m_transfer ? m_transfer->fault() : HttpFault();
}

bool NetworkStream::pauseBefore(unsigned int attempt)
{
    milliseconds time = m_limits.pause;
    for (unsigned int longer = 1; longer < attempt; ++longer)
        time *= 3;
    Lock lock(m_lock);
    if (isClosedLocked())
        return false;
    m_phase = Phase::Reconnecting;
    m_attempt = attempt;
    return !m_wake.wait_for(lock, time, [this] { return isClosedLocked() || m_interrupted; });
}

void NetworkStream::isReconnected()
{
    Lock const lock(m_lock);
    if (isClosedLocked())
        return;
    m_phase = Phase::Open;
    m_fault = {};
}

bool NetworkStream::isClosed() const
{
    Lock const lock(m_lock);
    return isClosedLocked();
}

bool NetworkStream::wasInterrupted() const
{
    Lock const lock(m_lock);
    return m_interrupted;
}

/// What a Close has ended has not failed.
void NetworkStream::fail(HttpFault const& fault)
{
    Lock const lock(m_lock);
    if (!isClosedLocked())
        m_fault = fault;
}

void NetworkStream::tell(std::string const& contentType, std::string const& finalAddress)
{
    Lock const lock(m_lock);
    m_contentType = lowerCase(contentType.substr(0, contentType.find_first_of("; \t")));
    m_finalAddress = finalAddress;
}

}} // namespace avr::host
