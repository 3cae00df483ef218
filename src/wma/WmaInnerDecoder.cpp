#include "WmaInnerDecoder.h"

#include "PropertyAnswer.h"
#include "WmaFormat.h"
#include "WmaSelector.h"

#include <boost/thread/lock_guard.hpp>

#include <iostream>

namespace kiv { namespace appli {

using namespace Avr::Decoder;
using DecoderLock = boost::lock_guard<boost::recursive_mutex>;

int WmaInnerDecoder::Open(StreamPtr stream, IDecoderCallback* callback)
{
    int const result = DecoderImple::Open(stream, callback);
    if (result < 0)
        Close();
    return result;
}

int WmaInnerDecoder::Close()
{
    resetCodec();
    return DecoderImple::Close();
}

template <class Position>
int WmaInnerDecoder::seek(Position const& position)
{
    SeekScope const scope(*this);
    if (!scope)
        return ErrorFailed;
    DecoderLock lock(decoderLock());
    int const result = seekWma(position, [this](unsigned int to) { return seekCodec(to); });
    if (result == Ok) {
        repositioned();
        if (m_parent != nullptr)
            m_parent->input().overtake();
    }
    return result;
}

int WmaInnerDecoder::Seek(long milliseconds) { return seek(milliseconds); }

int WmaInnerDecoder::Seek(TimeSpec const& position) { return seek(position); }

int WmaInnerDecoder::GetProperty(smart_enum<DecoderPropTypeBase> type, std::string& value)
{
    return answerProperty(type, *this, m_codecName, value);
}

void WmaInnerDecoder::closeHook()
{
    if (m_parent != nullptr)
        m_parent->runEnds();
}

WmaInput* WmaInnerDecoder::inputOver(StreamPtr const& stream) const
{
    if (m_parent == nullptr)
        return nullptr;
    m_parent->SetBaseStream(stream);
    return &m_parent->input();
}

int WmaInnerDecoder::report(int result) const
{
    if (m_parent != nullptr)
        m_parent->UpdateParseResult(result);
    return result;
}

bool WmaInnerDecoder::goesOn(int& result)
{
    if (IsDecoding()) {
        DecoderLock lock(decoderLock());
        newPosition();
        return true;
    }
    result = InterruptRequested() ? interruptedResult() : static_cast<int>(Ok);
    if (!InterruptRequested())
        std::cout << "Decoded End" << std::endl;
    return false;
}

}} // namespace kiv::appli
