#pragma once

#include "EngineDecoder.h"

#include <functional>

namespace avr { namespace test {

/// A decoder whose hooks are the test's.
class TestDecoder final
    : public Avr::Decoder::EngineDecoder<Avr::Decoder::DecoderImple, kiv::appli::IDecoder> {
public:
    ~TestDecoder() override { Close(); }

    using Property = kiv::appli::smart_enum<kiv::appli::DecoderPropTypeBase>;
    int Seek(long) override { return kiv::appli::ErrorNotSupported; }
    int Seek(double) override { return kiv::appli::ErrorNotSupported; }
    int Seek(TimeSpec const& position) override
    {
        SeekScope seek(*this);
        if (!seek)
            return kiv::appli::ErrorFailed;
        if (onSeek)
            onSeek();
        TimeSpec reached = position;
        SendEvent(kiv::appli::EventPosition, &reached, sizeof reached);
        return kiv::appli::Ok;
    }
    int SetProperty(Property, std::string&) override { return kiv::appli::Ok; }
    int GetProperty(Property, std::string&) override { return kiv::appli::ErrorFailed; }

    std::function<int()> onOpen;
    std::function<int()> onPlay;
    std::function<void()> onClose;
    std::function<void()> onSeek;

    /// A play loop that goes on until it is stopped.
    int playUntilStopped()
    {
        char block[64] = {};
        TimeSpec duration{0, 0};
        int result = 0;
        while (IsDecoding() && result >= 0) {
            result = SendOnSample(block, sizeof block, &duration);
            PauseCheck();
        }
        return result;
    }

protected:
    int openHook(StreamPtr) override { return onOpen ? onOpen() : 0; }
    int playThread() override { return onPlay ? onPlay() : playUntilStopped(); }
    void closeHook() override
    {
        if (onClose)
            onClose();
    }
};

}} // namespace avr::test
