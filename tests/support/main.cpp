// Every test program's own main: the decoder library exports one, which would run no test at all.
#include <gtest/gtest.h>

#include <cstdio>

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    int const result = RUN_ALL_TESTS();
    if (!GTEST_FLAG_GET(list_tests) && testing::UnitTest::GetInstance()->test_to_run_count() == 0) {
        std::fprintf(stderr, "no test was run\n");
        return 1;
    }
    return result;
}
