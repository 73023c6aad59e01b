// Runs the tests of the pipeline with the kernels of one level: level_tests --level=NAME. Exits
// with 77, after a line that says so, when the machine lacks the level.

#include "support/test_level.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>

namespace {

constexpr int SKIPPED = 77;

bool findLevel(const char *name, cpu_level &level) {
    for (unsigned number = 0; number < CPU_LEVELS; ++number) {
        level = static_cast<cpu_level>(number);
        if (strcmp(kernelsOf(level).name, name) == 0) {
            return true;
        }
    }
    return false;
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
        printf("skipped: this machine lacks %s\n", kernelsOf(test_level).name);
        return SKIPPED;
    }
    return RUN_ALL_TESTS();
}
