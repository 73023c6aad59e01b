#include "rows.h"

#include "kinds.h"

namespace {

using block_list = std::vector<std::size_t>;

constexpr std::size_t SMALL_BLOCK = 64;
constexpr std::size_t RACE_BLOCK = 1024;
const block_list OWN_BLOCKS = {64, 256, 4096, 65536};

constexpr rate_pair RATE_PAIRS[] = {
    {44100, 48000}, {48000, 44100}, {48000, 96000}, {96000, 48000}, {48000, 8000}, {192000, 44100},
};

struct named_layouts {
    const char *name;
    uint8_t input_channels;
    uint32_t input_mask;
    uint8_t output_channels;
    uint32_t output_mask;
};

constexpr uint32_t MASK_CENTRE = AUDIO_SPEAKER_FC;
constexpr uint32_t MASK_STEREO = 0x03;
constexpr uint32_t MASK_5_1 = 0x3f;
constexpr uint32_t MASK_7_1 = 0xff;

constexpr named_layouts MIXES[] = {
    {"5.1-2", 6, MASK_5_1, 2, MASK_STEREO},
    {"7.1-2", 8, MASK_7_1, 2, MASK_STEREO},
    {"2-1", 2, MASK_STEREO, 1, MASK_CENTRE},
    {"7.1-5.1", 8, MASK_7_1, 6, MASK_5_1},
};

stream_shape makeShape(const sample_kind &kind, uint8_t channels, uint32_t rate) {
    return {kind.format, kind.bits, channels, defaultMask(channels), rate};
}

std::string channelName(const conversion &wanted) {
    return std::to_string(wanted.output.channels) + "ch";
}

void addRow(std::vector<bench_row> &rows, const std::string &name, const conversion &wanted,
            const block_list &own_blocks, const block_list &race_blocks) {
    rows.push_back({name + "/" + channelName(wanted), wanted, own_blocks, race_blocks});
}

void addResampling(std::vector<bench_row> &rows, const std::vector<uint8_t> &channel_counts) {
    for (const rate_pair &pair : RATE_PAIRS) {
        const std::string name =
            "resample/" + std::to_string(pair.input) + "-" + std::to_string(pair.output);
        for (const uint8_t channels : channel_counts) {
            const conversion wanted{makeShape(PCM32, channels, pair.input),
                                    makeShape(PCM32, channels, pair.output)};
            if (channels <= 2) {
                addRow(rows, name, wanted, {64, 4096, 65536}, {256, RACE_BLOCK});
            } else {
                addRow(rows, name, wanted, OWN_BLOCKS, {RACE_BLOCK});
            }
        }
    }
}

// Pairs of rates with thousands of phases, whose output comes rarely and in large blocks.
void addManyPhases(std::vector<bench_row> &rows) {
    for (const rate_pair &pair :
         {rate_pair{44056, 48000}, {48000, 44056}, {44101, 48000}, {48000, 48001}}) {
        addRow(rows, "phases/" + std::to_string(pair.input) + "-" + std::to_string(pair.output),
               {makeShape(PCM32, 2, pair.input), makeShape(PCM32, 2, pair.output)}, {RACE_BLOCK},
               {});
    }
}

// What a server does: many streams whose tables and samples do not all fit in the caches.
void addInstances(std::vector<bench_row> &rows) {
    rows.push_back({"instances/64x44100-48000/8ch",
                    {makeShape(PCM32, 8, 44100), makeShape(PCM32, 8, 48000)},
                    {},
                    {480},
                    64});
}

void addMixing(std::vector<bench_row> &rows) {
    constexpr uint32_t RATE = 48000;
    for (const named_layouts &mix : MIXES) {
        const conversion wanted{
            {PCM32.format, PCM32.bits, mix.input_channels, mix.input_mask, RATE},
            {PCM32.format, PCM32.bits, mix.output_channels, mix.output_mask, RATE}};
        addRow(rows, std::string("mix/") + mix.name, wanted, OWN_BLOCKS, {RACE_BLOCK});
    }
}

void addCodecRows(std::vector<bench_row> &rows, const sample_kind &kind, uint8_t channels) {
    // The only rate that every peer's AES3 codec takes.
    constexpr uint32_t RATE = 48000;
    const stream_shape coded = makeShape(kind, channels, RATE);
    const stream_shape plain = makeShape(PCM32, channels, RATE);
    const block_list own_blocks = channels == 2 ? block_list{256, 4096, 65536} : block_list{};
    const std::string name = kind.name;
    addRow(rows, "same/" + name, {coded, coded}, own_blocks, {RACE_BLOCK});
    if (name == PCM32.name) {
        return;
    }
    const block_list race_blocks =
        channels == 2 ? block_list{SMALL_BLOCK, RACE_BLOCK} : block_list{RACE_BLOCK};
    addRow(rows, "encode/" + name, {plain, coded}, own_blocks, race_blocks);
    addRow(rows, "decode/" + name, {coded, plain}, own_blocks, race_blocks);
}

void addCodecs(std::vector<bench_row> &rows, const std::vector<uint8_t> &channel_counts) {
    for (const sample_kind &kind : KINDS) {
        for (const uint8_t channels : channel_counts) {
            if (kind.format != AUDIO_FORMAT_AES3 || channels % 2 == 0) {
                addCodecRows(rows, kind, channels);
            }
        }
    }
}

void addPipelines(std::vector<bench_row> &rows) {
    const sample_kind pcm16{"", AUDIO_FORMAT_PCM, 16};
    const sample_kind pcm24{"", AUDIO_FORMAT_PCM, 24};
    const sample_kind be24{"", AUDIO_FORMAT_LPCM_BE, 24};
    const sample_kind single{"", AUDIO_FORMAT_FLOAT, 32};
    addRow(rows, "pipeline/5.1-24-48k-to-stereo-16-44k1",
           {makeShape(pcm24, 6, 48000), makeShape(pcm16, 2, 44100)}, OWN_BLOCKS, {RACE_BLOCK});
    addRow(rows, "pipeline/stereo-16-44k1-to-24-48k",
           {makeShape(pcm16, 2, 44100), makeShape(pcm24, 2, 48000)}, OWN_BLOCKS, {RACE_BLOCK});
    addRow(rows, "pipeline/8ch-float-96k-to-be24-48k",
           {makeShape(single, 8, 96000), makeShape(be24, 8, 48000)}, OWN_BLOCKS, {RACE_BLOCK});
}

} // namespace

std::vector<bench_row> makeRows(bool quick) {
    const std::vector<uint8_t> channel_counts =
        quick ? std::vector<uint8_t>{2} : std::vector<uint8_t>{1, 2, 6, 8};
    std::vector<bench_row> rows;
    addResampling(rows, channel_counts);
    addManyPhases(rows);
    addInstances(rows);
    addMixing(rows);
    addCodecs(rows, channel_counts);
    addPipelines(rows);
    if (quick) {
        for (bench_row &row : rows) {
            if (row.instances == 1) {
                row.own_blocks = {SMALL_BLOCK};
                row.race_blocks = {RACE_BLOCK};
            }
        }
    }
    return rows;
}

std::vector<rate_pair> creationPairs() {
    // The last pair has nothing in common: 48,000 phases.
    return {{44100, 48000}, {48000, 44100}, {48000, 96000}, {192000, 44100}, {44101, 48000}};
}
