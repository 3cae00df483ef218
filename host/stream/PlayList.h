#pragma once

#include "decoder/Export.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace avr { namespace host {

enum class PlayListKind {
    None,
    M3u,
    Pls,
    Hls ///< the pieces of one stream, which is no list of tracks
};

/// What a file or an answer is, by its first bytes, what the server calls it, and its name.
/// @param name         path or address
/// @param contentType  as the server has it; may be empty
/// @param head         the first bytes, the more the better; may be empty
AVR_API PlayListKind playListKind(std::string const& name, std::string const& contentType,
                                  std::string_view head);

struct PlayListEntry {
    std::string address; ///< path or address, neither empty nor like an option
    std::string title;   ///< UTF-8; may be empty
    int seconds = -1;    ///< negative when it is not known
};

constexpr std::size_t MostPlayListBytes = 4u << 20; ///< the rest is not looked at
constexpr std::size_t MostPlayListEntries = 1u << 16;

/// The entries of a list, in their order. What can not be played is left out.
/// @param kind  M3u or Pls; of the others nothing comes
/// @param base  where the list lies; its entries may be relative to that
AVR_API std::vector<PlayListEntry> parsePlayList(PlayListKind kind, std::string_view text,
                                                 std::string const& base);

}} // namespace avr::host
