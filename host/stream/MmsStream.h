#pragma once

#include "MmsFraming.h"
#include "NetworkStream.h"

#include <boost/shared_ptr.hpp>

namespace avr { namespace host {

/// A WMA stream of a media server, mms:// or mmsh://, as MMS over HTTP: an ASF file that arrives
/// header first, packet by packet. It cannot be positioned.
class AVR_API MmsStream final : public NetworkStream {
public:
    explicit MmsStream(std::string address, NetworkLimits const& limits = {});
    ~MmsStream() override;

    /// Where the server goes on with another file, this stream ends. What follows is another
    /// stream, for another run.
    /// @return null when nothing follows
    boost::shared_ptr<MmsStream> takeNext();

protected:
    bool connect() override;
    HttpResult readSome(void* to, std::size_t room, std::size_t& got) override;

private:
    /// Where a body is read.
    struct Body {
        MmsFraming framing;
        std::vector<std::uint8_t> bytes; ///< that the framing has not taken
        std::size_t taken = 0;
    };

    bool askFor(std::vector<std::string> headers);
    bool readHeader();
    HttpResult readPart();
    HttpResult feed();
    HttpResult brokenOff();
    HttpResult endWithNext(MmsFraming::Result result);

    Body m_body;               ///< with the use of the stream, as the next ones
    Transfer m_inherited;      ///< of the stream before this one; the first opening reads it
    std::size_t m_written = 0; ///< of the framing's output
    bool m_hasPart = false;    ///< the framing's output is what is read now
    bool m_hasHeader = false;
    bool m_isOver = false;

    std::mutex m_nextLock; ///< guards m_next; taken alone
    boost::shared_ptr<MmsStream> m_next;
};

}} // namespace avr::host
