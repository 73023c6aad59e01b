// Reads its input as settings, an order of calls, the behaviour of the streams and the failures of
// the allocator, and checks after every call what must hold whatever the host does.
//
//     | level | settings, one byte a choice | fail_at | stream | then per call: kind, size, data...
//     |
//
// What happens at a level of instructions has to equal what happens with the scalar kernels.
//
// The layout of make_corpus.py.

#include "support/conversion.h"
#include "support/test_level.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace {

constexpr size_t LARGEST_BLOCK_BYTES = 4 << 20; // more is refused, as in a small machine
constexpr uint32_t LARGEST_UNIT_BYTES = 64;     // a pair of frames of eight channels
constexpr uint32_t AMPLE_ROOM = 8 << 16;        // the largest frame size, for every channel
constexpr int LARGEST_WAIT_PASSES = 20;         // a stream without room gives null after these

// The input, byte by byte; zeros behind its end.
class choices {
public:
    choices(const uint8_t *bytes, size_t size) : data(bytes, size) {
    }
    uint8_t next() {
        if (data.empty()) {
            return 0;
        }
        const uint8_t byte = data[0];
        data = data.subspan(1);
        return byte;
    }
    std::span<const uint8_t> take(size_t count) {
        const auto taken = data.first(std::min(count, data.size()));
        data = data.subspan(taken.size());
        return taken;
    }
    bool ended() const {
        return data.empty();
    }

private:
    std::span<const uint8_t> data;
};

[[noreturn]] void stop(const std::string &text) {
    fprintf(stderr, "%s\n", text.c_str());
    abort();
}

uint32_t chooseRate(choices &from) {
    constexpr uint32_t RATES[] = {48000, 44100, 32000, 96000, 8000, 192000, 1, 44101};
    const uint8_t choice = from.next();
    return choice < 200 ? RATES[choice % 8] : (choice - 199u) * (1u + from.next());
}

side chooseSide(choices &from) {
    const uint8_t layout = from.next();
    const sample_layout known = ALL_LAYOUTS[layout % std::size(ALL_LAYOUTS)];
    const uint8_t channels = static_cast<uint8_t>(from.next() % 8 + 1);
    uint32_t mask = 0;
    for (unsigned bit = from.next() % 8, left = channels; left != 0; --left, ++bit) {
        mask |= 1u << bit % 8;
    }
    const uint32_t rate = chooseRate(from);
    // Now and then a layout that validation refuses.
    return {layout < 250 ? known : sample_layout{layout, from.next()}, channels, rate, mask};
}

audio_converter_settings chooseSettings(choices &from) {
    const side input = chooseSide(from);
    const side output = chooseSide(from);
    audio_converter_settings settings =
        makeSettings(input, output, 1 + from.next() * (1u + from.next()));
    const uint8_t flags = from.next();
    settings.input_separate_channels = flags & 1;
    settings.output_separate_channels = flags & 2;
    settings.user_matrix_enabled = flags & 4;
    if (settings.user_matrix_enabled != 0) {
        const auto gains = from.take(sizeof settings.user_matrix);
        std::copy(gains.begin(), gains.end(), reinterpret_cast<uint8_t *>(settings.user_matrix));
    }
    if ((flags & 8) != 0) {
        settings.input_order_map_enabled = 1;
        const auto map = from.take(8);
        std::copy(map.begin(), map.end(), settings.input_order_map);
    }
    return settings;
}

// Streams with the room and the refusals that a byte of the input names, in turn; each waits for
// room a few passes at most.
struct stream_behaviour {
    uint8_t kind = 0;
    uint32_t calls = 0;
    int without_room = 0;

    uint32_t room() {
        const uint32_t call = calls++;
        switch (kind % 4) {
        case 1:
            return call % 7 * (kind / 4);
        case 2:
            return call % 3 != 0 ? 0 : 300u + kind;
        case 3:
            return 17u + kind * 3u;
        default:
            return AMPLE_ROOM;
        }
    }
    bool refuses(size_t committed_chunks) {
        without_room = committed_chunks == chunks_before ? without_room + 1 : 0;
        chunks_before = committed_chunks;
        return without_room > LARGEST_WAIT_PASSES || (kind >= 192 && calls % 5 == 4);
    }
    size_t chunks_before = 0;
};

void checkStreams(const conversion &run) {
    for (const recording_stream &stream : run.streams) {
        if (!stream.faults.empty() || !stream.guardsIntact()) {
            stop("stream: " + stream.faults);
        }
    }
}

// With every stream open each slot gets all that it has not got yet.
void checkSlotsAgree(const conversion &run) {
    const bool split = run.settings.output_separate_channels != 0;
    for (int slot = 1; split && slot < run.settings.output_channels; ++slot) {
        if (run.streams[slot].bytes.size() != run.streams[0].bytes.size()) {
            stop("split streams have drifted apart");
        }
    }
}

// What the host did so far: whether plain calls alone, all of which succeeded, and their bytes.
struct history {
    bool plain = true;
    uint64_t input_bytes = 0;
};

uint32_t performCall(conversion &run, choices &from, history &past) {
    const uint8_t kind = from.next();
    const uint8_t channel = kind >> 4;
    const auto bytes = from.take(from.next() * (kind % 16 == 15 ? 5u : 1u));
    past.plain = past.plain && (kind % 16 > 3 || kind % 16 == 0);
    past.input_bytes += bytes.size();
    switch (kind % 16) {
    case 1:
        return run.end(channel);
    case 2:
        return run.done(channel % 2);
    case 3:
        run.attach();
        return 0;
    default:
        return run.settings.input_separate_channels != 0 ? run.putChannel(bytes, channel % 9)
                                                         : run.put(bytes);
    }
}

// Bytes that leave, without AES3 headers, when `input_bytes` bytes of interleaved frames came in.
uint64_t expectedBytes(const audio_converter_settings &s, uint64_t input_bytes) {
    const sample_layout in = {s.input_format, s.input_bits_per_sample};
    const sample_layout out = {s.output_format, s.output_bits_per_sample};
    const uint64_t frames = input_bytes / unitBytes(in, s.input_channels) * (isPaired(in) ? 2 : 1);
    const uint64_t left = frames * s.output_sample_rate / s.input_sample_rate;
    const uint64_t units = isPaired(out) ? (left + 1) / 2 : left;
    return units * unitBytes(out, s.output_channels);
}

// A host's whole dealings with one converter; the bytes that came out, slot by slot.
std::vector<byte_vector> perform(choices from) {
    const audio_converter_settings settings = chooseSettings(from);
    const uint8_t failing = from.next();
    stream_behaviour behaviour = {.kind = from.next()};
    conversion run(settings, failing, LARGEST_BLOCK_BYTES);
    std::vector<byte_vector> outputs;
    if (run.converter != nullptr) {
        for (recording_stream &stream : run.streams) {
            stream.room = [&](uint32_t) { return behaviour.room(); };
            stream.refuses = [&] { return behaviour.refuses(run.streams[0].chunks.size()); };
        }
        history past;
        const bool splits_aes3 =
            settings.output_format == AUDIO_FORMAT_AES3 && settings.output_separate_channels != 0;
        past.plain = settings.input_separate_channels == 0 && settings.input_format != 4;
        for (int calls = 0; calls < 200 && !from.ended(); ++calls) {
            const uint32_t result = performCall(run, from, past);
            past.plain = past.plain && result == 0;
            checkStreams(run);
        }
        const uint32_t end = run.done();
        checkStreams(run);
        const bool ample = behaviour.kind % 4 == 0 && behaviour.kind < 192 &&
                           settings.out_frame_size >= LARGEST_UNIT_BYTES && !splits_aes3;
        if (past.plain && ample && end == 0 && past.input_bytes != 0 &&
            run.output().size() != expectedBytes(settings, past.input_bytes)) {
            stop(describe(settings) + ": wrong number of bytes");
        }
        for (recording_stream &stream : run.streams) {
            stream.room = nullptr;
            stream.refuses = nullptr;
        }
        if (run.done() == 0) {
            checkSlotsAgree(run);
        }
        for (const recording_stream &stream : run.streams) {
            outputs.push_back(stream.bytes);
        }
    }
    const std::string trouble = run.close();
    if (!trouble.empty()) {
        stop(trouble);
    }
    return outputs;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    choices from(data, size);
    const auto level = static_cast<cpu_level>(from.next() % (detectCpuLevels().highest + 1u));
    test_level = CPU_PLAIN;
    const std::vector<byte_vector> expected = perform(from);
    test_level = level;
    if (perform(from) != expected) {
        stop(std::string(kernelsOf(level).name) + " differs from plain");
    }
    return 0;
}
