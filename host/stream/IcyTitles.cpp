#include "IcyTitles.h"

#include "TitleText.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace avr { namespace host {

IcyTitles::IcyTitles(std::size_t interval, Changed changed)
    : m_interval(interval), m_changed(std::move(changed)), m_audioLeft(interval)
{}

std::size_t IcyTitles::filter(std::uint8_t* data, std::size_t bytes)
{
    std::size_t audio = 0;
    for (std::size_t at = 0; at < bytes;) {
        if (m_blockLeft != 0)
            at += takeBlock(data + at, bytes - at);
        else if (m_audioLeft != 0 || m_interval == 0) {
            std::size_t const taken = takeAudio(data + audio, data + at, bytes - at);
            audio += taken;
            at += taken;
        } else {
            m_blockLeft = data[at++] * Unit;
            m_audioLeft = m_interval;
        }
    }
    return audio;
}

std::size_t IcyTitles::takeAudio(std::uint8_t* to, const std::uint8_t* from, std::size_t bytes)
{
    std::size_t const taken = m_interval == 0 ? bytes : std::min(bytes, m_audioLeft);
    if (to != from)
        std::memmove(to, from, taken);
    m_audioLeft -= std::min(taken, m_audioLeft);
    m_position += static_cast<long long>(taken);
    return taken;
}

std::size_t IcyTitles::takeBlock(const std::uint8_t* from, std::size_t bytes)
{
    std::size_t const taken = std::min(bytes, m_blockLeft);
    std::memcpy(m_block.data() + m_blockBytes, from, taken);
    m_blockBytes += taken;
    m_blockLeft -= taken;
    if (m_blockLeft == 0) {
        readBlock();
        m_blockBytes = 0;
    }
    return taken;
}

namespace {

/// The rest of a block, as it is behind a field: nothing, or the next one.
bool isField(std::string_view text)
{
    std::size_t const name =
        text.find_first_not_of("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ");
    return text.empty() ||
           (name != 0 && name != std::string_view::npos && text.substr(name, 2) == "='");
}

/// Quotes stand in titles as they are.
std::size_t titleBytes(std::string_view text)
{
    std::size_t end = text.find("';");
    while (end != std::string_view::npos && !isField(text.substr(end + 2)))
        end = text.find("';", end + 1);
    if (end != std::string_view::npos)
        return end;
    bool const hasQuote = !text.empty() && text.back() == '\'';
    return text.size() - (hasQuote ? 1 : 0);
}

} // namespace

/// StreamTitle='It's a title';StreamUrl='';
void IcyTitles::readBlock()
{
    constexpr std::string_view Key = "StreamTitle='";
    std::string_view text(m_block.data(), m_blockBytes);
    text = text.substr(0, text.find('\0'));
    std::size_t const key = text.find(Key);
    if (key == std::string_view::npos)
        return;
    text.remove_prefix(key + Key.size());
    text = text.substr(0, titleBytes(text));
    if (text != m_title) {
        m_title = text;
        m_changed(m_position, titleText(text));
    }
}

}} // namespace avr::host
