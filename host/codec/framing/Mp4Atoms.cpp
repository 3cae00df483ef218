#include "Mp4Atoms.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>

namespace avr { namespace host {

namespace {

constexpr std::size_t ReadSlice = 65536;
constexpr std::size_t AtomHeader = 8;
constexpr std::size_t LongAtomHeader = 16;
constexpr std::uint32_t MostFtypBytes = 4096;
constexpr int MostTopLevelAtoms = 1000;

constexpr std::uint32_t name(const char (&text)[5])
{
    std::uint32_t value = 0;
    for (int i = 0; i < 4; ++i)
        value = value << 8 | static_cast<unsigned char>(text[i]);
    return value;
}

std::uint32_t number(const std::uint8_t* bytes)
{
    return std::uint32_t(bytes[0]) << 24 | std::uint32_t(bytes[1]) << 16 |
           std::uint32_t(bytes[2]) << 8 | bytes[3];
}

/// The header of an atom in a file.
struct Atom {
    std::array<std::uint8_t, LongAtomHeader> header;
    std::size_t headerBytes;
    std::uint32_t type;
    std::uint64_t bytes; ///< with the header
};

/// @return false, too, for an atom that extends to the end of the file: nothing comes behind it
bool readAtomHeader(Mp4Input& input, Atom& atom)
{
    atom.headerBytes = AtomHeader;
    if (!input.read(atom.header.data(), AtomHeader))
        return false;
    atom.bytes = number(atom.header.data());
    atom.type = number(atom.header.data() + 4);
    if (atom.bytes == 1) {
        atom.headerBytes = LongAtomHeader;
        if (!input.read(atom.header.data() + AtomHeader, LongAtomHeader - AtomHeader))
            return false;
        atom.bytes =
            std::uint64_t(number(atom.header.data() + 8)) << 32 | number(atom.header.data() + 12);
    }
    return atom.bytes >= atom.headerBytes;
}

/// With a short header. The memory grows with what is really there, whatever the size says.
bool appendAtom(Mp4Input& input, Atom const& atom, std::vector<std::uint8_t>& head)
{
    std::uint32_t const bytes = std::uint32_t(atom.bytes - atom.headerBytes + AtomHeader);
    for (std::uint32_t field : {bytes, atom.type})
        for (int shift = 24; shift >= 0; shift -= 8)
            head.push_back(std::uint8_t(field >> shift));
    for (std::uint64_t left = atom.bytes - atom.headerBytes; left != 0;) {
        std::size_t const slice = std::size_t(std::min<std::uint64_t>(left, ReadSlice));
        head.resize(head.size() + slice);
        if (!input.read(head.data() + head.size() - slice, slice))
            return false;
        left -= slice;
    }
    return true;
}

/// What an atom of a head is to the description of an AAC track.
struct Kind {
    std::uint32_t type;
    std::size_t children;   ///< offset of the atoms in it; 0 = none
    std::size_t entryBytes; ///< of a table with its count at CountAt; 0 = it is none
};
constexpr Kind Kinds[] = {
    {name("ftyp"), 0, 0},  {name("moov"), 8, 0}, {name("mvhd"), 0, 0}, {name("trak"), 8, 0},
    {name("tkhd"), 0, 0},  {name("mdia"), 8, 0}, {name("mdhd"), 0, 0}, {name("hdlr"), 0, 0},
    {name("minf"), 8, 0},  {name("smhd"), 0, 0}, {name("stbl"), 8, 0}, {name("stsd"), 16, 0},
    {name("mp4a"), 36, 0}, {name("wave"), 8, 0}, {name("esds"), 0, 0}, {name("stts"), 0, 8},
    {name("stsc"), 0, 12}, {name("stco"), 0, 4}, {name("co64"), 0, 8}, {name("stsz"), 0, 0},
};
constexpr std::size_t VersionAt = 8;                          ///< and flags
constexpr std::size_t CountAt = 12;                           ///< in stts, stsc, stco, co64
constexpr std::size_t SampleSizeAt = 12, SampleCountAt = 16;  ///< in stsz
constexpr std::size_t SoundVersionAt = 16;                    ///< in mp4a
constexpr std::size_t TimescaleAt = 20, LongTimescaleAt = 28; ///< in mdhd

Kind const* kindOf(std::uint32_t type)
{
    auto const kind = std::find_if(std::begin(Kinds), std::end(Kinds),
                                   [type](Kind const& known) { return known.type == type; });
    return kind == std::end(Kinds) ? nullptr : kind;
}

/// The atoms of a head in memory.
class Reducer {
public:
    bool reduce(std::uint8_t* atoms, std::size_t size, int depth);

private:
    bool reduceAtom(std::uint8_t* atom, std::size_t size, int depth);
    bool isSound(std::uint32_t type, const std::uint8_t* atom, std::size_t size);
    bool countSamples(const std::uint8_t* table, std::size_t size);

    static constexpr int DeepestAtom = 10;
    static constexpr int MostTracks = 100;
    int m_tracks = 0;
    std::uint64_t m_samples = 0;
};

bool Reducer::reduce(std::uint8_t* atoms, std::size_t size, int depth)
{
    while (size >= AtomHeader && number(atoms) >= AtomHeader && number(atoms) <= size) {
        std::size_t const bytes = number(atoms);
        if (!reduceAtom(atoms, bytes, depth))
            return false;
        atoms += bytes;
        size -= bytes;
    }
    std::fill_n(atoms, size, std::uint8_t{0}); // no atoms
    return true;
}

bool Reducer::reduceAtom(std::uint8_t* atom, std::size_t size, int depth)
{
    std::uint32_t const type = number(atom + 4);
    Kind const* const kind = kindOf(type);
    std::size_t children = kind ? kind->children : 0;
    if (type == name("mp4a") && size >= children) {
        std::uint32_t const version = number(atom + SoundVersionAt) >> 16;
        children += version == 1 ? 16u : version == 2 ? 36u : 0u; // QuickTime's
    }
    if (!kind || size < children || depth == DeepestAtom) {
        std::memcpy(atom + 4, "free", 4);
        std::memset(atom + AtomHeader, 0, size - AtomHeader);
        return true;
    }
    if (type == name("trak") && ++m_tracks > MostTracks)
        return false;
    if (type == name("stsd"))
        std::memset(atom + VersionAt, 0, 4); // of which the meaning of QuickTime's versions depends
    return children != 0 ? reduce(atom + children, size - children, depth + 1)
                         : isSound(type, atom, size);
}

/// Whether an atom that has no others in it can be believed.
bool Reducer::isSound(std::uint32_t type, const std::uint8_t* atom, std::size_t size)
{
    if (type == name("stsz"))
        return countSamples(atom, size);
    if (type == name("mdhd")) {
        std::size_t const at =
            size > VersionAt && atom[VersionAt] == 1 ? LongTimescaleAt : TimescaleAt;
        return size >= at + 4 && number(atom + at) != 0;
    }
    std::size_t const entryBytes = kindOf(type)->entryBytes;
    return entryBytes == 0 ||
           (size >= CountAt + 4 && number(atom + CountAt) <= (size - CountAt - 4) / entryBytes);
}

bool Reducer::countSamples(const std::uint8_t* table, std::size_t size)
{
    if (size < SampleCountAt + 4)
        return false;
    constexpr std::uint32_t MostOfOneSize = 65536; // no encoder of AAC makes any
    std::uint32_t const samples = number(table + SampleCountAt);
    m_samples += samples;
    return m_samples <= MostMp4Samples &&
           samples <=
               (number(table + SampleSizeAt) != 0 ? MostOfOneSize : (size - SampleCountAt - 4) / 4);
}

} // namespace

bool Mp4Input::read(std::uint8_t* to, std::size_t bytes)
{
    if (bytes == 0)
        return true;
    bool const done = m_position != Unknown && m_read(to, bytes);
    m_position = done ? m_position + bytes : Unknown;
    return done;
}

bool Mp4Input::moveTo(std::uint64_t position)
{
    bool const forward = position >= m_position;
    if (forward && position - m_position <= ShortGap)
        return readOver(position - m_position);
    if (position < m_refused && m_seek(position)) {
        m_position = position;
        return true;
    }
    m_refused = std::min(m_refused, position);
    return forward && readOver(position - m_position);
}

bool Mp4Input::readOver(std::uint64_t bytes)
{
    std::array<std::uint8_t, 4096> scratch;
    bool done = true;
    for (std::uint64_t slice; done && bytes != 0; bytes -= slice) {
        slice = std::min<std::uint64_t>(bytes, scratch.size());
        done = read(scratch.data(), std::size_t(slice));
    }
    return done;
}

std::vector<std::uint8_t> readMp4Head(Mp4Input& input)
{
    std::vector<std::uint8_t> head;
    Atom atom;
    for (int i = 0; i < MostTopLevelAtoms; ++i) {
        std::uint64_t const begin = input.position();
        if (!readAtomHeader(input, atom) || atom.bytes > UINT64_MAX / 2 - begin)
            break;
        bool const isMoov = atom.type == name("moov");
        std::uint32_t const most = isMoov ? MostMp4HeadBytes : MostFtypBytes;
        if (isMoov || (atom.type == name("ftyp") && head.empty())) {
            if (atom.bytes > most || !appendAtom(input, atom, head))
                break;
        } else if (!input.moveTo(begin + atom.bytes)) {
            break;
        }
        if (isMoov)
            return head;
    }
    return {};
}

bool reduceMp4Head(std::vector<std::uint8_t>& head)
{
    return Reducer().reduce(head.data(), head.size(), 0);
}

}} // namespace avr::host
