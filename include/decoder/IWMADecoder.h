#pragma once

#include "decoder/IDecoder.h"

namespace kiv { namespace appli {

/// What the WMA decoders have besides.
class AVR_API IWMADecoder : public IDecoder {
public:
    /// Runs the decoding loop on the calling thread. @return the loop's result
    virtual int PlayCom() = 0;
    /// Appends a decoder choice to the process-wide history.
    virtual void SetDecoderHistory(std::string const& choice) = 0;
};

}} // namespace kiv::appli
