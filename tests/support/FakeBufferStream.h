#pragma once

#include "platform/BufferStream.h"

#include <string>
#include <vector>

namespace avr { namespace test {

/// What was asked of the platform's read-ahead buffers, which here pass everything through.
std::vector<std::string>& bufferJournal();

}} // namespace avr::test
