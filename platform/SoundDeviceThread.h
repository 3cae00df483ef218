#pragma once

#include "decoder/Export.h"

namespace Avr { namespace Player {

/// The sound output as the decoders see it: the end-of-track handshake. PCM reaches it through the
/// player's OnSample. Every operation may be called from any thread and none blocks.
class AVR_API soundDeviceThread {
public:
    /// The process's sound output; never null, lives until the process ends.
    static soundDeviceThread* getInstance();

    /// Sets or clears the end mark: no more PCM of this track will come.
    virtual void putEofMark(bool mark) = 0;
    /// Whether the mark is set.
    virtual bool getEofMark() = 0;

    /// True when the mark is set and everything queued has been heard; also when nothing was ever
    /// queued and when the output failed. False while it is paused.
    virtual bool isPlaybackCompleted() = 0;

protected:
    ~soundDeviceThread() = default;
};

}} // namespace Avr::Player
