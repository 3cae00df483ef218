#include "FlacCodec.h"

#include "FlacPcm.h"

#include <FLAC/stream_decoder.h>

#include <algorithm>
#include <iostream>
#include <utility>

namespace kiv { namespace appli {

namespace {

constexpr unsigned int LargestFrame = 65535 * 2 * 4; ///< bytes of PCM
constexpr unsigned int UsualLargestFrame = 40960;    ///< above it the log has a line
constexpr long long SeekLimit = 0x100000000;         ///< bytes
constexpr long long RewindLimit = 65536 - 8192;      ///< of what the buffer keeps behind

bool isByteWide(unsigned int bits) { return bits == 8 || bits == 16 || bits == 24 || bits == 32; }

} // namespace

/// What libFLAC calls; the client is the FlacCodec.
struct FlacCodec::Callbacks {
    static FlacCodec& self(void* client) { return *static_cast<FlacCodec*>(client); }

    static FLAC__StreamDecoderReadStatus read(const FLAC__StreamDecoder*, FLAC__byte* buf,
                                              std::size_t* bytes, void* client)
    {
        unsigned int const room = static_cast<unsigned int>(std::min<std::size_t>(*bytes, 65536));
        unsigned int got = 0;
        int const result = self(client).read(buf, room, got);
        *bytes = got;
        if (result == ResultEndOfStream)
            return FLAC__STREAM_DECODER_READ_STATUS_END_OF_STREAM;
        return result < 0 ? FLAC__STREAM_DECODER_READ_STATUS_ABORT
                          : FLAC__STREAM_DECODER_READ_STATUS_CONTINUE;
    }

    static FLAC__StreamDecoderSeekStatus seek(const FLAC__StreamDecoder*, FLAC__uint64 offset,
                                              void* client)
    {
        if (!self(client).m_input.canSeekByte())
            return FLAC__STREAM_DECODER_SEEK_STATUS_UNSUPPORTED;
        if (offset >= static_cast<FLAC__uint64>(SeekLimit) ||
            !self(client).seekByte(static_cast<long long>(offset)))
            return FLAC__STREAM_DECODER_SEEK_STATUS_ERROR;
        return FLAC__STREAM_DECODER_SEEK_STATUS_OK;
    }

    static FLAC__StreamDecoderTellStatus tell(const FLAC__StreamDecoder*, FLAC__uint64* offset,
                                              void* client)
    {
        long long const position = self(client).m_input.position();
        if (position < 0)
            return FLAC__STREAM_DECODER_TELL_STATUS_ERROR;
        *offset = static_cast<FLAC__uint64>(position);
        return FLAC__STREAM_DECODER_TELL_STATUS_OK;
    }

    static FLAC__StreamDecoderLengthStatus length(const FLAC__StreamDecoder*, FLAC__uint64* bytes,
                                                  void* client)
    {
        long long const length = self(client).m_input.length();
        if (length == 0)
            return FLAC__STREAM_DECODER_LENGTH_STATUS_ERROR;
        *bytes = static_cast<FLAC__uint64>(length);
        return FLAC__STREAM_DECODER_LENGTH_STATUS_OK;
    }

    static FLAC__bool isAtEnd(const FLAC__StreamDecoder*, void* client)
    {
        return self(client).m_endOfStream;
    }

    static FLAC__StreamDecoderWriteStatus write(const FLAC__StreamDecoder*,
                                                const FLAC__Frame* frame,
                                                const FLAC__int32* const* channels, void* client)
    {
        auto const& header = frame->header;
        bool const written =
            self(client).write(channels, header.channels, header.bits_per_sample, header.blocksize);
        return written ? FLAC__STREAM_DECODER_WRITE_STATUS_CONTINUE
                       : FLAC__STREAM_DECODER_WRITE_STATUS_ABORT;
    }

    static void metadata(const FLAC__StreamDecoder*, const FLAC__StreamMetadata* block,
                         void* client)
    {
        if (block->type != FLAC__METADATA_TYPE_STREAMINFO)
            return;
        auto const& found = block->data.stream_info;
        self(client).describe({found.sample_rate,
                               static_cast<std::uint16_t>(std::min(found.channels, 2u)),
                               static_cast<std::uint16_t>(found.bits_per_sample)});
    }

    static void error(const FLAC__StreamDecoder*, FLAC__StreamDecoderErrorStatus, void* client)
    {
        self(client).m_error = true;
    }
};

struct FlacCodec::Library {
    FLAC__StreamDecoder* const handle = FLAC__stream_decoder_new();

    Library() = default;
    ~Library()
    {
        if (handle != nullptr)
            FLAC__stream_decoder_delete(handle);
    }
    Library(Library const&) = delete;
    Library& operator=(Library const&) = delete;
};

FlacCodec::FlacCodec(LibraryStream& input) : m_input(input) {}

FlacCodec::~FlacCodec() = default;

bool FlacCodec::open()
{
    close();
    m_error = false;
    // Untouched memory costs nothing: usual frames need little of it.
    for (Frame* frame : {&m_frame, &m_seekFrame})
        frame->pcm.reset(new std::uint8_t[LargestFrame]);
    m_target = &m_frame;
    m_library = std::make_unique<Library>();
    FLAC__StreamDecoder* const handle = m_library->handle;
    if (handle == nullptr ||
        FLAC__stream_decoder_init_stream(handle, Callbacks::read, Callbacks::seek, Callbacks::tell,
                                         Callbacks::length, Callbacks::isAtEnd, Callbacks::write,
                                         Callbacks::metadata, Callbacks::error,
                                         this) != FLAC__STREAM_DECODER_INIT_STATUS_OK)
        return false;
    m_input.whenDry(LibraryStream::WhenDry::WaitAndReport);
    bool const processed = FLAC__stream_decoder_process_until_end_of_metadata(handle);
    m_input.rethrow();
    m_isOpen = processed && m_isDescribed && !m_error;
    return m_isOpen;
}

void FlacCodec::close()
{
    m_library.reset();
    for (Frame* frame : {&m_frame, &m_seekFrame})
        *frame = {};
    m_isOpen = m_isDescribed = m_endOfStream = m_frameLeft = false;
}

FlacCodec::Outcome FlacCodec::decode()
{
    if (m_seekFrame.bytes != 0) {
        std::swap(m_frame, m_seekFrame);
        m_seekFrame.bytes = 0;
        return Outcome::Frame;
    }
    if (m_error || !returnToFrame())
        return Outcome::Failed;
    m_frame.bytes = 0;
    m_target = &m_frame;
    m_frameStart = decodePosition();
    m_input.whenDry(LibraryStream::WhenDry::GiveUp);
    bool const processed = FLAC__stream_decoder_process_single(m_library->handle);
    m_input.rethrow();
    return outcome(processed);
}

FlacCodec::Outcome FlacCodec::outcome(bool processed)
{
    if (m_input.isDry()) {
        m_frameLeft = true;
        m_error = false; // what was read of it is read again
        return Outcome::Dry;
    }
    // What follows the last frame (a tag, say) is an error for libFLAC, in the same call.
    auto const state = FLAC__stream_decoder_get_state(m_library->handle);
    if (processed && state == FLAC__STREAM_DECODER_END_OF_STREAM)
        return Outcome::EndOfStream;
    return processed && m_frame.bytes != 0 ? Outcome::Frame : Outcome::Failed;
}

/// libFLAC has let go of a frame that it had read in part: to its first byte again.
bool FlacCodec::returnToFrame()
{
    return !std::exchange(m_frameLeft, false) || restart(m_frameStart);
}

bool FlacCodec::restart(long long position)
{
    return seekByte(position) && FLAC__stream_decoder_flush(m_library->handle);
}

/// The byte offset of what is decoded next.
long long FlacCodec::decodePosition()
{
    FLAC__uint64 position = 0;
    FLAC__stream_decoder_get_decode_position(m_library->handle, &position);
    return static_cast<long long>(position);
}

bool FlacCodec::seek(std::uint64_t sample)
{
    if (!returnToFrame())
        return false;
    long long const position = decodePosition();
    m_target = &m_seekFrame;
    m_input.whenDry(LibraryStream::WhenDry::WaitQuietly);
    if (FLAC__stream_decoder_seek_absolute(m_library->handle, sample)) {
        m_error = false; // of the old position
        return true;
    }
    restart(position);
    return false;
}

int FlacCodec::read(void* buf, unsigned int len, unsigned int& got)
{
    if (!m_isOpen && m_error)
        return ErrorFailed; // no FLAC: the rest need not be searched
    // A frame that the buffer could not give again has to be waited for in place.
    if (m_input.givesUp() && m_input.position() - m_frameStart > RewindLimit)
        m_input.whenDry(LibraryStream::WhenDry::WaitQuietly);
    int const result = m_input.read(buf, len, got);
    if (result == ResultEndOfStream)
        m_endOfStream = true;
    return result;
}

bool FlacCodec::seekByte(long long offset)
{
    if (!m_input.seekByte(offset))
        return false;
    m_endOfStream = false;
    return true;
}

void FlacCodec::describe(Description const& found)
{
    m_properties = Properties{static_cast<std::uint16_t>(found.rate),
                              static_cast<std::uint8_t>(found.channels),
                              static_cast<std::uint8_t>(found.bits)};
    if (!std::exchange(m_isDescribed, true))
        m_description = found;
}

/// Other widths than whole bytes take four, in the low bits.
bool FlacCodec::write(const std::int32_t* const* channels, unsigned int channelCount,
                      unsigned int bits, unsigned int frames)
{
    unsigned int const played = std::min(channelCount, 2u);
    unsigned int const width = isByteWide(bits) ? bits / 8 : 4;
    unsigned int const bytes = frames * played * width;
    if (played == 0 || bytes > LargestFrame)
        return false;
    interleaveFor(width, played)(channels, frames, m_target->pcm.get());
    m_target->bytes = bytes;
    if (bytes > UsualLargestFrame)
        std::cerr << "[::flac_write_cb] WARNING! buffer over flow.  " << bytes << " > "
                  << UsualLargestFrame << std::endl;
    return true;
}

}} // namespace kiv::appli
