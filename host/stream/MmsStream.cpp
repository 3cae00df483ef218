#include "MmsStream.h"

#include "AsfHeaderFacts.h"
#include "HttpStatus.h"

#include <boost/make_shared.hpp>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace avr { namespace host {

namespace {

constexpr std::size_t ReadBytes = 16384;

std::string httpAddress(std::string const& address)
{
    return "http" + address.substr(std::min(address.find("://"), address.size()));
}

/// What the servers want to see in each request.
/// @param context  1: the header is wanted, 2: all
std::vector<std::string> headersOf(int context)
{
    return {"Accept: */*", "User-Agent: NSPlayer/7.10.0.3059",
            "Pragma: xClientGUID={3300AD50-2C39-46c0-AE0A-000000000000}", "Connection: Close",
            "Pragma: no-cache,rate=1.000000,stream-time=0,stream-offset=0:0,request-context=" +
                std::to_string(context) + ",max-duration=0"};
}

/// All the audio, and nothing else.
std::vector<std::string> playHeaders(std::vector<AsfStreamNumber> const& streams)
{
    std::vector<std::string> headers = headersOf(2);
    headers.push_back("Pragma: xPlayStrm=1");
    headers.push_back("Pragma: stream-switch-count=" + std::to_string(streams.size()));
    std::string entries;
    for (AsfStreamNumber const& stream : streams)
        entries += (entries.empty() ? "ffff:" : " ffff:") + std::to_string(stream.number) +
                   (stream.isAudio ? ":0" : ":2");
    headers.push_back("Pragma: stream-switch-entry=" + entries);
    return headers;
}

} // namespace

MmsStream::MmsStream(std::string address, NetworkLimits const& limits)
    : NetworkStream(std::move(address), limits)
{}

MmsStream::~MmsStream() { Close(); }

bool MmsStream::connect()
{
    m_isOver = false;
    tell("audio/x-ms-wma", address());
    if (Transfer const inherited = std::move(m_inherited))
        return install(inherited) && readHeader();
    // The first answer is the header alone; it tells what there is to be asked for.
    return askFor(headersOf(1)) && readHeader() &&
           askFor(playHeaders(asfStreams(m_body.framing.output()))) && readHeader();
}

bool MmsStream::askFor(std::vector<std::string> headers)
{
    HttpAnswer answer;
    HttpFault fault;
    Transfer const transfer = begin(httpAddress(address()), std::move(headers), answer, fault);
    if (transfer && answer.status != 200)
        fault = httpStatusFault(answer.status);
    if (!transfer || answer.status != 200) {
        fail(fault);
        return false;
    }
    m_body = {};
    m_hasHeader = m_hasPart = false;
    return install(transfer);
}

bool MmsStream::readHeader()
{
    HttpResult result = HttpResult::Ok;
    while (result == HttpResult::Ok && !m_hasHeader)
        result = readPart();
    if (result == HttpResult::Finished)
        fail({ENODATA, "the server does not send the stream"});
    return result == HttpResult::Ok;
}

HttpResult MmsStream::readSome(void* to, std::size_t room, std::size_t& got)
{
    while (!m_hasPart) {
        HttpResult const result = m_isOver ? HttpResult::Finished : readPart();
        if (result != HttpResult::Ok)
            return result;
    }
    std::vector<std::uint8_t> const& part = m_body.framing.output();
    got = std::min(room, part.size() - m_written);
    std::memcpy(to, part.data() + m_written, got);
    m_written += got;
    m_hasPart = m_written != part.size();
    return HttpResult::Ok;
}

/// Goes on to the next thing that the body tells. @return Ok also when that is nothing to be read
HttpResult MmsStream::readPart()
{
    if (m_body.taken < m_body.bytes.size())
        return feed();
    m_body.bytes.resize(ReadBytes);
    m_body.taken = 0;
    std::size_t got = 0;
    HttpResult const result = receive(m_body.bytes.data(), m_body.bytes.size(), got);
    m_body.bytes.resize(got);
    if (result == HttpResult::Failed)
        fail(receivingFault());
    bool const isEarly = result == HttpResult::Finished || result == HttpResult::Dropped;
    return isEarly ? brokenOff() : result;
}

HttpResult MmsStream::brokenOff()
{
    fail({ECONNRESET,
          m_hasHeader ? "the server broke the stream off" : "the server does not send a stream"});
    return HttpResult::Failed;
}

HttpResult MmsStream::feed()
{
    std::size_t taken = 0;
    MmsFraming::Result const result = m_body.framing.feed(
        m_body.bytes.data() + m_body.taken, m_body.bytes.size() - m_body.taken, taken);
    m_body.taken += taken;
    switch (result) {
    case MmsFraming::Result::NeedsMore:
        return HttpResult::Ok;
    case MmsFraming::Result::Header:
        if (m_hasHeader) // of another file, without a word
            return endWithNext(result);
        [[fallthrough]];
    case MmsFraming::Result::Packet:
        m_hasHeader = m_hasPart = true;
        m_written = 0;
        return HttpResult::Ok;
    case MmsFraming::Result::StreamChange:
    case MmsFraming::Result::EndMoreFollows:
        return m_hasHeader ? endWithNext(result) : HttpResult::Ok;
    case MmsFraming::Result::End:
        m_isOver = true;
        return HttpResult::Finished;
    case MmsFraming::Result::Broken:
        break;
    }
    fail({EPROTO, "the server does not send a sound stream: " + m_body.framing.reason()});
    return HttpResult::Failed;
}

/// Hands the connection on.
HttpResult MmsStream::endWithNext(MmsFraming::Result result)
{
    auto const next = boost::make_shared<MmsStream>(address(), limits());
    next->m_inherited = release();
    next->m_hasHeader = next->m_hasPart = result == MmsFraming::Result::Header;
    next->m_body = std::move(m_body);
    m_body = {};
    m_isOver = true;
    std::lock_guard<std::mutex> const guard(m_nextLock);
    m_next = next;
    return HttpResult::Finished;
}

boost::shared_ptr<MmsStream> MmsStream::takeNext()
{
    std::lock_guard<std::mutex> const guard(m_nextLock);
    return std::move(m_next);
}

}} // namespace avr::host
