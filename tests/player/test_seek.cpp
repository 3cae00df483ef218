#include "PlayerProcess.h"
#include "ScriptedStream.h"
#include "Track.h"

#include "decoder/DecoderFactory.h"

#include <gtest/gtest.h>

#include <boost/make_shared.hpp>

#include <condition_variable>
#include <mutex>

using namespace avr::player;
using namespace avr::test;
using kiv::appli::TimeSpec;

namespace {

Source sourceOf(const char* format, boost::shared_ptr<ScriptedStream> stream)
{
    Source source;
    source.format = format;
    source.stream = std::move(stream);
    return source;
}

/// Seeks that take until they are let go.
class HeldSeeks {
public:
    void make(TimeSpec const& position)
    {
        std::unique_lock<std::mutex> lock(m_lock);
        m_made.push_back(position.seconds);
        m_changed.notify_all();
        m_changed.wait(lock, [this] { return m_free >= m_made.size(); });
    }
    void waitFor(std::size_t made)
    {
        std::unique_lock<std::mutex> lock(m_lock);
        m_changed.wait(lock, [&] { return m_made.size() == made; });
    }
    void letGo(std::size_t seeks)
    {
        std::lock_guard<std::mutex> const guard(m_lock);
        m_free = seeks;
        m_changed.notify_all();
    }
    std::vector<std::uint32_t> made()
    {
        std::lock_guard<std::mutex> const guard(m_lock);
        return m_made;
    }

private:
    std::mutex m_lock;
    std::condition_variable m_changed;
    std::vector<std::uint32_t> m_made;
    std::size_t m_free = 0;
};

TEST(Seeker, MakesOneSeekAtATimeAndThenTheLatestThatWasAskedFor)
{
    HeldSeeks seeks;
    Seeker seeker([&](TimeSpec const& position) { seeks.make(position); });
    EXPECT_FALSE(seeker.target());
    for (std::uint32_t seconds : {1U, 2U, 3U}) {
        seeker.request({seconds, 0});
        seeks.waitFor(1);
        EXPECT_EQ(seeker.target()->seconds, seconds);
    }
    seeks.letGo(1);
    seeks.waitFor(2);
    EXPECT_EQ(seeker.target()->seconds, 3U);
    seeks.letGo(2);
    EXPECT_TRUE(eventually([&] { return !seeker.target(); }));
    seeker.request({4, 0}); // and again after a rest
    seeks.waitFor(3);
    seeker.request({5, 0});
    seeker.cancel();
    EXPECT_EQ(seeker.target()->seconds, 4U);
    seeks.letGo(4);
    seeker.finish();
    EXPECT_EQ(seeks.made(), (std::vector<std::uint32_t>{1, 3, 4}));
}

TEST(Seeker, AStalledStreamKeepsASeekWaitingAndNobodyElse)
{
    constexpr int StalledRead = 50; // the player's buffer is neither empty then nor full
    std::string const file = contentOf(AVR_TEST_DATA "/cbr.mp3");
    Script script;
    for (int i = 0; i < 40; ++i)
        script.data.insert(script.data.end(), file.begin(), file.end());
    script.longestRead = 4096;
    script.faultAtRead = StalledRead;
    script.fault = Script::Fault::Stall;
    Avr::Decoder::InitDecoder();
    auto const stream = boost::make_shared<ScriptedStream>(script);
    Source source = sourceOf("mp3", stream);
    source.decoder = Avr::Decoder::LookupFromFormat("mp3");
    Wakeup const wakeup;
    Track track(source, nullptr, nullptr, wakeup);
    ASSERT_TRUE(track.open());
    ASSERT_TRUE(eventually([&] { return track.news().opened && stream->reads() > StalledRead; }));
    track.start({40, 0}); // beyond what was read
    track.seek({41, 500000000});
    EXPECT_EQ(track.elapsed(), 41.5);
    EXPECT_EQ(stream->lastOffset(), -1);
    track.close();
    EXPECT_TRUE(track.news().closed);
    EXPECT_FALSE(stream->contractBroken());
}

TEST(Seeker, WhatTheStreamCannotDoIsNotAskedOfMp3)
{
    Script script;
    script.capabilities = Avr::Interface::IReadableStream::CanSeekTime;
    auto const stream = boost::make_shared<ScriptedStream>(script);
    EXPECT_FALSE(sourceOf("mp3", stream).canSeek());
    EXPECT_TRUE(sourceOf("wav", stream).canSeek());
}

} // namespace
