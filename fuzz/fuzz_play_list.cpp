// A play list, from anywhere: its entries are whole, within bounds, and can be played without being
// taken for something else. The first byte chooses where the list lies.
#include "Address.h"
#include "ExactInput.h"
#include "PlayList.h"

#include <string>

using namespace avr::host;

namespace {

constexpr const char* Bases[] = {"",
                                 "/music/list.m3u",
                                 "-/list",
                                 "file:///a%20b/list.pls",
                                 "http://host",
                                 "http://host/a/b?c/d#e/f",
                                 "mms://host/x"};

bool isAddress(std::string const& text)
{
    for (char c : text)
        require(static_cast<unsigned char>(c) >= ' ' && c != 0x7F);
    return !text.empty() && text[0] != '-';
}

void check(PlayListEntry const& entry, std::string const& base)
{
    std::string const& address = entry.address;
    require(isAddress(address) && entry.seconds >= -1);
    bool const isRemote = !schemeOf(base).empty() && schemeOf(base) != "file";
    std::string const scheme = schemeOf(address);
    require(!isRemote || (!scheme.empty() && scheme != "file"));
    if (!scheme.empty() || address[0] == '/')
        require(resolveAddress(base, address) == address);
    for (char c : scheme.empty() ? std::string() : address)
        require(c > ' ' && c < 0x7F);
    std::string const path = pathOfFileUrl(address);
    require(path.empty() || (path[0] == '/' && path.find('\0') == std::string::npos));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0)
        return 0;
    std::string const base = Bases[data[0] % std::size(Bases)];
    std::string const text(reinterpret_cast<const char*>(data) + 1, size - 1);
    PlayListKind const kind = playListKind(text, text, text);
    require(kind == PlayListKind::None || text.find('\0') == std::string::npos);
    playListKind(text, text, "");
    for (PlayListKind each : {PlayListKind::M3u, PlayListKind::Pls}) {
        auto const entries = parsePlayList(each, text, base);
        require(entries.size() <= size / 2 + 1);
        for (PlayListEntry const& entry : entries)
            check(entry, base);
    }
    require(parsePlayList(PlayListKind::Hls, text, base).empty());
    return 0;
}
