#pragma once

#include "Options.h"

#include "decoder/IDecoder.h"
#include "stream/NetworkStream.h"

#include <boost/shared_ptr.hpp>

#include <string>

namespace avr { namespace player {

/// One track before it is opened: its name, the stream, and the decoder that is to play it.
struct Source {
    std::string path;      ///< or address, as it was given
    std::string listTitle; ///< what a play list calls it; may be empty
    std::string format;    ///< "wav", "lpcm", ...
    kiv::appli::IDecoder* decoder = nullptr;
    boost::shared_ptr<Avr::Interface::IReadableStream> stream;
    boost::shared_ptr<host::NetworkStream> network; ///< what is below; null: it is local
    bool isFile = false;                            ///< a regular one, which can be looked at again
    std::string head;          ///< the first bytes; empty where it was not looked at
    host::PcmFormat pcm;       ///< what --pcm says; only lpcm uses it
    std::uint32_t mp4Rate = 0; ///< Hz of the AAC in an MP4 file
    double asfSeconds = 0;     ///< what an ASF file's header tells

    bool isHeaderless() const { return format == "lpcm"; }
    bool canSeek() const;
    /// Bytes; 0 when the stream does not know.
    double length() const;
    /// Why the stream failed, one line; empty when it did not.
    std::string streamFault() const;
    /// Somebody has waited for the network so long that decoders lose their patience, which is less
    /// than the stream's.
    bool isStarved() const;
};

/// The format that the platform's table gives for a MIME type; empty when it has none.
std::string formatOfMimeType(std::string const& mimeType);

/// Chooses the decoder: by the type that a server told, by the name, by the first bytes.
/// @param error  receives why there is none
bool chooseDecoder(Source& source, std::string const& mimeType, std::string& error);

}} // namespace avr::player
