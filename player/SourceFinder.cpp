#include "SourceFinder.h"

#include "AacHead.h"
#include "AsfHead.h"
#include "FileHead.h"
#include "Text.h"

#include "decoder/DecoderFactory.h"
#include "stream/Address.h"
#include "stream/FileStream.h"
#include "stream/HeadStream.h"
#include "stream/OpenStream.h"

#include <boost/make_shared.hpp>

#include <cerrno>
#include <fstream>
#include <iterator>

#include <sys/stat.h>
#include <unistd.h>

namespace avr { namespace player {

namespace {

constexpr std::size_t HeadBytes = 4096;
constexpr std::size_t LongHeadBytes = 65536;

/// What keeps a file from being played whatever its format, or nothing.
std::string fileComplaint(std::string const& path, struct stat& status)
{
    if (stat(path.c_str(), &status) != 0) {
        int const number = errno;
        return errnoText(number) + (number == ENOENT ? "; check the name" : "");
    }
    if (S_ISDIR(status.st_mode))
        return "a directory; name the files in it";
    if (S_ISREG(status.st_mode) && status.st_size == 0)
        return "the file is empty; there is nothing to play";
    if (access(path.c_str(), R_OK) != 0)
        return errnoText(errno) + "; check the file's permissions";
    return {};
}

} // namespace

SourceFinder::SourceFinder(std::string address, Options const& options, Wakeup const& wakeup)
    : m_address(std::move(address)), m_options(options), m_wakeup(wakeup)
{
    m_found.source.path = host::withoutPassword(m_address);
    m_found.source.pcm = options.pcm;
    std::string const path = host::localPath(m_address);
    if (m_address.empty())
        m_found.error = "a name without a letter; check the command";
    if (m_address.empty() || (!path.empty() && findFile(path))) {
        m_isDone = true;
        return;
    }
    m_thread = std::thread([this] {
        findStream();
        m_isDone = true;
        m_wakeup.post();
    });
}

SourceFinder::~SourceFinder()
{
    StreamPtr current;
    {
        std::lock_guard<std::mutex> const guard(m_lock);
        m_givenUp = true;
        current = m_current;
    }
    // A Close that comes before the Open ends nothing.
    for (; current && !m_isDone; std::this_thread::sleep_for(std::chrono::milliseconds(5)))
        current->Close();
    if (m_thread.joinable())
        m_thread.join();
}

Found SourceFinder::take() { return std::move(m_found); }

boost::shared_ptr<host::NetworkStream> SourceFinder::network() const
{
    std::lock_guard<std::mutex> const guard(m_lock);
    return m_network;
}

/// @return false when it is no regular file: then it has to be waited for
bool SourceFinder::findFile(std::string const& path)
{
    struct stat status {};
    m_found.error = fileComplaint(path, status);
    if (!m_found.error.empty())
        return true;
    if (!S_ISREG(status.st_mode))
        return false;
    Source& source = m_found.source;
    source.isFile = true;
    source.head = readFileHead(path);
    source.stream = boost::make_shared<host::FileStream>(path);
    lookAt({}, path);
    return true;
}

void SourceFinder::findStream()
{
    Source& source = m_found.source;
    StreamPtr const stream =
        host::makeStream(m_address, {m_options.timeout, m_options.timeout}, m_found.error);
    if (!stream)
        return;
    source.network = boost::dynamic_pointer_cast<host::NetworkStream>(stream);
    auto const opened = boost::make_shared<host::HeadStream>(stream);
    source.stream = opened;
    if (!setCurrent(opened))
        return;
    if (opened->openEarly() >= 0)
        source.head = opened->head(HeadBytes, patience());
    if (source.length() > LongHeadBytes && (isMp4(source.head) || isAsf(source.head)))
        source.head = opened->head(LongHeadBytes, patience()); // going back would cost a connection
    m_found.error = source.streamFault();
    if (m_found.error.empty() && source.head.empty())
        m_found.error = "nothing comes from there";
    if (!m_found.error.empty())
        return;
    if (source.network)
        lookAt(source.network->contentType(), source.network->finalAddress());
    else
        lookAt({}, m_address);
}

bool SourceFinder::setCurrent(StreamPtr stream)
{
    std::lock_guard<std::mutex> const guard(m_lock);
    m_current = std::move(stream);
    m_network = m_found.source.network;
    return !m_givenUp;
}

/// @param base  what entries of a list are relative to
void SourceFinder::lookAt(std::string const& mimeType, std::string const& base)
{
    Source& source = m_found.source;
    if (m_options.format.empty()) {
        if (takeList(mimeType, base) || !chooseDecoder(source, mimeType, m_found.error))
            return;
    } else {
        source.format = m_options.format; // main has seen to it that it is there
        source.decoder = Avr::Decoder::LookupFromFormat(source.format);
    }
    WaveHead const wave(source.isHeaderless() ? std::string() : source.head);
    if (wave.foreignSubFormat())
        m_found.error = wave.complaint();
    if (source.format == "aac" && isMp4(source.head) && source.canSeek())
        source.mp4Rate = mp4CoreRate(*source.stream);
    bool const canGoBack = source.isFile || source.canSeek();
    if (source.format == "wma" && canGoBack)
        source.asfSeconds = asfDuration(*source.stream);
}

bool SourceFinder::takeList(std::string const& mimeType, std::string const& base)
{
    Source const& source = m_found.source;
    switch (host::PlayListKind const kind = host::playListKind(m_address, mimeType, source.head)) {
    case host::PlayListKind::None:
        return false;
    case host::PlayListKind::Hls:
        m_found.error = "a list of one stream's pieces (HLS), which is not played; look for the "
                        "station's plain address";
        return true;
    default:
        m_found.list = host::parsePlayList(kind, wholeText(), base);
        if (isLate())
            m_found.error = "the server sends the play list too slowly; try again later";
        else if (m_found.list.empty())
            m_found.error = "a play list without entries that could be played";
        return true;
    }
}

/// A pipe may take its time; its other end is the listener's own.
std::chrono::milliseconds SourceFinder::patience() const
{
    constexpr std::chrono::hours Endless(24 * 365);
    return m_found.source.network ? 2 * m_options.timeout : Endless;
}

bool SourceFinder::isLate() const
{
    auto const* const stream = dynamic_cast<host::HeadStream const*>(m_found.source.stream.get());
    return stream && stream->isLate();
}

std::string SourceFinder::wholeText()
{
    Source const& source = m_found.source;
    if (auto* const stream = dynamic_cast<host::HeadStream*>(source.stream.get()))
        return stream->head(host::MostPlayListBytes, patience());
    std::ifstream file(host::localPath(m_address), std::ios::binary);
    std::string text(host::MostPlayListBytes, '\0');
    file.read(&text[0], static_cast<std::streamsize>(text.size()));
    text.resize(static_cast<std::size_t>(file.gcount()));
    return text;
}

}} // namespace avr::player
