#include "PlayList.h"

#include "Address.h"
#include "LowerCase.h"
#include "TitleText.h"

#include <algorithm>
#include <cctype>
#include <map>

namespace avr { namespace host {

namespace {

constexpr std::size_t MostLineBytes = 8192;
/// Of all addresses together: short entries may lie beside a long base.
constexpr std::size_t MostAddressBytes = 4 * MostPlayListBytes;

constexpr std::string_view ByteOrderMark = "\xEF\xBB\xBF";

bool begins(std::string_view text, std::string_view with)
{
    return text.substr(0, with.size()) == with;
}

bool ends(std::string_view text, std::string_view with)
{
    return text.size() >= with.size() && text.substr(text.size() - with.size()) == with;
}

bool isDigit(char c) { return c >= '0' && c <= '9'; }

std::string_view trimmed(std::string_view text)
{
    constexpr const char* Blanks = " \t";
    text.remove_prefix(std::min(text.find_first_not_of(Blanks), text.size()));
    return text.substr(0, text.find_last_not_of(Blanks) + 1);
}

/// What comes behind the first of these marks; empty when there is none.
std::string_view behind(std::string_view text, char mark)
{
    std::size_t const at = text.find(mark);
    return at == std::string_view::npos ? std::string_view() : trimmed(text.substr(at + 1));
}

/// Takes the next line off the text, whatever ends it; empty for one that is too long.
std::string_view takeLine(std::string_view& text)
{
    std::size_t const end = std::min(text.find_first_of("\r\n"), text.size());
    std::string_view const line = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    return line.size() <= MostLineBytes ? trimmed(line) : std::string_view();
}

/// What the text begins with. @return negative when it is no number, or too large
int numberOf(std::string_view text)
{
    constexpr std::size_t MostDigits = 9;
    std::size_t digits = 0;
    int number = 0;
    for (; digits < text.size() && isDigit(text[digits]); ++digits)
        number = digits < MostDigits ? number * 10 + (text[digits] - '0') : 0;
    return digits == 0 || digits > MostDigits ? -1 : number;
}

/// Gathers entries as long as there is room.
class Entries {
public:
    explicit Entries(std::string const& base) : m_base(base), m_baseScheme(schemeOf(base)) {}

    void add(std::string_view written, PlayListEntry entry)
    {
        if (written.empty() || isFull() || std::any_of(written.begin(), written.end(), isControl))
            return;
        entry.address = resolveAddress(m_base, std::string(written));
        m_addressBytes += entry.address.size();
        bool const isOurs = m_baseScheme.empty() || m_baseScheme == "file";
        if (!isFull() && (isOurs || schemeOf(entry.address) != "file"))
            entries.push_back(std::move(entry));
    }
    bool isFull() const
    {
        return entries.size() >= MostPlayListEntries || m_addressBytes > MostAddressBytes;
    }

    std::vector<PlayListEntry> entries;

private:
    static bool isControl(char c) { return static_cast<unsigned char>(c) < ' ' || c == 0x7F; }

    std::string const& m_base;
    std::string const m_baseScheme;
    std::size_t m_addressBytes = 0;
};

void parseM3u(std::string_view text, Entries& to)
{
    constexpr std::string_view Info = "#EXTINF:";
    PlayListEntry next;
    while (!text.empty() && !to.isFull()) {
        std::string_view line = takeLine(text);
        if (begins(line, Info)) {
            line = trimmed(line.substr(Info.size()));
            next.seconds = numberOf(line);
            next.title = titleText(behind(line, ','));
        } else if (!line.empty() && line[0] != '#') {
            to.add(line, std::move(next));
            next = {};
        }
    }
}

/// A line as "File12=a.mp3".
struct PlsField {
    std::string name; ///< in lower case
    int number = -1;
    std::string_view value;
};

PlsField plsField(std::string_view line)
{
    std::string_view const key = trimmed(line.substr(0, line.find('=')));
    std::size_t const digits = key.find_last_not_of("0123456789") + 1;
    return {lowerCase(key.substr(0, digits)), numberOf(key.substr(digits)), behind(line, '=')};
}

void parsePls(std::string_view text, Entries& to)
{
    struct Written {
        std::string_view file, title, length;
    };
    std::map<int, Written> byNumber;
    while (!text.empty()) {
        PlsField const field = plsField(takeLine(text));
        bool const isKnown = byNumber.size() < MostPlayListEntries || byNumber.count(field.number);
        if (field.number < 0 || !isKnown)
            continue;
        if (field.name == "file")
            byNumber[field.number].file = field.value;
        else if (field.name == "title")
            byNumber[field.number].title = field.value;
        else if (field.name == "length")
            byNumber[field.number].length = field.value;
    }
    for (auto& [number, written] : byNumber)
        if (!to.isFull())
            to.add(written.file, {{}, titleText(written.title), numberOf(written.length)});
}

/// What is looked at of a text that is too long: whole lines.
std::string_view withinLimit(std::string_view text)
{
    if (text.size() <= MostPlayListBytes)
        return text;
    text = text.substr(0, MostPlayListBytes);
    return text.substr(0, text.find_last_of("\r\n") + 1);
}

std::string_view withoutMark(std::string_view text)
{
    return begins(text, ByteOrderMark) ? text.substr(ByteOrderMark.size()) : text;
}

PlayListKind kindByHead(std::string_view head)
{
    head.remove_prefix(std::min(head.find_first_not_of(" \t\r\n"), head.size()));
    if (begins(head, "#EXTM3U"))
        return PlayListKind::M3u;
    constexpr std::string_view Section = "[playlist]";
    return lowerCase(head.substr(0, Section.size())) == Section ? PlayListKind::Pls
                                                                : PlayListKind::None;
}

PlayListKind kindByType(std::string const& type)
{
    for (const char* name : {"mpegurl", "/x-m3u", "/m3u"})
        if (type.find(name) != std::string::npos)
            return PlayListKind::M3u;
    bool const isPls = type.find("scpls") != std::string::npos || begins(type, "application/pls");
    return isPls ? PlayListKind::Pls : PlayListKind::None;
}

PlayListKind kindByName(std::string const& name)
{
    std::size_t const query = schemeOf(name).empty() ? name.size() : name.find_first_of("?#");
    std::string const path = lowerCase(std::string_view(name).substr(0, query));
    if (ends(path, ".m3u") || ends(path, ".m3u8"))
        return PlayListKind::M3u;
    return ends(path, ".pls") ? PlayListKind::Pls : PlayListKind::None;
}

/// A list of pieces tells how long they are, or which variants of them there are.
bool isHls(std::string_view text)
{
    while (!text.empty()) {
        std::string_view const line = takeLine(text);
        if (begins(line, "#EXT-X-TARGETDURATION") || begins(line, "#EXT-X-STREAM-INF"))
            return true;
    }
    return false;
}

} // namespace

PlayListKind playListKind(std::string const& name, std::string const& contentType,
                          std::string_view head)
{
    if (head.find('\0') != std::string_view::npos) // whatever it is called, it is no text
        return PlayListKind::None;
    head = withoutMark(head);
    std::string const type = lowerCase(contentType);
    PlayListKind kind = kindByHead(head);
    if (kind == PlayListKind::None)
        kind = kindByType(type);
    if (kind == PlayListKind::None && !begins(type, "audio/"))
        kind = kindByName(name);
    return kind == PlayListKind::M3u && isHls(head) ? PlayListKind::Hls : kind;
}

std::vector<PlayListEntry> parsePlayList(PlayListKind kind, std::string_view text,
                                         std::string const& base)
{
    Entries entries(base);
    text = withoutMark(withinLimit(text));
    if (kind == PlayListKind::M3u)
        parseM3u(text, entries);
    else if (kind == PlayListKind::Pls)
        parsePls(text, entries);
    return std::move(entries.entries);
}

}} // namespace avr::host
