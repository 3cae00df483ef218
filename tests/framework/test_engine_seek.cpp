// Seeking while it plays, and the end of the track.
#include "EngineFixture.h"

using namespace avr::test;

TEST_F(Engine, AnEndOfDataMarksNothingBeforeEventFour)
{
    auto& device = FakeSoundDevice::instance();
    device.beginRun();
    EXPECT_EQ(Ok, decoder.Interrunpt(ResultEndOfStream));
    EXPECT_EQ(0, device.marksPut);
    decoder.onOpen = [this] {
        decoder.Interrunpt(ResultEndOfStream);
        EXPECT_TRUE(decoder.IsDecoding());
        return 0;
    };
    begin();
    EXPECT_EQ(0, device.marksPut);
    EXPECT_EQ(Ok, decoder.Interrunpt(ResultEndOfStream)); // puts the mark
    EXPECT_EQ(1, device.marksPut);
    EXPECT_TRUE(decoder.IsDecoding());
    EXPECT_EQ(Ok, decoder.Interrunpt(ResultEndOfStream)); // completed: ends the run
    ASSERT_TRUE(callback.waitFor(1));
    EXPECT_EQ(1, callback.count(1));
    device.beginRun();
    decoder.Interrunpt(ResultEndOfStream);
    EXPECT_EQ(0, device.marksPut);
}

TEST_F(Engine, ASeekDuringTheDrainTakesTheEndBack)
{
    auto& device = FakeSoundDevice::instance();
    std::atomic<int> decodes{0};
    decoder.onPlay = [&] {
        for (;;) {
            switch (decoder.nextPass()) {
            case TestDecoder::Pass::Decode:
                if (++decodes == 2)
                    device.completes = true;
                decoder.PutEofMarkToSoundDevice();
                break;
            case TestDecoder::Pass::PlayedOut:
                return int(ResultEndOfStream);
            case TestDecoder::Pass::Stopped:
                return decoder.interruptedResult();
            }
        }
    };
    decoder.onOpen = [&] {
        device.completes = false;
        return 0;
    };
    begin();
    while (device.marksPut == 0)
        std::this_thread::yield();
    // The device completes while the seek is under way: that must not end the track.
    decoder.onSeek = [&] {
        device.completes = true;
        std::this_thread::sleep_for(milliseconds(60));
        EXPECT_EQ(DecoderStateBase::Decoding, state());
        device.completes = false;
        device.putEofMark(false);
    };
    EXPECT_EQ(Ok, decoder.Seek(TimeSpec{0, 0}));
    ASSERT_TRUE(callback.waitFor(1));
    EXPECT_EQ(2, decodes);
    EXPECT_EQ((Events{2, 4, 10, 6, 1}), callback.events());
}

TEST_F(Engine, ASeekThatOvertakesTheEndPlaysOn)
{
    decoder.onSeek = [this] { decoder.repositioned(); };
    decoder.onPlay = [this] {
        decoder.newPosition();
        EXPECT_EQ(Ok, decoder.Seek(TimeSpec{0, 0}));
        EXPECT_FALSE(decoder.endsHere());
        decoder.newPosition();
        EXPECT_TRUE(decoder.endsHere());
        EXPECT_EQ(ErrorFailed, decoder.Seek(TimeSpec{0, 0}));
        return int(ResultEndOfStream);
    };
    runToTheEnd();
    EXPECT_EQ((Events{2, 4, 10, 6, 1}), callback.events());
}

TEST_F(Engine, AnEndThatWasDecidedStaysOne)
{
    auto& device = FakeSoundDevice::instance();
    device.beginRun();
    // The interruption that ends the loop comes as an exception.
    decoder.onPlay = [&] {
        decoder.PutEofMarkToSoundDevice();
        decoder.Interrunpt(ResultEndOfStream);
        EXPECT_EQ(ErrorFailed, decoder.Seek(TimeSpec{0, 0}));
        boost::this_thread::sleep_for(boost::chrono::hours(1));
        return 0;
    };
    begin();
    ASSERT_TRUE(callback.waitFor(1));
    EXPECT_EQ((Events{2, 4, 6, 1}), callback.events());

    // A whole seek while the device is being asked: its answer is out of date.
    callback.clear();
    device.beginRun();
    std::atomic<int> asked{0};
    device.onAsked = [&] {
        if (++asked != 1)
            return;
        EXPECT_EQ(Ok, decoder.Seek(TimeSpec{0, 0}));
        device.putEofMark(false);
    };
    decoder.onPlay = [&] {
        decoder.PutEofMarkToSoundDevice();
        EXPECT_EQ(1, decoder.eofCommonProcess());
        EXPECT_EQ(TestDecoder::Pass::Decode, decoder.nextPass());
        return -7;
    };
    begin();
    ASSERT_TRUE(callback.waitFor(1));
    decoder.Close();
    device.onAsked = nullptr;
    EXPECT_EQ((Events{2, 4, 10, 0, 1}), callback.events());
}

TEST_F(Engine, SeeksBelongToARunAndOutliveNone)
{
    EXPECT_EQ(ErrorFailed, decoder.Seek(TimeSpec{0, 0}));
    callback.onEvent = [&](int event) {
        if (event == 0 || event == 1) {
            EXPECT_EQ(ErrorFailed, decoder.Seek(TimeSpec{0, 0}));
        }
        if (event == 10) {
            EXPECT_EQ(ErrorFailed, decoder.Open(streamOf({}), &callback));
        }
    };
    std::atomic<bool> seeking{false};
    std::atomic<bool> over{false};
    decoder.onSeek = [&] {
        seeking = true;
        std::this_thread::sleep_for(milliseconds(30));
        EXPECT_FALSE(over);
    };
    decoder.onClose = [&] { over = true; };
    decoder.onPlay = [&] {
        while (!seeking)
            std::this_thread::yield();
        return 0;
    };
    begin();
    EXPECT_EQ(Ok, decoder.Seek(TimeSpec{3, 5}));
    ASSERT_TRUE(callback.waitFor(1));
    EXPECT_EQ(1, callback.count(10));
    EXPECT_EQ(1, callback.events().back());
    EXPECT_EQ(3u, callback.position().seconds);
    EXPECT_EQ(5u, callback.position().nanoseconds);
}

TEST_F(Engine, ABlockThatASeekOvertookIsDropped)
{
    using DecoderLock = boost::lock_guard<boost::recursive_mutex>;
    std::atomic<bool> blockRead{false};
    std::atomic<bool> moved{false};
    decoder.onPlay = [&] {
        char block[8] = {};
        TimeSpec duration{0, 0};
        for (int pass = 0; pass < 2; ++pass) {
            {
                DecoderLock lock(decoder.decoderLock());
                decoder.newPosition();
            }
            blockRead = true;
            while (!moved)
                std::this_thread::yield();
            EXPECT_EQ(Ok, decoder.SendOnSample(block, sizeof block, &duration));
            EXPECT_EQ(static_cast<std::size_t>(pass), callback.blocks().size());
        }
        return 0;
    };
    decoder.onSeek = [&] {
        DecoderLock lock(decoder.decoderLock());
        decoder.repositioned();
    };
    begin();
    while (!blockRead)
        std::this_thread::yield();
    EXPECT_EQ(Ok, decoder.Seek(TimeSpec{0, 0}));
    moved = true;
    ASSERT_TRUE(callback.waitFor(1));
}

TEST_F(Engine, NoBlockIsDeliveredBetweenASeekAndItsEvent)
{
    std::atomic<bool> repositioned{false};
    std::atomic<int> tooEarly{0};
    decoder.onSeek = [&] { repositioned = true; };
    callback.onEvent = [&](int event) {
        if (event == 10) {
            std::this_thread::sleep_for(milliseconds(1));
            repositioned = false;
        }
    };
    std::atomic<bool> inside{false};
    callback.onSample = [&] {
        // A block that was on its way may still be inside when the seek begins.
        inside = true;
        bool const before = repositioned;
        std::this_thread::yield();
        if (before)
            ++tooEarly;
        inside = false;
        return 0;
    };
    begin();
    for (int i = 0; i < 100; ++i)
        decoder.Seek(TimeSpec{0, 0});
    decoder.Close();
    EXPECT_LE(tooEarly, 100); // one at most was on its way when a seek came
}
