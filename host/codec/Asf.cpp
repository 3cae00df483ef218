#include "platform/codecs/asf.h"

#include "AsfPackets.h"
#include "HandleTable.h"

#include <climits>
#include <cstdio>

namespace {

using namespace avr::host;

static_assert(AsfPackets::PaddingBytes >= ASF_PaddingBytes, "as promised");

/// What a read is asked for at most; the pieces of a block, too.
constexpr std::size_t MostPieceBytes = SHRT_MAX;

/// In pieces, because the function counts with 16 bits.
bool readAll(__wma_parser_params_common const& input, std::uint8_t* to, std::size_t bytes)
{
    for (std::size_t piece; bytes != 0; to += piece, bytes -= piece) {
        piece = std::min(bytes, MostPieceBytes);
        auto const count = static_cast<unsigned short>(piece);
        if (input.read(to, 1, count, input.context) != count)
            return false;
    }
    return true;
}

AsfRead readFrom(__wma_parser_params_common const& input)
{
    return [input](std::uint8_t* to, std::size_t bytes) { return readAll(input, to, bytes); };
}

/// A file that is open, and how far its block is handed out.
class AsfFile {
public:
    AsfFile(AsfHeader header, __wma_parser_params_common const& input)
        : packets(std::move(header), readFrom(input), [input](std::uint64_t position) {
              return input.seek && position <= INT_MAX &&
                     input.seek(input.context, static_cast<int>(position), SEEK_SET) == 0;
          })
    {}

    int getInput(unsigned short** data, short* bytes, unsigned int* time, short* piece);
    int seek(unsigned int milliseconds, unsigned int* reached);

    AsfPackets packets;

private:
    std::size_t m_handedOut = 0; ///< of the block
    bool m_hasBlock = false;
};
using Files = HandleTable<AsfFile>;

constexpr int NotPossible = ASF_ParserErrors - 1;

int AsfFile::getInput(unsigned short** data, short* bytes, unsigned int* time, short* piece)
{
    if (!m_hasBlock) {
        AsfPackets::Result const result = packets.next();
        if (result != AsfPackets::Result::Block)
            return result == AsfPackets::Result::End ? ASF_NoMoreData : 0;
        m_hasBlock = true;
        m_handedOut = 0;
    }
    const std::uint8_t* const begin = packets.block() + m_handedOut;
    std::size_t const left = packets.blockBytes() - m_handedOut;
    std::size_t const size = std::min(left, MostPieceBytes);
    // The type is the function's; bytes are meant, and they are only read.
    *data = reinterpret_cast<unsigned short*>(const_cast<std::uint8_t*>(begin));
    *bytes = static_cast<short>(size);
    *piece = static_cast<short>((m_handedOut == 0 ? ASF_BlockBegins : 0) |
                                (size == left ? ASF_BlockEnds : 0));
    if (time)
        *time = packets.time();
    m_handedOut += size;
    m_hasBlock = size != left;
    return 0;
}

int AsfFile::seek(unsigned int milliseconds, unsigned int* reached)
{
    std::uint32_t const duration = packets.header().duration;
    if (duration != 0 && milliseconds > duration)
        return ASF_NoMoreData;
    auto const time = duration != 0 ? packets.moveTo(milliseconds) : std::nullopt;
    if (!time)
        return NotPossible;
    m_hasBlock = false;
    if (reached)
        *reached = *time;
    return 0;
}

__wma_parser_stream_params describe(AsfHeader const& header)
{
    AsfStream const& stream = header.stream;
    return {stream.formatTag,
            stream.channels,
            stream.samplingRate,
            stream.bytesPerSecond,
            stream.blockAlign,
            stream.bitsPerSample,
            header.duration,
            header.audioStreams,
            static_cast<unsigned short>(stream.extra.size()),
            stream.extra.data()};
}

} // namespace

short ASF_parseAsfHeader(short audioStream, short, void* scratch, __wma_parser_params_common* input,
                         __wma_parser_stream_params* stream)
{
    Files::instance().erase(scratch);
    if (audioStream < 0 || !input->read)
        return NotPossible;
    auto header = readAsfHeader(readFrom(*input), static_cast<unsigned int>(audioStream));
    if (!header)
        return NotPossible;
    auto const file = std::make_shared<AsfFile>(std::move(*header), *input);
    *stream = describe(file->packets.header());
    Files::instance().put(scratch, file);
    return 0;
}

int ASF_fileGetInput(void* scratch, unsigned short** data, short* bytes, void* time, short* piece)
{
    *data = nullptr;
    *bytes = 0;
    *piece = 0;
    auto const file = Files::instance().get(scratch);
    return file ? file->getInput(data, bytes, static_cast<unsigned int*>(time), piece)
                : NotPossible;
}

int ASF_seek(void* scratch, unsigned int milliseconds, unsigned int* reached)
{
    auto const file = Files::instance().get(scratch);
    return file ? file->seek(milliseconds, reached) : NotPossible;
}
