#include "HttpStream.h"

#include "HttpStatus.h"
#include "IcyTitles.h"
#include "decoder/Result.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <utility>

namespace avr { namespace host {

using namespace kiv::appli;
using Guard = std::lock_guard<std::mutex>;

namespace {

/// Some stations send nobody away but those who do not say who they are.
constexpr const char* UserAgent = "User-Agent: libavrdecoder/1";

constexpr unsigned int Attempts = 3;    ///< to make a broken connection again
constexpr std::size_t MostTitles = 100; ///< that wait to be heard

/// What a header begins with; Unknown, -1, where that is too large, or less than nothing.
long long numberOf(std::string const& header)
{
    errno = 0;
    long long const number = std::strtoll(header.c_str(), nullptr, 10);
    return errno == ERANGE || number < 0 ? -1 : number;
}

/// Both numbers of "bytes FIRST-LAST/LENGTH"; Unknown, -1, where there is none.
struct ContentRange {
    explicit ContentRange(std::string const& header)
    {
        if (header.compare(0, 6, "bytes ") != 0 || header[6] < '0' || header[6] > '9')
            return;
        first = numberOf(header.substr(6));
        std::size_t const slash = header.find('/');
        if (slash != std::string::npos && header.compare(slash, 2, "/*") != 0)
            length = numberOf(header.substr(slash + 1));
    }

    long long first = -1;
    long long length = -1;
};

bool isControl(char c) { return static_cast<unsigned char>(c) < ' ' || c == 0x7F; }

bool isRadio(HttpAnswer const& answer)
{
    return answer.headers.count("icy-metaint") != 0 || answer.headers.count("icy-name") != 0;
}

} // namespace

HttpStream::HttpStream(std::string url, NetworkLimits const& limits)
    : NetworkStream(std::move(url), limits)
{}

HttpStream::~HttpStream() { Close(); }

bool HttpStream::connect()
{
    HttpAnswer answer;
    HttpFault fault;
    Transfer const transfer =
        begin(address(), {UserAgent, "Range: bytes=0-", "Icy-MetaData: 1"}, answer, fault);
    bool const isWhole =
        answer.status == 200 ||
        (answer.status == 206 && ContentRange(answer.header("content-range")).first == 0);
    if (transfer && !isWhole)
        fault = httpStatusFault(answer.status);
    if (!transfer || !isWhole) {
        fail(fault);
        return false;
    }
    learn(answer);
    movedTo(0);
    return install(transfer);
}

void HttpStream::movedTo(long long position)
{
    m_position = position;
    m_attempts = 0;
    m_isAtEnd = m_isLost = false;
}

void HttpStream::learn(HttpAnswer const& answer)
{
    tell(answer.header("content-type"), answer.url);
    long const interval = std::strtol(answer.header("icy-metaint").c_str(), nullptr, 10);
    m_icy.reset();
    if (interval > 0)
        m_icy = std::make_unique<IcyTitles>(
            static_cast<std::size_t>(interval),
            [this](long long position, std::string const& text) { noteTitle(position, text); });
    m_validator = answer.header("etag");
    if (m_validator.empty() || m_validator.compare(0, 2, "W/") == 0)
        m_validator = answer.header("last-modified");
    if (std::any_of(m_validator.begin(), m_validator.end(), isControl))
        m_validator.clear(); // it would be sent back
    std::string const told = answer.header("content-length");
    Guard const guard(m_knownLock);
    m_titles.clear();
    m_taken = 0;
    bool const tellsNone = told.empty() || answer.headers.count("transfer-encoding") != 0;
    m_length = answer.status == 206 ? ContentRange(answer.header("content-range")).length
               : tellsNone          ? Unknown
                                    : numberOf(told);
    m_givesParts = answer.status == 206 || answer.header("accept-ranges") == "bytes";
    if (isRadio(answer)) {
        m_length = Unknown;
        m_givesParts = false;
    }
}

int HttpStream::GetCapabilities()
{
    Guard const guard(m_knownLock);
    return m_givesParts && m_length >= 0 ? CanSeekByte : 0;
}

long long HttpStream::length() const
{
    Guard const guard(m_knownLock);
    return m_length;
}

int HttpStream::GetStreamProperty(int key, std::string& value)
{
    if (key != ContentLength)
        return NetworkStream::GetStreamProperty(key, value);
    long long const known = length();
    if (known < 0)
        return ErrorFailed;
    value = std::to_string(known);
    return Ok;
}

HttpResult HttpStream::readSome(void* to, std::size_t room, std::size_t& got)
{
    if (m_isAtEnd)
        return HttpResult::Finished;
    while (!m_isLost) {
        HttpResult result = receive(to, room, got);
        if (result == HttpResult::Ok) {
            m_attempts = 0;
            if (m_icy)
                got = m_icy->filter(static_cast<std::uint8_t*>(to), got);
            m_position += static_cast<long long>(got);
            if (got != 0)
                return result;
            continue;
        }
        bool const isEarly = result == HttpResult::Finished && m_position < length();
        if (result == HttpResult::Dropped || isEarly)
            result = resume(isEarly && m_attempts == 0);
        else if (result == HttpResult::Failed)
            fail(receivingFault());
        if (result != HttpResult::Ok)
            return result;
    }
    return HttpResult::Failed;
}

/// Makes a connection that broke again, where it was. @return Ok when it is there
/// @param isWhole  nothing broke, the server only gives less than it was asked for
HttpResult HttpStream::resume(bool isWhole)
{
    HttpFault fault = receivingFault();
    if (fault.number == 0)
        fault = {ECONNRESET, "the server ended before the end of the file"};
    bool const canResume = GetCapabilities() != 0;
    while (canResume && m_attempts < Attempts) {
        if (!std::exchange(isWhole, false) && !pauseBefore(m_attempts + 1))
            return isClosed() ? HttpResult::Cancelled : HttpResult::Interrupted;
        Part part = beginAt(m_position);
        bool const isThere = part.transfer && install(std::move(part.transfer));
        if (isClosed())
            return HttpResult::Cancelled;
        if (isThere)
            isReconnected();
        if (wasInterrupted())
            return HttpResult::Interrupted;
        ++m_attempts;
        if (isThere)
            return HttpResult::Ok;
        fault = part.fault;
        if (part.isRefused)
            break;
    }
    fail(fault);
    m_isLost = true;
    return HttpResult::Failed;
}

HttpStream::Part HttpStream::beginAt(long long position)
{
    std::vector<std::string> headers = {UserAgent,
                                        "Range: bytes=" + std::to_string(position) + '-'};
    if (!m_validator.empty())
        headers.push_back("If-Range: " + m_validator);
    HttpAnswer answer;
    Part part;
    part.transfer = begin(address(), std::move(headers), answer, part.fault);
    if (!part.transfer)
        return part;
    ContentRange const range(answer.header("content-range"));
    if (answer.status == 206 && range.first == position &&
        (range.length < 0 || range.length == length()))
        return part;
    part.isRefused = answer.status < 500 && answer.status != 429;
    part.transfer.reset();
    part.fault = answer.status / 100 == 2
                     ? HttpFault{EIO, "the file on the server is not the same any more"}
                     : httpStatusFault(answer.status);
    return part;
}

int HttpStream::SeekByte(long long offset)
{
    Use const use = useInsteadOfReading();
    if (IsOpened() < 0)
        return ErrorFailed;
    if (GetCapabilities() == 0)
        return ErrorNotSupported;
    long long const end = length();
    if (offset < 0 || offset > end)
        return ErrorFailed;
    if (offset != end) {
        Part part = beginAt(offset);
        if (!part.transfer || !install(std::move(part.transfer)))
            return ErrorFailed;
    }
    isReconnected();
    movedTo(offset);
    m_isAtEnd = offset == end;
    return Ok;
}

void HttpStream::noteTitle(long long position, std::string const& text)
{
    Guard const guard(m_knownLock);
    if (m_titles.size() == MostTitles)
        m_titles.erase(m_titles.begin());
    m_titles.push_back({position, text});
}

void HttpStream::taken(long long position)
{
    Guard const guard(m_knownLock);
    m_taken = position;
}

std::optional<std::string> HttpStream::newTitle()
{
    Guard const guard(m_knownLock);
    if (m_titles.empty() || m_titles.front().position > m_taken)
        return {};
    std::string title = std::move(m_titles.front().text);
    m_titles.erase(m_titles.begin());
    return title;
}

}} // namespace avr::host
