#include "audio_sink.h"
#include "errors.h"
#include "temporary_file.h"
#include "wav_header.h"

namespace {

bool isStream(const output_target &target) {
    return target.path == "-" || isSpecialFile(target.path);
}

} // namespace

std::optional<uint64_t> dataBytes(const output_target &target) {
    if (!target.frame_count) {
        return std::nullopt;
    }
    const bool pairs = target.bytes.format == AUDIO_FORMAT_LPCM_PAIRED ||
                       target.bytes.format == AUDIO_FORMAT_LPCM_BE;
    if (target.bytes.format == AUDIO_FORMAT_AES3) {
        return *target.frame_count * target.bytes.channels * (target.bytes.bits + 4u) / 8;
    }
    return *target.frame_count / (pairs ? 2 : 1) * groupBytes(target.bytes);
}

uint32_t waveMask(const output_target &target) {
    const bool deep = target.bytes.format == AUDIO_FORMAT_PCM && target.bytes.bits > 16;
    if (target.usual_positions && target.bytes.channels <= 2 && !deep) {
        return 0;
    }
    uint32_t mask = 0;
    for (const unsigned position : target.positions) {
        mask |= 1u << position;
    }
    return mask;
}

std::string targetKind(const output_target &target) {
    switch (target.type) {
    case file_type::AIFF:
        return "AIFF";
    case file_type::CAF:
        return "CAF";
    case file_type::RAW:
        return "raw";
    default:
        return dataBytes(target).value_or(0) > RIFF_DATA_LIMIT ? "RF64" : "WAV";
    }
}

void checkTarget(const output_target &target) {
    const bool seeks = target.type == file_type::AIFF || target.type == file_type::CAF;
    if (seeks && isStream(target)) {
        throw conversion_error(targetKind(target) + " cannot be written to a stream; " +
                               "use --type wav or raw");
    }
    if (target.type == file_type::AIFF && dataBytes(target).value_or(0) > RIFF_DATA_LIMIT) {
        throw conversion_error(target.path + ": AIFF cannot hold more than 4 GiB; use wav or caf");
    }
    if (target.path != "-") {
        checkWritable(target.path);
    }
}

std::unique_ptr<audio_sink> openSink(const output_target &target) {
    checkTarget(target);
    if (target.type == file_type::RAW || isStream(target)) {
        return makeStreamSink(target);
    }
    return makeSoundFileSink(target);
}
