// Runs the tests of the pipeline with the kernels of one level: level_tests --level=NAME. Exits
// with 77, after a line that says so, when the machine lacks the level.

#include "support/test_level.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iterator>

namespace {

constexpr int SKIPPED = 77;

constexpr const char *LEVELS[] = {"plain", "sse2", "ssse3", "avx2", "avx512"};

bool findLevel(const char *name, cpu_level &level) {
    const auto *found = std::find_if(std::begin(LEVELS), std::end(LEVELS),
                                     [=](const char *known) { return strcmp(known, name) == 0; });
    level = static_cast<cpu_level>(found - std::begin(LEVELS));
    return found != std::end(LEVELS);
}

} // namespace

int main(int argc, char **argv) {
    testing::InitGoogleTest(&argc, argv);
    constexpr char OPTION[] = "--level=";
    if (argc != 2 || strncmp(argv[1], OPTION, strlen(OPTION)) != 0 ||
        !findLevel(argv[1] + strlen(OPTION), test_level)) {
        fprintf(stderr, "usage: level_tests --level=NAME\n");
        return 2;
    }
    if (test_level > detectCpuLevels().highest) {
        printf("skipped: this machine lacks %s\n", LEVELS[test_level]);
        return SKIPPED;
    }
    return RUN_ALL_TESTS();
}
