#include "conversion.h"

#include "dither.h"
#include "errors.h"
#include "library_host.h"
#include "signals.h"

#include <algorithm>

namespace {

constexpr size_t BLOCK_BYTES = 1 << 16; // of an input call, at most
constexpr size_t AES3_HEADER_BYTES = 4;
constexpr uint64_t DITHER_SEED = 1; // of the first output stream

class conversion_run {
public:
    conversion_run(const conversion_plan &to_do,
                   std::span<const std::unique_ptr<audio_source>> from,
                   std::span<const std::unique_ptr<audio_sink>> to, bool measure_levels,
                   progress_line &line)
        : plan(to_do), sources(from), sinks(to), progress(line),
          converter(newConverter(plan.settings)) {
        if (measure_levels) {
            makeMeters();
        }
        for (size_t k = 0; k < sinks.size(); ++k) {
            attachStream(k);
        }
    }

    conversion_outcome run() {
        if (plan.split_speakers.empty()) {
            feedInterleaved();
        } else {
            feedSeparately();
        }
        check(audioConverterDone(converter.get(), 0));
        for (const auto &stage : dither_stages) {
            stage->finish();
        }
        finish();
        return std::move(outcome);
    }

private:
    void makeMeters() {
        for (const auto &source : sources) {
            outcome.input_meters.push_back(std::make_unique<level_meter>(
                source->description.bytes, source->description.depth));
        }
        for (const output_target &target : plan.targets) {
            outcome.output_meters.push_back(
                std::make_unique<level_meter>(target.bytes, target.bytes.bits));
        }
    }

    // Library -> dither stage, if there is one -> sink.
    void attachStream(size_t k) {
        const audio_converter_settings &settings = plan.settings;
        output_stream::byte_function take = [this, k](auto bytes) { takeOutput(k, bytes); };
        if (plan.dither) {
            dither_stages.push_back(std::make_unique<dither_stage>(
                plan.targets[k].bytes, plan.write_bytes, DITHER_SEED + k, std::move(take)));
            take = [stage = dither_stages.back().get()](auto bytes) { stage->take(bytes); };
        }
        streams.push_back(std::make_unique<output_stream>(
            settings.out_frame_size + AES3_HEADER_BYTES, std::move(take)));
        bufstream *stream = streams.back().get();
        if (settings.output_separate_channels) {
            audioConverterInitChannel(converter.get(), stream, static_cast<int32_t>(k));
        } else {
            audioConverterInit(converter.get(), stream);
        }
    }

    void takeOutput(size_t k, std::span<const uint8_t> bytes) {
        const byte_format &format = plan.targets[k].bytes;
        if (k == 0) {
            outcome.output_frames += audioConverterBytesToSamples(
                static_cast<uint32_t>(bytes.size()), format.format, format.channels, format.bits);
        }
        if (!outcome.output_meters.empty()) {
            outcome.output_meters[k]->takeWritten(bytes);
        }
        sinks[k]->write(bytes);
    }

    void measureInput(size_t k, std::span<const uint8_t> bytes) {
        if (!outcome.input_meters.empty()) {
            outcome.input_meters[k]->take(bytes);
        }
    }

    void feedInterleaved() {
        std::vector<uint8_t> buffer(BLOCK_BYTES);
        uint64_t byte_count = 0;
        while (const size_t count = sources[0]->read(buffer)) {
            const auto bytes = std::span<const uint8_t>(buffer).first(count);
            measureInput(0, bytes);
            check(audioConverterPutBytes(converter.get(), bytes.data(),
                                         static_cast<uint32_t>(count)));
            byte_count += count;
            outcome.input_frames = wholeFrames(sources[0]->description.bytes, byte_count);
            progress.update(outcome.input_frames);
        }
    }

    // One block of every channel in turn, so that no channel runs ahead and memory stays
    // constant.
    void feedSeparately() {
        std::vector<uint8_t> buffer(BLOCK_BYTES);
        std::vector<bool> ended(sources.size(), false);
        std::vector<uint64_t> byte_counts(sources.size(), 0);
        while (std::ranges::count(ended, false) > 0) {
            for (size_t k = 0; k < ended.size(); ++k) {
                if (!ended[k]) {
                    const size_t count = sources[k]->read(buffer);
                    feedOneChannel(k, std::span<const uint8_t>(buffer).first(count));
                    byte_counts[k] += count;
                    ended[k] = count == 0;
                }
            }
            outcome.input_frames =
                wholeFrames(sources[0]->description.bytes, std::ranges::max(byte_counts));
            progress.update(outcome.input_frames);
        }
    }

    void feedOneChannel(size_t k, std::span<const uint8_t> block) {
        const unsigned speaker = plan.split_speakers[k];
        if (block.empty()) {
            return check(audioConverterNoMoreDataInChannel(converter.get(), speaker));
        }
        measureInput(k, block);
        check(audioConverterPutBytesOneChannel(converter.get(), block.data(),
                                               static_cast<uint32_t>(block.size()),
                                               static_cast<uint8_t>(speaker)));
    }

    // After every call: a stream's own fault tells more than the library's status.
    void check(uint32_t status) const {
        throwIfInterrupted();
        for (const auto &stream : streams) {
            stream->rethrow();
        }
        if (status != 0) {
            const std::string reason = takeLibraryMessage();
            throw conversion_error(!reason.empty() ? reason : CONVERTER_STOPPED);
        }
    }

    void finish() {
        const uint64_t expected = predictFrames(plan, outcome.input_frames);
        if (outcome.output_frames != expected) {
            throw conversion_error(std::to_string(outcome.output_frames) + " frames came out, " +
                                   std::to_string(expected) + " were due");
        }
        for (const auto &sink : sinks) {
            sink->finish();
        }
    }

    const conversion_plan &plan;
    std::span<const std::unique_ptr<audio_source>> sources;
    std::span<const std::unique_ptr<audio_sink>> sinks;
    progress_line &progress;
    conversion_outcome outcome;
    std::vector<std::unique_ptr<dither_stage>> dither_stages;
    std::vector<std::unique_ptr<output_stream>> streams;
    converter_pointer converter;
};

} // namespace

conversion_outcome runConversion(const conversion_plan &plan,
                                 std::span<const std::unique_ptr<audio_source>> sources,
                                 std::span<const std::unique_ptr<audio_sink>> sinks,
                                 bool measure_levels, progress_line &progress) {
    return conversion_run(plan, sources, sinks, measure_levels, progress).run();
}
