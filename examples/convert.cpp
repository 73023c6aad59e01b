// A host in C++17: 16-bit stereo at 44.1 kHz from standard input becomes 24 bits at 48 kHz on
// standard output.
#include "zt_trans_audio_converter.hpp"

#include <cstdio>

int main() try {
    zt::converter converter(zt::makeSettings({zt::format::pcm, 16, zt::layout::stereo, 44100},
                                             {zt::format::pcm, 24, zt::layout::stereo, 48000}),
                            [](const uint8_t *bytes, size_t byte_count) {
                                return std::fwrite(bytes, 1, byte_count, stdout);
                            });
    static uint8_t block[8192];
    for (size_t n; (n = std::fread(block, 1, sizeof block, stdin)) > 0;) {
        converter.put(block, n);
    }
    const bool complete = converter.finish() && std::fflush(stdout) == 0;
    return complete && std::ferror(stdin) == 0 ? 0 : 1;
} catch (const std::exception &fault) {
    std::fprintf(stderr, "%s\n", fault.what());
    return 1;
}
