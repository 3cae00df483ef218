#pragma once

#include <boost/thread/exceptions.hpp>

#include <utility>

namespace Avr { namespace Decoder {

/// Keeps exceptions out of a codec library's C frames: callbacks run inside `guard`, and right
/// after the library's call `rethrow` lets an interruption go on. Decoding thread.
class KeptInterruption {
public:
    /// @return what `call` returns, or `failed` when it throws
    template <class Result, class Call>
    Result guard(Result failed, Call call)
    {
        try {
            return call();
        } catch (boost::thread_interrupted&) {
            m_interrupted = true;
        } catch (...) { // a stream that throws has failed
        }
        return failed;
    }

    void rethrow()
    {
        if (std::exchange(m_interrupted, false))
            throw boost::thread_interrupted();
    }

private:
    bool m_interrupted = false;
};

}} // namespace Avr::Decoder
