// Growth of the sample arrays: exact fit, limits.

#include "api/buffers.h"
#include "support/test_host.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

// A converter's record with nothing but its allocator, from a real one.
struct bare_converter {
    bare_converter() {
        callback_lookup lookup = host.enter();
        record.malloc = reinterpret_cast<host_malloc>(lookup("malloc"));
        record.free = reinterpret_cast<host_free>(lookup("free"));
    }
    void releaseWork() {
        for (unsigned slot = 0; slot < AUDIO_MAX_CHANNELS; ++slot) {
            if (record.work.data[slot] != nullptr && record.work_borrowed[slot] == 0) {
                record.free(record.work.data[slot]);
            }
        }
    }
    test_host host;
    audio_converter record = {};
};

TEST(Buffers, GrowToAnExactFit) {
    bare_converter bare;
    channel_buffer_set &work = bare.record.work;
    EXPECT_EQ(growChannelBufferSet(bare.record, work, 100, 8), 0u);
    EXPECT_EQ(bare.host.sizes, std::vector<size_t>(8, 400));
    work.data[3][0] = 7;
    work.count = 60;
    EXPECT_EQ(growChannelBufferSet(bare.record, work, 40, 8), 0u);
    EXPECT_EQ(bare.host.sizes.size(), 8u); // it fits
    EXPECT_EQ(growChannelBufferSet(bare.record, work, 41, 8), 0u);
    EXPECT_EQ(work.capacity, 101u);
    EXPECT_EQ(work.data[3][0], 7);
    EXPECT_EQ(bare.host.liveBlocks(), 8u);
    bare.releaseWork();
    EXPECT_EQ(bare.host.trouble(), "");
}

TEST(Buffers, SampleLimit) {
    bare_converter bare;
    channel_buffer_set &work = bare.record.work;
    work.count = work.capacity = 5;
    for (const uint64_t extra : {uint64_t{1} << 30, (uint64_t{1} << 30) - 5, UINT64_MAX}) {
        EXPECT_EQ(growChannelBufferSet(bare.record, work, extra, 8), 1u) << extra;
    }
    EXPECT_EQ(allocateSamples(bare.record, uint64_t{1} << 30), nullptr);
    EXPECT_TRUE(bare.host.sizes.empty());
    bare.host.largest_block = 0;
    EXPECT_EQ(growChannelBufferSet(bare.record, work, (uint64_t{1} << 30) - 6, 8), 1u);
    EXPECT_EQ(bare.host.sizes, std::vector<size_t>{((size_t{1} << 30) - 1) * 4});
}

} // namespace
