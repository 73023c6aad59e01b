// Converters on many threads at once give what they give alone.

#include "support/conversion.h"

#include <gtest/gtest.h>

#include <thread>

namespace {

struct job {
    audio_converter_settings settings;
    byte_vector input, expected;
};

std::vector<job> makeJobs() {
    std::vector<job> jobs;
    const uint32_t rates[] = {48000, 44100, 32000, 96000};
    for (const sample_layout in : ALL_LAYOUTS) {
        const size_t i = jobs.size();
        const side out = {ALL_LAYOUTS[(i * 5 + 3) % 14], 2, rates[i % 4], 0x03};
        const auto settings = makeSettings({in, 6, 48000, 0x3f}, out, 500);
        const byte_vector input = makeInput(in, 6, 500, i);
        jobs.push_back({settings, input, convert(settings, input)});
    }
    return jobs;
}

TEST(Threads, SameBytesAsAlone) {
    const std::vector<job> jobs = makeJobs();
    std::vector<std::thread> threads;
    std::vector<std::string> wrong(8);
    for (size_t t = 0; t < wrong.size(); ++t) {
        threads.emplace_back([&, t] {
            for (size_t round = 0; round < 2 * jobs.size(); ++round) {
                const job &mine = jobs[(t * 3 + round) % jobs.size()];
                if (convert(mine.settings, mine.input, {static_cast<uint32_t>(50 + t), 700}) !=
                    mine.expected) {
                    wrong[t] += describe(mine.settings) + "; ";
                }
                if (audioConverterBytesToSamples(1000, 3, 2, 20) != 166 ||
                    audioConverterCheckSettings(nullptr, &mine.settings) != 0) {
                    wrong[t] += "stateless call; ";
                }
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    for (const std::string &text : wrong) {
        EXPECT_EQ(text, "");
    }
}

} // namespace
