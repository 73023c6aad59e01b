#include "conversion.h"

#include "dither.h"
#include "errors.h"
#include "library_host.h"
#include "signals.h"

#include <algorithm>
#include <chrono>

namespace {

constexpr size_t AES3_HEADER_BYTES = 4;
constexpr uint64_t DITHER_SEED = 1; // of the first output stream

class conversion_run {
public:
    explicit conversion_run(conversion_work &to_do)
        : work(to_do), converter(newConverter(to_do.plan.settings)) {
        if (work.measure_levels) {
            makeMeters();
        }
        for (size_t k = 0; k < work.sinks.size(); ++k) {
            attachStream(k);
        }
    }

    conversion_outcome run() {
        const auto start = std::chrono::steady_clock::now();
        if (work.plan.split_speakers.empty()) {
            feedInterleaved();
        } else {
            feedSeparately();
        }
        check(audioConverterDone(converter.get(), 0));
        for (const auto &stage : dither_stages) {
            stage->finish();
        }
        finish();
        const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
        outcome.seconds = elapsed.count();
        return std::move(outcome);
    }

private:
    void makeMeters() {
        for (const auto &source : work.sources) {
            outcome.input_meters.push_back(std::make_unique<level_meter>(
                source->description.bytes, source->description.depth));
        }
        for (const output_target &target : work.plan.targets) {
            outcome.output_meters.push_back(
                std::make_unique<level_meter>(target.bytes, target.bytes.bits));
        }
    }

    // Library -> dither stage, if there is one -> sink.
    void attachStream(size_t k) {
        const audio_converter_settings &settings = work.plan.settings;
        output_stream::byte_function take = [this, k](auto bytes) { takeOutput(k, bytes); };
        if (work.plan.dither) {
            dither_stages.push_back(
                std::make_unique<dither_stage>(work.plan.targets[k].bytes, work.plan.write_bytes,
                                               DITHER_SEED + k, std::move(take)));
            take = [stage = dither_stages.back().get()](auto bytes) { stage->take(bytes); };
        }
        streams.push_back(std::make_unique<output_stream>(
            settings.out_frame_size + AES3_HEADER_BYTES, std::move(take)));
        bufstream *operations = streams.back()->operations();
        if (settings.output_separate_channels) {
            audioConverterInitChannel(converter.get(), operations, static_cast<int32_t>(k));
        } else {
            audioConverterInit(converter.get(), operations);
        }
    }

    void takeOutput(size_t k, std::span<const uint8_t> bytes) {
        const byte_format &format = work.plan.targets[k].bytes;
        if (k == 0) {
            outcome.output_frames += audioConverterBytesToSamples(
                static_cast<uint32_t>(bytes.size()), format.format, format.channels, format.bits);
        }
        if (!outcome.output_meters.empty()) {
            outcome.output_meters[k]->takeWritten(bytes);
        }
        work.sinks[k]->write(bytes);
    }

    void measureInput(size_t k, std::span<const uint8_t> bytes) {
        if (!outcome.input_meters.empty()) {
            outcome.input_meters[k]->take(bytes);
        }
    }

    uint64_t countFrames(uint64_t byte_count) const {
        const byte_format &format = work.sources[0]->description.bytes;
        return byte_count / groupBytes(format) * groupFrames(format.format);
    }

    void feedInterleaved() {
        std::vector<uint8_t> buffer(std::max<size_t>(work.block_bytes, 1 << 16));
        uint64_t byte_count = 0;
        while (const size_t count = work.sources[0]->read(buffer)) {
            const auto bytes = std::span<const uint8_t>(buffer).first(count);
            measureInput(0, bytes);
            for (size_t start = 0; start < count; start += work.block_bytes) {
                const auto size = std::min<size_t>(work.block_bytes, count - start);
                check(audioConverterPutBytes(converter.get(), &bytes[start],
                                             static_cast<uint32_t>(size)));
            }
            byte_count += count;
            work.progress.update(countFrames(byte_count));
        }
        outcome.input_frames = countFrames(byte_count);
    }

    // One block of every channel in turn, so that no channel runs ahead and memory stays
    // constant. Blocks are whole groups: the library drops a part of a sample at the end.
    void feedSeparately() {
        const size_t group = groupBytes(work.sources[0]->description.bytes);
        std::vector<uint8_t> buffer((work.block_bytes + group - 1) / group * group);
        std::vector<bool> ended(work.sources.size(), false);
        std::vector<uint64_t> byte_counts(work.sources.size(), 0);
        while (std::ranges::count(ended, false) > 0) {
            for (size_t k = 0; k < ended.size(); ++k) {
                if (!ended[k]) {
                    const size_t count = work.sources[k]->read(buffer);
                    feedOneChannel(k, std::span<const uint8_t>(buffer).first(count));
                    byte_counts[k] += count;
                    ended[k] = count == 0;
                }
            }
            outcome.input_frames = countFrames(*std::ranges::max_element(byte_counts));
            work.progress.update(outcome.input_frames);
        }
    }

    void feedOneChannel(size_t k, std::span<const uint8_t> block) {
        const unsigned speaker = work.plan.split_speakers[k];
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
            throw conversion_error(!reason.empty() ? reason : "the library is out of memory");
        }
    }

    void finish() {
        const uint64_t expected = predictFrames(work.plan, outcome.input_frames);
        if (outcome.output_frames != expected) {
            throw conversion_error(std::to_string(outcome.output_frames) + " frames came out, " +
                                   std::to_string(expected) + " were due");
        }
        for (const auto &sink : work.sinks) {
            sink->finish();
        }
    }

    conversion_work &work;
    conversion_outcome outcome;
    std::vector<std::unique_ptr<dither_stage>> dither_stages;
    std::vector<std::unique_ptr<output_stream>> streams;
    converter_pointer converter;
};

} // namespace

conversion_outcome runConversion(conversion_work &work) {
    return conversion_run(work).run();
}
