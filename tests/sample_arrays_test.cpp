// Growth of the sample arrays: exact fit, half more while output waits, limits, borrowed positions.

#include "core/sample_arrays.h"
#include "support/test_host.h"

#include <gtest/gtest.h>

namespace {

struct set_of_a_host {
    set_of_a_host() {
        callback_lookup lookup = host.enter();
        memory.malloc = lookupFunction<host_malloc>(lookup, "malloc");
        memory.free = lookupFunction<host_free>(lookup, "free");
    }
    ~set_of_a_host() {
        for (unsigned slot = 0; slot < AUDIO_MAX_CHANNELS; ++slot) {
            releasePosition(memory, set, slot);
        }
        EXPECT_EQ(host.trouble(), "");
    }
    test_host host;
    host_memory memory;
    channel_buffer_set set = {};
};

TEST(SampleArrays, Growth) {
    set_of_a_host a;
    EXPECT_EQ(growChannelBufferSet(a.memory, a.set, 100, 8), 0u);
    EXPECT_EQ(a.host.sizes, std::vector<size_t>(8, 400));
    int32_t lent[60] = {};
    lendPosition(a.memory, a.set, 3, lent);
    lent[0] = 7;
    a.set.count = 60;
    EXPECT_EQ(growChannelBufferSet(a.memory, a.set, 40, 8), 0u);
    EXPECT_EQ(a.host.sizes.size(), 8u); // it fits
    EXPECT_EQ(growChannelBufferSet(a.memory, a.set, 41, 8), 0u);
    EXPECT_EQ(a.set.capacity, 101u);
    EXPECT_EQ(a.set.data[3][0], 7);
    a.set.holds_output = 1;
    EXPECT_EQ(growChannelBufferSet(a.memory, a.set, 42, 8), 0u);
    EXPECT_EQ(a.set.capacity, 151u);
    EXPECT_EQ(a.host.liveBlocks(), 8u);
}

TEST(SampleArrays, SampleLimit) {
    set_of_a_host a;
    a.set.count = a.set.capacity = 5;
    for (const uint64_t extra : {uint64_t{1} << 30, (uint64_t{1} << 30) - 5, UINT64_MAX}) {
        EXPECT_EQ(growChannelBufferSet(a.memory, a.set, extra, 8), 1u) << extra;
    }
    EXPECT_EQ(allocateSamples(a.memory, uint64_t{1} << 30), nullptr);
    EXPECT_TRUE(a.host.sizes.empty());
    a.host.largest_block = 0;
    EXPECT_EQ(growChannelBufferSet(a.memory, a.set, (uint64_t{1} << 30) - 6, 8), 1u);
    EXPECT_EQ(a.host.sizes, std::vector<size_t>{((size_t{1} << 30) - 1) * 4});
}

} // namespace
