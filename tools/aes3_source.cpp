#include "aes3_source.h"

#include "errors.h"
#include "library_host.h"

#include <algorithm>

namespace {

// Bytes of a read: so many always hold a whole frame.
constexpr size_t BLOCK_BYTES = 1 << 16;

// A converter with its output in memory.
class memory_converter {
public:
    explicit memory_converter(const audio_converter_settings &settings)
        : stream(settings.out_frame_size + 4u,
                 [this](std::span<const uint8_t> bytes) {
                     output.insert(output.end(), bytes.begin(), bytes.end());
                 }),
          converter(newConverter(settings)) {
        audioConverterInit(converter.get(), stream.operations());
    }

    // Bytes that come out of the given ones are behind those in `output`.
    void put(std::span<const uint8_t> bytes) {
        if (audioConverterPutBytes(converter.get(), bytes.data(),
                                   static_cast<uint32_t>(bytes.size())) != 0) {
            throw conversion_error("out of memory");
        }
    }

    std::vector<uint8_t> output;

private:
    output_stream stream;
    converter_pointer converter;
};

audio_converter_settings decoderSettings(const byte_format &bytes) {
    audio_converter_settings settings = plainSettings(bytes.format, bytes.bits, bytes.channels);
    settings.output_format = AUDIO_FORMAT_PCM;
    settings.output_bits_per_sample = 32;
    return settings;
}

// One block of AES3 with one frame that no stream is likely to hold.
std::vector<uint8_t> markerBlock(const byte_format &bytes) {
    audio_converter_settings settings = plainSettings(AUDIO_FORMAT_PCM, 16, bytes.channels);
    settings.output_format = bytes.format;
    settings.output_bits_per_sample = bytes.bits;
    memory_converter encoder(settings);
    encoder.put(std::vector<uint8_t>(size_t{2} * bytes.channels, 0x5A));
    return encoder.output;
}

class aes3_source : public audio_source {
public:
    aes3_source(std::unique_ptr<byte_reader> open_reader, source_description what, bool ignore)
        : reader(std::move(open_reader)), marker(markerBlock(what.bytes)),
          settings(decoderSettings(what.bytes)), decoder(settings), ignore_length(ignore) {
        description = std::move(what);
        description.bytes.format = AUDIO_FORMAT_PCM;
        description.bytes.bits = 32;
    }

    size_t read(std::span<uint8_t> bytes) override {
        std::vector<uint8_t> &decoded = decoder.output;
        while (decoded.size() == taken && !at_end) {
            decoded.clear();
            taken = 0;
            decodeBlock();
        }
        const size_t frame_bytes = size_t{4} * description.bytes.channels;
        const size_t room = bytes.size() / frame_bytes * frame_bytes;
        const size_t count = std::min(room, decoded.size() - taken);
        std::copy_n(decoded.begin() + static_cast<std::ptrdiff_t>(taken), count, bytes.begin());
        taken += count;
        return count;
    }

private:
    void decodeBlock() {
        block.resize(BLOCK_BYTES);
        block.resize(reader->read(block));
        at_end = block.empty();
        if (at_end) {
            return checkEnd();
        }
        decoder.put(block);
        if (decoder.output.empty() && block.size() == BLOCK_BYTES) {
            throw conversion_error(description.name +
                                   ": no AES3 block of the given depth and channels near byte " +
                                   std::to_string(byte_count));
        }
        byte_count += block.size();
    }

    // The marker comes out as it is only where a block may begin.
    void checkEnd() {
        memory_converter fresh(settings);
        fresh.put(marker);
        decoder.put(marker);
        if (decoder.output != fresh.output) {
            reportLength(description.name,
                         "ends in the middle of a block, or is no AES3 of the given depth and "
                         "channels",
                         ignore_length);
        }
        decoder.output.clear();
    }

    std::unique_ptr<byte_reader> reader;
    std::vector<uint8_t> marker;
    audio_converter_settings settings;
    memory_converter decoder;
    bool ignore_length;
    std::vector<uint8_t> block;
    uint64_t byte_count = 0; // decoded so far
    size_t taken = 0;        // of decoder.output
    bool at_end = false;
};

} // namespace

std::unique_ptr<audio_source> makeAes3Source(std::unique_ptr<byte_reader> reader,
                                             source_description what, bool ignore_length) {
    checkSettings(decoderSettings(what.bytes));
    return std::make_unique<aes3_source>(std::move(reader), std::move(what), ignore_length);
}
