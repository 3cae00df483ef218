#pragma once

#include "decoder/PdtTrackInfo.h"

#include <vector>

namespace pdt {

/// Finds the records in the bytes of a stream that name the piece now playing: a marker, text in
/// UTF-16, two zero bytes. Takes the bytes block by block. One thread.
class parser {
public:
    /// A record that is complete within its marker's block is so with the next block only.
    void append_data(unsigned char const* data, unsigned int length);
    bool complete() const { return m_complete; }
    /// The record's text; when it is complete two zero bytes end it.
    std::vector<unsigned char> const& buffer() const { return m_buffer; }
    /// Looks for the next record.
    void reset();

private:
    static constexpr std::size_t MostBytes = 4096;

    void findMarker(unsigned char const* data, unsigned char const* end);
    void collect(unsigned char const* data, unsigned int length);

    std::vector<unsigned char> m_buffer; ///< empty while no record has begun
    bool m_complete = false;
    unsigned int m_matched = 0; ///< bytes of the marker
};

/// The value of a key in a record's text ("KEY value|KEY value"), without leading white space;
/// empty when there is none. The key's first occurrence counts, wherever it stands.
std::string get_property(std::string const& text, char const* key);

/// What a complete record names. Of a long one the first 256 bytes in UTF-8 count.
PdtTrackInfo track_info(std::vector<unsigned char> record);

} // namespace pdt
