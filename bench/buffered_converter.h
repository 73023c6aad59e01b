#pragma once

#include "conversion.h"

// A converter of whole-byte samples that writes into a buffer given to it.
class buffered_converter : public stream_converter {
public:
    explicit buffered_converter(const conversion &asked)
        : wanted(asked), input_frame_bytes(sampleBytes(asked.input) * asked.input.channels),
          output_frame_bytes(sampleBytes(asked.output) * asked.output.channels) {
    }

    std::span<const uint8_t> convert(std::span<const uint8_t> input) final {
        if (output.empty()) {
            output.resize(outputCapacity(wanted, input.size()));
        }
        const std::size_t frames = convertFrames(input.data(), input.size() / input_frame_bytes,
                                                 output.data(), output.size() / output_frame_bytes);
        return {output.data(), frames * output_frame_bytes};
    }

private:
    // Takes all frames of the input and gives the count of those written; 0 on failure.
    virtual std::size_t convertFrames(const uint8_t *source, std::size_t source_frames,
                                      uint8_t *target, std::size_t target_frames) = 0;

    conversion wanted;
    std::size_t input_frame_bytes;
    std::size_t output_frame_bytes;
    std::vector<uint8_t> output;
};
