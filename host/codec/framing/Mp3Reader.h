#pragma once

#include "InputWindow.h"
#include "Mp3Frame.h"

#include <array>
#include <utility>

namespace avr { namespace host {

/// Takes a stream apart into frames. It reads no byte behind the frame that it is at, because the
/// end of the input may be acted on before the last frame is heard. But after bytes that belong to
/// no frame, the head behind a frame must prove it.
class Mp3Reader {
public:
    explicit Mp3Reader(InputWindow::Read read) : m_window(std::move(read), WindowBytes) {}

    enum class Result {
        Frame,
        Skipped, ///< a part of a tag; go on
        Nothing  ///< a read failed, or there is no frame in reach
    };
    Result fetch();

    /// The frame, and `Padding` zeros behind it; its head; whether bytes were lost in front of it.
    const std::uint8_t* frame() const { return m_frame.data(); }
    Mp3Header const& header() const { return m_header; }
    bool resumed() const { return m_resumed; }
    static constexpr std::size_t Padding = 64;

    /// As an info frame told it; 0 when none did.
    std::uint32_t averageBitRate() const { return m_average; }

private:
    const std::uint8_t* at() const { return m_window.at(); }
    std::uint64_t tagBytes();
    bool takeFrame();
    bool isLocked() const { return m_lock[0] != 0; }
    bool isProven(std::uint32_t bytes);
    bool takeInfo();

    static constexpr std::size_t WindowBytes = 2048; ///< a frame and the head behind it fit in

    InputWindow m_window;
    std::array<std::uint8_t, Mp3LongestFrame + Padding> m_frame;
    Mp3Header m_header = {};
    std::array<std::uint8_t, Mp3HeaderBytes> m_lock = {}; ///< head of the last frame
    bool m_lockProven = false;                            ///< by two frames in a row
    bool m_lost = false;                                  ///< looking for a frame
    bool m_resumed = false;
    std::uint64_t m_toSkip = 0; ///< bytes of a tag
    std::uint32_t m_average = 0;
};

}} // namespace avr::host
