#include "Keys.h"

#include <cerrno>

#include <unistd.h>

namespace avr { namespace player {

namespace {

constexpr char Escape = '\x1b';

std::optional<Key> letterKey(char c)
{
    switch (c) {
    case ' ':
        return Key::Pause;
    case 'n':
        return Key::Next;
    case 'p':
        return Key::Previous;
    case 'q':
        return Key::Quit;
    default:
        return {};
    }
}

/// By the last letter of its sequence.
std::optional<Key> arrowKey(char c)
{
    if (c == 'C')
        return Key::Forward;
    if (c == 'D')
        return Key::Back;
    return {};
}

/// Bytes of the first letter or sequence; 0 when there is none or it is not complete.
/// A sequence is ESC, '[' or 'O', digits and ';', a letter.
std::size_t keyLength(std::string const& typed)
{
    if (typed.empty() || typed[0] != Escape)
        return typed.empty() ? 0 : 1;
    if (typed.size() > 1 && typed[1] != '[' && typed[1] != 'O')
        return 1;
    std::size_t const last = typed.find_first_not_of("0123456789;", 2);
    return typed.size() < 3 || last == std::string::npos ? 0 : last + 1;
}

} // namespace

void Keys::read()
{
    char typed[64];
    ssize_t const n = ::read(descriptor(), typed, sizeof typed);
    m_ended = n == 0 || (n < 0 && errno == EIO); // polled as readable, and nothing there
    m_pending.append(typed, n > 0 ? std::size_t(n) : 0);
}

std::optional<Key> Keys::next()
{
    std::optional<Key> key;
    for (std::size_t length; !key && (length = keyLength(m_pending)) > 0;) {
        char const last = m_pending[length - 1];
        key = length > 1 ? arrowKey(last) : letterKey(last);
        m_pending.erase(0, length);
    }
    return key;
}

}} // namespace avr::player
