#include "Log.h"

#include <iostream>

namespace Avr { namespace Decoder {

void logLine(std::string const& line)
{
    // cerr is unbuffered: a single insertion is a single write.
    std::cerr << line + '\n';
}

}} // namespace Avr::Decoder
