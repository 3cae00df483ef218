// Every test program's own main: the decoder library exports one, which would run no test at all.
#include "BuildKind.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>

#include <sys/mman.h>

namespace {

/// AddressSanitizer takes the last of a 32-bit machine's four gigabytes for the kernel's and knows no
/// memory there. An emulator has no such kernel and gives it out; so it is taken before anybody asks.
void keepKernelsGigabyte()
{
    constexpr std::uintptr_t Begin = 0xC0000000, End = 0xFFF00000, Step = 0x100000;
    for (std::uintptr_t at = Begin; at < End; at += Step) {
        void* const wish = reinterpret_cast<void*>(at);
        void* const got =
            mmap(wish, Step, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        if (got != MAP_FAILED && got != wish)
            munmap(got, Step);
    }
}

} // namespace

int main(int argc, char** argv)
{
    if (avr::test::Sanitized && avr::test::Emulated && sizeof(void*) == 4)
        keepKernelsGigabyte();
    testing::InitGoogleTest(&argc, argv);
    int const result = RUN_ALL_TESTS();
    if (!GTEST_FLAG_GET(list_tests) && testing::UnitTest::GetInstance()->test_to_run_count() == 0) {
        std::fprintf(stderr, "no test was run\n");
        return 1;
    }
    return result;
}
