#include "own_converter.h"

#include "pipeline/lifecycle.h"
#include "simd/kernels.h"

#include <cstring>

namespace {

const kernel_set *held_kernels = nullptr; // null: the library's choice

// A host's stream: one area, written from its start in every block.
struct memory_stream {
    bufstream operations;
    uint8_t *area;
    uint32_t capacity;
    uint32_t used;
};

memory_stream *asMemoryStream(bufstream *stream) {
    return reinterpret_cast<memory_stream *>(stream);
}

uint32_t freeBytes(bufstream *stream) {
    return asMemoryStream(stream)->capacity - asMemoryStream(stream)->used;
}

uint8_t *reserveBytes(bufstream *stream, uint32_t) {
    return asMemoryStream(stream)->area + asMemoryStream(stream)->used;
}

void commitBytes(bufstream *stream, uint32_t byte_count) {
    asMemoryStream(stream)->used += byte_count;
}

void ignoreAuxInfo(bufstream *, uint32_t, uint32_t, void *, int32_t) {
}

class own_converter final : public stream_converter {
public:
    own_converter(audio_converter *created, const conversion &asked)
        : converter(created), wanted(asked), stream{{freeBytes, reserveBytes, commitBytes, nullptr,
                                                     nullptr, ignoreAuxInfo},
                                                    nullptr,
                                                    0,
                                                    0} {
        audioConverterInit(converter, &stream.operations);
    }

    ~own_converter() override {
        audioConverterFree(converter);
    }

    own_converter(const own_converter &) = delete;
    own_converter &operator=(const own_converter &) = delete;

    std::span<const uint8_t> convert(std::span<const uint8_t> input) override {
        if (output.empty()) {
            makeRoom(input.size());
        }
        stream.used = 0;
        const auto byte_count = static_cast<uint32_t>(input.size());
        if (audioConverterPutBytes(converter, input.data(), byte_count) != 0) {
            return {};
        }
        return {output.data(), stream.used};
    }

private:
    void makeRoom(std::size_t input_byte_count) {
        output.resize(outputCapacity(wanted, input_byte_count));
        stream.area = output.data();
        stream.capacity = static_cast<uint32_t>(output.size());
    }

    audio_converter *converter;
    conversion wanted;
    memory_stream stream;
    std::vector<uint8_t> output;
};

audio_converter_settings makeSettings(const conversion &wanted) {
    audio_converter_settings settings;
    std::memset(&settings, 0, sizeof settings);
    settings.input_channels = wanted.input.channels;
    settings.input_bits_per_sample = wanted.input.bits;
    settings.input_format = wanted.input.format;
    settings.input_channel_mask = wanted.input.mask;
    settings.input_sample_rate = wanted.input.sample_rate;
    settings.output_channels = wanted.output.channels;
    settings.output_bits_per_sample = wanted.output.bits;
    settings.output_format = wanted.output.format;
    settings.output_channel_mask = wanted.output.mask;
    settings.output_sample_rate = wanted.output.sample_rate;
    // The largest round size whose AES3 payload fits a block.
    settings.out_frame_size = 65520;
    return settings;
}

} // namespace

bool holdToLevel(std::string_view name) {
    for (int level = CPU_PLAIN; level <= detectCpuLevels().highest; ++level) {
        const kernel_set &kernels = kernelsOf(static_cast<cpu_level>(level));
        if (name == kernels.name) {
            held_kernels = &kernels;
            return true;
        }
    }
    return false;
}

const char *kernelName() {
    return (held_kernels != nullptr ? *held_kernels : kernelsOf(detectCpuLevels().fastest)).name;
}

std::unique_ptr<stream_converter> makeOwnConverter(const conversion &wanted) {
    const audio_converter_settings settings = makeSettings(wanted);
    audio_converter *converter = held_kernels == nullptr
                                     ? audioConverterNew(nullptr, &settings)
                                     : createConverter(nullptr, settings, *held_kernels);
    if (converter == nullptr) {
        return nullptr;
    }
    return std::make_unique<own_converter>(converter, wanted);
}

std::vector<double> measureGains(const conversion &wanted) {
    constexpr int32_t PROBE = 1 << 30;
    const std::size_t inputs = wanted.input.channels;
    const std::size_t outputs = wanted.output.channels;
    conversion plain = wanted;
    plain.input.format = plain.output.format = AUDIO_FORMAT_PCM;
    plain.input.bits = plain.output.bits = 32;
    plain.output.sample_rate = plain.input.sample_rate;
    std::vector<int32_t> probes(inputs * inputs);
    for (std::size_t slot = 0; slot < inputs; ++slot) {
        probes[slot * inputs + slot] = PROBE;
    }
    const auto mixer = makeOwnConverter(plain);
    const auto mixed = mixer->convert(
        {reinterpret_cast<const uint8_t *>(probes.data()), probes.size() * sizeof(int32_t)});
    std::vector<double> gains(outputs * inputs);
    for (std::size_t input = 0; input < inputs; ++input) {
        for (std::size_t output = 0; output < outputs; ++output) {
            int32_t sample = 0;
            const std::size_t place = input * outputs + output;
            std::memcpy(&sample, mixed.data() + place * sizeof sample, sizeof sample);
            gains[output * inputs + input] = static_cast<double>(sample) / PROBE;
        }
    }
    return gains;
}
