// Raw AES3 input, decoded to 32-bit PCM by a converter of its own: its output shows where a
// stream is not what it should be, which a converter answers with silence.
#include "audio_source.h"

#include "errors.h"

#include <algorithm>

namespace {

// Bytes of a read: so many always hold a whole frame.
constexpr size_t BLOCK_BYTES = 1 << 16;

// All that comes out of the bytes.
std::vector<uint8_t> convertOnce(const audio_converter_settings &settings,
                                 std::span<const uint8_t> bytes) {
    std::vector<uint8_t> output;
    side_converter converter(settings, [&](std::span<const uint8_t> more) {
        output.insert(output.end(), more.begin(), more.end());
    });
    converter.put(bytes);
    return output;
}

// One block with one frame that no stream is likely to hold.
std::vector<uint8_t> markerBlock(const byte_format &bytes) {
    const byte_format plain{AUDIO_FORMAT_PCM, 16, bytes.channels, bytes.rate};
    return convertOnce(formatChange(plain, bytes.format, bytes.bits),
                       std::vector<uint8_t>(size_t{2} * bytes.channels, 0x5A));
}

class aes3_source : public audio_source {
public:
    aes3_source(std::unique_ptr<byte_reader> open_reader, source_description what, bool ignore)
        : reader(std::move(open_reader)), marker(markerBlock(what.bytes)),
          settings(formatChange(what.bytes, AUDIO_FORMAT_PCM, 32)),
          decoder(settings,
                  [this](auto more) { decoded.insert(decoded.end(), more.begin(), more.end()); }),
          ignore_length(ignore) {
        description = std::move(what);
        description.bytes.format = AUDIO_FORMAT_PCM;
        description.bytes.bits = 32;
    }

    size_t read(std::span<uint8_t> bytes) override {
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
        if (decoded.empty() && block.size() == BLOCK_BYTES) {
            throw conversion_error(description.name + ": no AES3 of the given depth and channels");
        }
    }

    // The marker comes out as it is only where a block may begin.
    void checkEnd() {
        decoder.put(marker);
        if (decoded != convertOnce(settings, marker)) {
            reportLength(description.name,
                         "ends in the middle of a block, or is no AES3 of the given depth and "
                         "channels",
                         ignore_length);
        }
        decoded.clear();
    }

    std::unique_ptr<byte_reader> reader;
    std::vector<uint8_t> marker;
    audio_converter_settings settings;
    std::vector<uint8_t> decoded;
    side_converter decoder;
    bool ignore_length;
    std::vector<uint8_t> block;
    size_t taken = 0; // of the decoded bytes
    bool at_end = false;
};

} // namespace

std::unique_ptr<audio_source> makeAes3Source(std::unique_ptr<byte_reader> reader,
                                             source_description what, bool ignore_length) {
    checkSettings(formatChange(what.bytes, AUDIO_FORMAT_PCM, 32));
    return std::make_unique<aes3_source>(std::move(reader), std::move(what), ignore_length);
}
