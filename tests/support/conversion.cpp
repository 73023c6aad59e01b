#include "support/conversion.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

audio_converter_settings makeSettings(const side &input, const side &output,
                                      uint32_t out_frame_size) {
    audio_converter_settings settings = {};
    settings.input_channels = input.channels;
    settings.input_bits_per_sample = input.layout.bits;
    settings.input_format = input.layout.format;
    settings.input_channel_mask = input.mask;
    settings.input_sample_rate = input.rate;
    settings.output_channels = output.channels;
    settings.output_bits_per_sample = output.layout.bits;
    settings.output_format = output.layout.format;
    settings.output_channel_mask = output.mask;
    settings.output_sample_rate = output.rate;
    settings.out_frame_size = out_frame_size;
    return settings;
}

std::string describe(const audio_converter_settings &s) {
    char text[128];
    snprintf(text, sizeof text, "%d/%dx%d@%u -> %d/%dx%d@%u%s%s", s.input_format,
             s.input_bits_per_sample, s.input_channels, s.input_sample_rate, s.output_format,
             s.output_bits_per_sample, s.output_channels, s.output_sample_rate,
             s.input_separate_channels != 0 ? " split input" : "",
             s.output_separate_channels != 0 ? " split output" : "");
    return text;
}

uint32_t random_numbers::next() {
    state = state * 6364136223846793005u + 1442695040888963407u;
    return static_cast<uint32_t>(state >> 32);
}

bool isPaired(sample_layout layout) {
    return layout.format == 2 || layout.format == 3;
}

uint32_t unitBytes(sample_layout layout, uint8_t channels) {
    const uint32_t frames = isPaired(layout) ? 2 : 1;
    uint32_t bits = layout.bits;
    if (layout.format == 3 && bits == 20) {
        bits = 24;
    } else if (layout.format == 4) {
        bits += 4;
    }
    return frames * bits * channels / 8;
}

std::array<uint8_t, 4> aes3Header(uint32_t payload_size, uint8_t channels, uint8_t bits) {
    return {static_cast<uint8_t>(payload_size >> 8), static_cast<uint8_t>(payload_size),
            static_cast<uint8_t>((channels / 2 - 1) << 6),
            static_cast<uint8_t>((bits - 16) / 4 << 4)};
}

byte_vector makeInput(sample_layout layout, uint8_t channels, uint32_t frames, uint64_t seed) {
    random_numbers random(seed);
    const uint32_t frame_bytes = unitBytes(layout, channels);
    byte_vector bytes;
    uint32_t units = isPaired(layout) ? frames / 2 : frames;
    while (units != 0) {
        const uint32_t block = std::min(units, layout.format == 4 ? 1 + random.below(9) : units);
        if (layout.format == 4) {
            const auto header = aes3Header(block * frame_bytes, channels, layout.bits);
            bytes.insert(bytes.end(), header.begin(), header.end());
        }
        for (uint32_t i = 0; i < block * frame_bytes; ++i) {
            bytes.push_back(static_cast<uint8_t>(random.next() >> 8));
        }
        units -= block;
    }
    return bytes;
}

byte_vector withoutHeaders(const byte_vector &stream, uint8_t channels, uint8_t bits) {
    byte_vector frames;
    size_t at = 0;
    while (at + 4 <= stream.size()) {
        const uint32_t payload = stream[at] * 256u + stream[at + 1];
        const auto header = aes3Header(payload, channels, bits);
        if (!std::equal(header.begin(), header.end(), stream.begin() + at) ||
            at + 4 + payload > stream.size()) {
            return {};
        }
        frames.insert(frames.end(), stream.begin() + at + 4, stream.begin() + at + 4 + payload);
        at += 4 + payload;
    }
    return at == stream.size() ? frames : byte_vector{};
}

byte_vector toBytes(const std::vector<int32_t> &samples) {
    byte_vector bytes(samples.size() * sizeof(int32_t));
    if (!bytes.empty()) {
        memcpy(bytes.data(), samples.data(), bytes.size());
    }
    return bytes;
}

std::vector<int32_t> toSamples(const byte_vector &bytes) {
    std::vector<int32_t> samples(bytes.size() / sizeof(int32_t));
    if (!samples.empty()) {
        memcpy(samples.data(), bytes.data(), samples.size() * sizeof(int32_t));
    }
    return samples;
}

conversion::conversion(const audio_converter_settings &s, uint64_t fail_at, size_t largest_block)
    : settings(s) {
    host.fail_at = fail_at;
    host.largest_block = largest_block;
    converter = audioConverterNew(host.enter(), &settings);
    if (converter != nullptr) {
        attach();
    }
}

conversion::~conversion() {
    if (converter != nullptr) {
        host.enter();
        audioConverterFree(converter);
    }
}

void conversion::attach() {
    host.enter();
    if (settings.output_separate_channels == 0) {
        audioConverterInit(converter, &streams[0]);
        return;
    }
    const int channels =
        settings.output_channels != 0 ? settings.output_channels : settings.input_channels;
    for (int slot = 0; slot < channels; ++slot) {
        streams[slot].slot = slot;
        audioConverterInitChannel(converter, &streams[slot], slot);
    }
}

uint32_t conversion::put(std::span<const uint8_t> bytes) {
    host.enter();
    return audioConverterPutBytes(converter, bytes.data(), static_cast<uint32_t>(bytes.size()));
}

uint32_t conversion::putChannel(std::span<const uint8_t> bytes, uint8_t channel) {
    host.enter();
    return audioConverterPutBytesOneChannel(converter, bytes.data(),
                                            static_cast<uint32_t>(bytes.size()), channel);
}

uint32_t conversion::end(uint32_t channel) {
    host.enter();
    return audioConverterNoMoreDataInChannel(converter, channel);
}

uint32_t conversion::done(uint32_t discard_tail) {
    host.enter();
    return audioConverterDone(converter, discard_tail);
}

byte_vector conversion::output() const {
    const bool split = settings.output_separate_channels != 0;
    const uint8_t format =
        settings.output_format != 0 ? settings.output_format : settings.input_format;
    const uint8_t bits = settings.output_bits_per_sample != 0 ? settings.output_bits_per_sample
                                                              : settings.input_bits_per_sample;
    const uint8_t channels =
        settings.output_channels != 0 ? settings.output_channels : settings.input_channels;
    byte_vector all;
    for (const recording_stream &stream : streams) {
        const byte_vector &bytes = format == AUDIO_FORMAT_AES3 && !split
                                       ? withoutHeaders(stream.bytes, channels, bits)
                                       : stream.bytes;
        all.insert(all.end(), bytes.begin(), bytes.end());
    }
    return all;
}

size_t conversion::committed() const {
    size_t bytes = 0;
    for (const recording_stream &stream : streams) {
        bytes += stream.bytes.size();
    }
    return bytes;
}

std::string conversion::close() {
    host.enter();
    audioConverterFree(converter);
    converter = nullptr;
    std::string text = host.trouble();
    for (const recording_stream &stream : streams) {
        text += stream.faults;
        if (!stream.guardsIntact()) {
            text += "bytes around the last area were written; ";
        }
    }
    return text;
}

byte_vector convert(const audio_converter_settings &settings, const byte_vector &input,
                    const block_sizes &blocks) {
    conversion run(settings);
    const auto failure = [](const std::string &text) {
        return byte_vector(text.begin(), text.end());
    };
    if (run.converter == nullptr) {
        return failure("no converter");
    }
    size_t at = 0;
    for (size_t i = 0; at < input.size(); ++i) {
        const size_t block = std::min<size_t>(blocks[i % blocks.size()], input.size() - at);
        if (run.put(std::span(input).subspan(at, block)) != 0) {
            return failure("put failed");
        }
        at += block;
    }
    if (run.done() != 0) {
        return failure("done failed");
    }
    const byte_vector result = run.output();
    const std::string trouble = run.close();
    return trouble.empty() ? result : failure(trouble);
}
