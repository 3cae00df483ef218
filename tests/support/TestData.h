#pragma once

#include "ScriptedStream.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>

namespace avr { namespace test {

/// A file of tests/data; AVR_TEST_DATA is that folder.
inline Bytes testData(std::string const& name)
{
    std::ifstream file(AVR_TEST_DATA "/" + name, std::ios::binary);
    EXPECT_TRUE(file) << name;
    return Bytes(std::istreambuf_iterator<char>(file), {});
}

}} // namespace avr::test
