#include "conversion.h"

#include "block_reader.h"
#include "errors.h"
#include "library_host.h"

#include <algorithm>
#include <chrono>

namespace {

constexpr size_t AES3_HEADER_BYTES = 4;

class conversion_run {
public:
    explicit conversion_run(conversion_work &to_do)
        : work(to_do), converter(newConverter(to_do.plan.settings)) {
        makeMeters();
        attachStreams();
    }

    conversion_outcome run() {
        const auto start = std::chrono::steady_clock::now();
        if (work.plan.split_speakers.empty()) {
            feedInterleaved();
        } else {
            feedSeparately();
        }
        check(audioConverterDone(converter.get(), 0));
        finish();
        const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
        outcome.seconds = elapsed.count();
        return std::move(outcome);
    }

private:
    void makeMeters() {
        if (!work.measure_levels) {
            return;
        }
        for (const auto &source : work.sources) {
            outcome.input_meters.push_back(std::make_unique<level_meter>(
                source->description.bytes, source->description.depth));
        }
        for (const output_target &target : work.plan.targets) {
            outcome.output_meters.push_back(
                std::make_unique<level_meter>(target.bytes, target.bytes.bits));
        }
    }

    void attachStreams() {
        const audio_converter_settings &settings = work.plan.settings;
        for (size_t k = 0; k < work.sinks.size(); ++k) {
            streams.push_back(std::make_unique<output_stream>(
                settings.out_frame_size + AES3_HEADER_BYTES,
                [this, k](std::span<const uint8_t> bytes) { takeOutput(k, bytes); }));
            bufstream *operations = streams.back()->operations();
            if (settings.output_separate_channels) {
                audioConverterInitChannel(converter.get(), operations, static_cast<int32_t>(k));
            } else {
                audioConverterInit(converter.get(), operations);
            }
        }
    }

    void takeOutput(size_t k, std::span<const uint8_t> bytes) {
        if (k == 0) {
            outcome.output_frames += frameCount(work.plan.targets[k].bytes, bytes.size());
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

    void feedInterleaved() {
        block_sizes sizes(work.block);
        block_reader reader(*work.sources[0], work.block.byte_count);
        for (;;) {
            const std::span<const uint8_t> block = reader.next(sizes.next());
            if (block.empty()) {
                break;
            }
            measureInput(0, block);
            check(audioConverterPutBytes(converter.get(), block.data(),
                                         static_cast<uint32_t>(block.size())));
            work.progress.update(work.sources[0]->framesRead());
        }
        outcome.input_frames = work.sources[0]->framesRead();
    }

    // One block of every channel in turn, so that no channel runs ahead and memory stays
    // constant. Blocks are whole groups: the library drops a part of a sample at the end.
    void feedSeparately() {
        const size_t group = groupBytes(work.sources[0]->description.bytes);
        block_sizes sizes(work.block);
        std::vector<block_reader> readers;
        for (const auto &source : work.sources) {
            readers.emplace_back(*source, work.block.byte_count + group);
        }
        std::vector<bool> ended(readers.size(), false);
        while (std::ranges::count(ended, false) > 0) {
            const size_t byte_count = (sizes.next() + group - 1) / group * group;
            for (size_t k = 0; k < readers.size(); ++k) {
                if (!ended[k]) {
                    ended[k] = !feedOneChannel(k, readers[k].next(byte_count));
                }
            }
            work.progress.update(longestRead());
        }
        outcome.input_frames = longestRead();
    }

    bool feedOneChannel(size_t k, std::span<const uint8_t> block) {
        const unsigned speaker = work.plan.split_speakers[k];
        if (block.empty()) {
            check(audioConverterNoMoreDataInChannel(converter.get(), speaker));
            return false;
        }
        measureInput(k, block);
        check(audioConverterPutBytesOneChannel(converter.get(), block.data(),
                                               static_cast<uint32_t>(block.size()),
                                               static_cast<uint8_t>(speaker)));
        return true;
    }

    uint64_t longestRead() const {
        uint64_t frames = 0;
        for (const auto &source : work.sources) {
            frames = std::max(frames, source->framesRead());
        }
        return frames;
    }

    // After every call: a stream's own fault tells more than the library's status.
    void check(uint32_t status) const {
        for (const auto &stream : streams) {
            stream->rethrow();
        }
        if (status == 0) {
            return;
        }
        const std::string reason = takeLibraryMessage();
        throw conversion_error(!reason.empty() ? reason : "the library is out of memory");
    }

    void finish() {
        const uint64_t expected = predictFrames(work.plan.settings, outcome.input_frames);
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
    std::vector<std::unique_ptr<output_stream>> streams;
    converter_pointer converter;
};

} // namespace

conversion_outcome runConversion(conversion_work &work) {
    return conversion_run(work).run();
}
