#pragma once

#include <ogg/ogg.h>

#include <algorithm>
#include <cstdint>
#include <numeric>
#include <vector>

/// Sets the checksums right: the library skips a page whose checksum is wrong, and what has changed
/// in it would never be looked at.
inline void mendOggPages(std::vector<std::uint8_t>& content)
{
    static const char Mark[] = {'O', 'g', 'g', 'S'};
    auto page = content.begin();
    while ((page = std::search(page, content.end(), Mark, Mark + 4)) != content.end()) {
        long const left = content.end() - page;
        long const header = left < 27 ? left + 1 : 27 + page[26];
        if (header > left)
            return;
        long const body = std::accumulate(page + 27, page + header, 0L);
        if (header + body > left)
            return;
        ogg_page whole{&*page, header, &*page + header, body};
        ogg_page_checksum_set(&whole);
        page += header + body;
    }
}
