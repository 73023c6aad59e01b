// Every allocation of a whole stream fails once. The call says so, nothing leaks, and when it is
// repeated the output is what it would have been.

#include "support/conversion.h"

#include <gtest/gtest.h>

namespace {

// One call of a stream.
struct host_call {
    char kind; // 'p' put, 'c' put to a channel, 'e' end of a channel, 'd' done
    byte_vector bytes;
    uint8_t channel = 0;
};

using script = std::vector<host_call>;

uint32_t perform(conversion &run, const host_call &call) {
    switch (call.kind) {
    case 'p':
        return run.put(call.bytes);
    case 'c':
        return run.putChannel(call.bytes, call.channel);
    case 'e':
        return run.end(call.channel);
    default:
        return run.done();
    }
}

// Blocks that grow and carry.
script interleavedScript(const audio_converter_settings &settings) {
    const byte_vector input = makeInput({settings.input_format, settings.input_bits_per_sample},
                                        settings.input_channels, 260, 12);
    script calls;
    size_t at = 0;
    for (size_t block = 7; at < input.size(); block = block * 2 + 1) {
        const size_t end = std::min(at + block, input.size());
        calls.push_back({'p', byte_vector(input.begin() + static_cast<long>(at),
                                          input.begin() + static_cast<long>(end))});
        at = end;
    }
    calls.push_back({'d', {}});
    return calls;
}

// Unequal blocks, a channel that ends early with samples left, another without input; one channel
// runs ahead, so that what remains of it is more than half its array.
script separateScript(const audio_converter_settings &settings) {
    const sample_layout layout = {settings.input_format, settings.input_bits_per_sample};
    script calls;
    for (int round = 1; round <= 6; ++round) {
        for (uint8_t channel = 0; channel + 1 < settings.input_channels; ++channel) {
            const uint32_t frames = static_cast<uint32_t>(round) * (channel == 0 ? 16 : 6) + 4;
            if (channel != 1 || round < 4) {
                calls.push_back({'c', makeInput(layout, 1, frames, frames), channel});
            }
        }
        if (round == 3) {
            calls.push_back({'e', {}, 1});
            calls.push_back({'e', {}, static_cast<uint8_t>(settings.input_channels - 1)});
        }
    }
    calls.push_back({'d', {}});
    return calls;
}

struct failure_row {
    side input, output;
    bool split_input, split_output;
};

const side LEFT_RIGHT_48 = {{1, 16}, 2, 48000, 0x03};

const failure_row FAILURE_ROWS[] = {
    {LEFT_RIGHT_48, {{1, 24}, 2, 48000, 0x03}, false, false},
    {{{1, 24}, 6, 48000, 0x3f}, {{2, 20}, 2, 48000, 0x03}, false, true},
    {{{2, 24}, 2, 48000, 0x03}, {{3, 24}, 2, 48000, 0x03}, false, false},
    {{{3, 20}, 3, 44100, 0x07}, {{3, 20}, 3, 48000, 0x07}, false, true},
    {{{4, 16}, 2, 48000, 0x03}, {{4, 24}, 8, 48000, 0xff}, false, false},
    {{{4, 20}, 2, 48000, 0x03}, {{5, 32}, 2, 32000, 0x03}, false, false},
    {{{5, 32}, 1, 8000, 0x04}, {{1, 8}, 2, 48000, 0x03}, false, false},
    {LEFT_RIGHT_48, {{1, 24}, 2, 48000, 0x03}, true, false},
    {{{1, 24}, 3, 48000, 0x07}, {{2, 20}, 2, 48000, 0x03}, true, true},
    {{{3, 20}, 3, 48000, 0x07}, {{3, 24}, 8, 48000, 0xff}, true, false},
    {{{2, 16}, 4, 48000, 0x33}, {{4, 16}, 4, 48000, 0x33}, true, false},
    {{{5, 32}, 3, 44100, 0x07}, {{3, 16}, 3, 48000, 0x07}, true, true},
    {{{1, 8}, 3, 48000, 0x07}, {{1, 32}, 1, 24000, 0x04}, true, false},
};

struct outcome {
    byte_vector output;
    uint64_t allocations;
};

outcome withoutFailure(const audio_converter_settings &settings, const script &calls) {
    conversion run(settings);
    for (const host_call &call : calls) {
        EXPECT_EQ(perform(run, call), 0u);
    }
    outcome result = {run.output(), 0};
    EXPECT_EQ(run.close(), "");
    result.allocations = run.host.sizes.size();
    return result;
}

void failAt(const audio_converter_settings &settings, const script &calls, uint64_t failing,
            const outcome &expected) {
    conversion run(settings, failing);
    if (run.converter == nullptr) {
        ASSERT_EQ(run.host.sizes.size(), failing);
        ASSERT_TRUE(run.host.messages.empty());
        ASSERT_EQ(run.close(), "");
        return;
    }
    uint32_t failures = 0;
    for (const host_call &call : calls) {
        const size_t before = run.committed();
        if (perform(run, call) == 0) {
            continue;
        }
        ++failures;
        ASSERT_GE(run.host.sizes.size(), failing);
        if (call.kind != 'd') {
            ASSERT_EQ(run.committed(), before) << "a refused call took something";
        }
        ASSERT_EQ(perform(run, call), 0u);
    }
    ASSERT_EQ(failures, 1u);
    ASSERT_TRUE(run.host.messages.empty());
    ASSERT_TRUE(run.output() == expected.output);
    ASSERT_EQ(run.close(), "");
}

struct whole_stream {
    explicit whole_stream(const failure_row &row)
        : settings(makeSettings(row.input, row.output, 999)) {
        settings.input_separate_channels = row.split_input;
        settings.output_separate_channels = row.split_output;
        calls = row.split_input ? separateScript(settings) : interleavedScript(settings);
    }
    audio_converter_settings settings;
    script calls;
};

TEST(AllocationFailure, EveryAllocationOfEveryStream) {
    for (const failure_row &row : FAILURE_ROWS) {
        const auto [settings, calls] = whole_stream(row);
        SCOPED_TRACE(describe(settings));
        const outcome expected = withoutFailure(settings, calls);
        ASSERT_GT(expected.output.size(), 200u);
        ASSERT_GT(expected.allocations, 9u);
        for (uint64_t failing = 1; failing <= expected.allocations; ++failing) {
            SCOPED_TRACE("allocation " + std::to_string(failing));
            ASSERT_NO_FATAL_FAILURE(failAt(settings, calls, failing, expected));
        }
    }
}

// Memory that never comes back: calls fail, the end says so, release still works.
TEST(AllocationFailure, NoMemoryFromSomePointOn) {
    for (const failure_row &row : FAILURE_ROWS) {
        const auto [settings, calls] = whole_stream(row);
        for (size_t exhausted = 0; exhausted < calls.size(); ++exhausted) {
            conversion run(settings);
            for (size_t i = 0; i < calls.size(); ++i) {
                run.host.largest_block = i < exhausted ? SIZE_MAX : 0;
                perform(run, calls[i]);
            }
            const size_t held = run.committed();
            perform(run, calls.back());
            ASSERT_GE(run.committed(), held);
            ASSERT_EQ(run.close(), "") << describe(settings) << ", from call " << exhausted;
        }
    }
}

} // namespace
