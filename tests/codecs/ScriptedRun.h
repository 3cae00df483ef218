#pragma once

#include "DecoderRun.h"
#include "LogCapture.h"

#include <cstring>
#include <sstream>

namespace avr { namespace test {

std::vector<int> const PlayedToTheEnd = {2, 4, 6, 1};
std::vector<int> const Failed = {2, 4, 0, 1};
std::vector<int> const Refused = {11, 1};

/// Runs over a codec that follows a script.
class ScriptedRun : public DecoderRun {
protected:
    void expectEvents(std::vector<int> const& events)
    {
        events == Refused ? expectOneRun() : play();
        EXPECT_EQ(events, callback.events());
    }
    /// The lines that hold one of the words. The engine's, of another thread, may stand within
    /// them.
    static std::string linesWith(std::vector<const char*> const& words, LogCapture const& log)
    {
        std::string all = log.text(), found;
        for (std::size_t at = 0; (at = all.find("[DecoderImple", at)) != std::string::npos;)
            all.erase(at, all.find('\n', at) + 1 - at);
        std::istringstream lines(all);
        for (std::string line; std::getline(lines, line);)
            if (std::any_of(words.begin(), words.end(),
                            [&](const char* word) { return line.find(word) != std::string::npos; }))
                found += line + '\n';
        return found;
    }
    static std::string times(int count, std::string const& line)
    {
        return count == 0 ? "" : line + times(count - 1, line);
    }
    /// Sample `index` of each block.
    std::vector<std::int32_t> played(std::size_t index = 0) const
    {
        Bytes const pcm = callback.pcm();
        std::vector<std::int32_t> samples;
        std::size_t at = 4 * index;
        for (unsigned int bytes : callback.blocks()) {
            samples.push_back(0);
            std::memcpy(&samples.back(), &pcm[at], sizeof samples.back());
            at += bytes;
        }
        return samples;
    }
};

}} // namespace avr::test
