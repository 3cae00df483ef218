#pragma once

#include "Options.h"

#include "decoder/IDecoder.h"
#include "platform/IReadableStream.h"

#include <boost/shared_ptr.hpp>

#include <string>

namespace avr { namespace player {

/// One track before it is opened: its name, the stream, and the decoder that is to play it.
struct Source {
    std::string path;
    std::string format; ///< "wav", "lpcm", ...
    kiv::appli::IDecoder* decoder = nullptr;
    boost::shared_ptr<Avr::Interface::IReadableStream> stream;
    host::PcmFormat pcm; ///< what --pcm says; only lpcm uses it

    bool isHeaderless() const { return format == "lpcm"; }
    bool canSeek() const;
    /// Bytes; 0 when the stream does not know.
    double length() const;
};

/// Looks at the file and chooses the decoder; opens no stream.
/// @param error  receives what is wrong with the file and what to do about it
bool findSource(std::string const& path, Options const& options, Source& source,
                std::string& error);

/// What is wrong with a source whose run failed, as far as stream and file tell.
/// @param event  the decoder's last word: 0, 11 or 12; `known`: the format had been read before
std::string explainFailure(Source const& source, int event, bool known);

}} // namespace avr::player
