#include "ThreadPlace.h"

namespace Avr { namespace Decoder {

namespace {
thread_local ThreadPlace const* t_innermost = nullptr;
} // namespace

ThreadPlace::ThreadPlace(DecoderImple const& decoder, Kind kind)
    : m_decoder(decoder), m_kind(kind), m_outer(t_innermost)
{
    t_innermost = this;
}

ThreadPlace::~ThreadPlace() { t_innermost = m_outer; }

bool ThreadPlace::isAt(DecoderImple const& decoder, Kind kind)
{
    for (ThreadPlace const* place = t_innermost; place != nullptr; place = place->m_outer) {
        if (&place->m_decoder == &decoder && place->m_kind == kind)
            return true;
    }
    return false;
}

}} // namespace Avr::Decoder
