// An MMS stream's chunks: what is told of them is the same however they are cut, and packets are as
// long as their header says. Every second input has a header in front.
#include "AsfFile.h"
#include "AsfHeaderFacts.h"
#include "AsfPadding.h"
#include "ExactInput.h"
#include "MmsFraming.h"
#include "MmshBody.h"

#include <string_view>

using namespace avr::host;
using namespace avr::test;

namespace {

using Result = MmsFraming::Result;
/// Results, and digests of what belongs to them.
using Told = std::vector<std::pair<Result, std::size_t>>;

std::size_t digest(Bytes const& bytes)
{
    std::string_view const text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    return std::hash<std::string_view>()(text);
}

void checkOutput(Result result, Bytes const& output, std::size_t& packetBytes)
{
    if (result == Result::Header) {
        packetBytes = asfPacketBytes(output);
        require(packetBytes != 0 && packetBytes <= MmsFraming::MostPacketBytes);
        require(output.size() <= MmsFraming::MostHeaderBytes);
    } else if (result == Result::Packet) {
        require(packetBytes != 0 && output.size() == packetBytes);
    } else {
        packetBytes = 0;
    }
}

Told told(Bytes const& body, bool isCut)
{
    Told all;
    MmsFraming framing;
    std::size_t packetBytes = 0;
    for (std::size_t at = 0, bytes; at < body.size(); at += bytes) {
        bytes = std::min<std::size_t>(isCut ? 1 + body[at] % 32 : body.size(), body.size() - at);
        Bytes const piece(body.begin() + long(at), body.begin() + long(at + bytes));
        for (std::size_t done = 0, taken = 0;; done += taken) {
            Result const result = framing.feed(piece.data() + done, bytes - done, taken);
            require(taken <= bytes - done &&
                    framing.reason().empty() == (result != Result::Broken));
            if (result == Result::NeedsMore) {
                require(taken == bytes - done);
                break;
            }
            checkOutput(result, framing.output(), packetBytes);
            bool const hasOutput = result == Result::Header || result == Result::Packet;
            all.emplace_back(result, hasOutput ? digest(framing.output()) : 0);
            if (result == Result::Broken)
                return all;
        }
    }
    return all;
}

Bytes header()
{
    AsfFile asf;
    asf.packetBytes = 300;
    return mmshBody(mmshHeader(asf.header(1)));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static Bytes const Header = header();
    Bytes body = size % 2 != 0 ? Header : Bytes();
    body.insert(body.end(), data, data + size);
    require(told(body, false) == told(body, true));
    return 0;
}
