/* zt_trans_audio_converter.hpp: the converter for hosts in C++17. A header alone, on the functions
 * of zt_trans_audio_converter.h; what a conversion does is said there.
 *
 *     zt::converter song(zt::makeSettings({zt::format::pcm, 16, zt::layout::stereo, 44100},
 *                                         {zt::format::pcm, 24, zt::layout::stereo, 48000}),
 *                        [](const uint8_t *bytes, size_t n) { return fwrite(bytes, 1, n, out); });
 *     while ((n = fread(block, 1, sizeof block, in)) > 0) { song.put(block, n); }
 *     bool complete = song.finish();
 *
 * A SINK is any callable that gets a pointer to bytes and their count, and returns how many of them
 * it took, from the first on. It is offered the rest until it takes none. What is left waits
 * inside, in order, and the next call offers it first. A sink needs no room for a whole frame: a
 * ring takes what fits before its wrap, and then the rest.
 *
 * When a sink throws, it has taken nothing of that offer. The exception does not pass through the
 * library: it leaves the call that was offering, at its end. A sink must not call, move or destroy
 * its own converter (a call throws std::logic_error); it may call other converters. */
#ifndef ZT_TRANS_AUDIO_CONVERTER_HPP
#define ZT_TRANS_AUDIO_CONVERTER_HPP

#include "zt_trans_audio_converter.h"

#include <algorithm>
#include <bitset>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <exception>
#include <functional>
#include <memory>
#include <stdexcept>
#include <utility>
#include <vector>

namespace zt {

/* AUDIO_FORMAT_*. */
enum class format : uint8_t { pcm = 1, lpcm_paired, lpcm_be, aes3, float32 };

/* Masks of speakers; layout{mask} is any other. Mono is the centre: stereo has it on both sides. */
enum class layout : uint32_t { mono = 4, stereo = 3, quad = 51, film_5_1 = 63, all_7_1 = 255 };

/* One side of a conversion. */
struct audio {
    format coding;        /* of a sample */
    uint8_t bits;         /* of a sample */
    layout speakers;      /* as many as there are channels */
    uint32_t sample_rate; /* Hz */
};

/* The record of the C interface; its further fields may be set in the result. */
inline audio_converter_settings makeSettings(const audio &input, const audio &output,
                                             uint32_t out_frame_size = 65536) {
    audio_converter_settings settings = {};
    settings.input_format = static_cast<uint8_t>(input.coding);
    settings.input_bits_per_sample = input.bits;
    settings.input_channel_mask = static_cast<uint32_t>(input.speakers);
    settings.input_sample_rate = input.sample_rate;
    settings.output_format = static_cast<uint8_t>(output.coding);
    settings.output_bits_per_sample = output.bits;
    settings.output_channel_mask = static_cast<uint32_t>(output.speakers);
    settings.output_sample_rate = output.sample_rate;
    settings.out_frame_size = out_frame_size;
    using mask = std::bitset<AUDIO_MAX_CHANNELS>;
    settings.input_channels = static_cast<uint8_t>(mask(settings.input_channel_mask).count());
    settings.output_channels = static_cast<uint8_t>(mask(settings.output_channel_mask).count());
    return settings;
}

/* A call that failed and took nothing; what() is the library's message, if it had one. */
struct error : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/* Owns a converter of interleaved audio and its sink. It may move between calls; a source of a move
 * may only be assigned to or destroyed. Converters with separate channels need the C functions. */
class converter {
public:
    /* Throws zt::error when the settings are refused. The sink has to be copyable (std::ref helps).
     * It is offered at most settings.out_frame_size bytes, or 1 MiB, and 4 more. */
    template <class Sink>
    converter(const audio_converter_settings &settings, Sink sink)
        : state(std::make_unique<instance>()) {
        state->sink = std::move(sink);
        state->area.resize(std::min(uint32_t{settings.out_frame_size}, 1u << 20) + 4);
        message[0] = 0;
        state->handle.reset(audioConverterNew(findFunction, &settings));
        check(state->handle != nullptr, "no memory, a faulty order map or coprime rates");
        check(audioConverterInit(state->handle.get(), state.get()) == 0, "no output");
    }

    /* Converts a block of interleaved input, cut anywhere. True: all that could come out is with
     * the sink. False: the block is taken, but output waits; put(nullptr, 0) offers it again.
     * Throws zt::error when nothing was taken; when the sink threw, the block is taken. */
    bool put(const void *bytes, size_t byte_count) {
        return run(audioConverterPutBytes, static_cast<const uint8_t *>(bytes),
                   static_cast<uint32_t>(std::min<size_t>(byte_count, UINT32_MAX)));
    }

    /* The same for all elements of an array or vector. */
    template <class Elements>
    bool put(const Elements &block) {
        return put(std::data(block), std::size(block) * sizeof *std::data(block));
    }

    /* Ends the stream. False: output waits for the sink; call again. Once true, it stays true. */
    [[nodiscard]] bool finish() {
        return run(audioConverterDone, 0u);
    }

private:
    /* What the library's callbacks refer to; it stays in place when the converter moves. */
    struct instance : bufstream {
        instance() : bufstream{areaBytes, nextArea, takeChunk, nullptr, nullptr, [](auto...) {}} {
        }
        std::function<size_t(const uint8_t *, size_t)> sink;
        std::vector<uint8_t> area; /* its bytes from start to end wait for the sink */
        size_t start = 0, end = 0;
        std::exception_ptr thrown; /* by the sink, in this call */
        bool running = false, refused = false;
        std::unique_ptr<audio_converter, decltype(&audioConverterFree)> handle{nullptr,
                                                                               audioConverterFree};
    };
    std::unique_ptr<instance> state;

    /* The library's last message on this thread: its callbacks carry no context. */
    static inline thread_local char message[512] = {};

    template <class Function, class... Arguments>
    bool run(Function call, Arguments... arguments) {
        instance &own = *state;
        if (std::exchange(own.running, true)) {
            throw std::logic_error("a sink called its own converter");
        }
        own.refused = false;
        offer(own);
        message[0] = 0;
        const bool failed = call(own.handle.get(), arguments...) != 0;
        own.running = false;
        const std::exception_ptr thrown = std::exchange(own.thrown, nullptr);
        check(!failed || own.refused, "no memory, too large a block or too small a frame size");
        if (thrown != nullptr) {
            std::rethrow_exception(thrown);
        }
        return !own.refused && own.start == own.end;
    }

    static void offer(instance &own) noexcept {
        try {
            for (size_t taken = 1; taken != 0 && own.start < own.end; own.start += taken) {
                taken = own.sink(own.area.data() + own.start, own.end - own.start);
                if (taken > own.end - own.start) {
                    throw std::logic_error("a sink took more than it was offered");
                }
            }
        } catch (...) {
            own.thrown = std::current_exception();
        }
    }

    static uint8_t *nextArea(bufstream *stream, uint32_t) noexcept {
        instance &own = *static_cast<instance *>(stream);
        own.refused = own.start < own.end || own.thrown != nullptr;
        return own.refused ? nullptr : own.area.data();
    }

    static uint32_t areaBytes(bufstream *stream) noexcept {
        return static_cast<uint32_t>(static_cast<instance *>(stream)->area.size());
    }

    static void takeChunk(bufstream *stream, uint32_t byte_count) noexcept {
        instance &own = *static_cast<instance *>(stream);
        own.start = 0;
        own.end = byte_count;
        offer(own);
    }

    static int keepMessage(const char *format, ...) noexcept {
        va_list arguments;
        va_start(arguments, format);
        const int length = std::vsnprintf(message, sizeof message, format, arguments);
        va_end(arguments);
        return length;
    }

    static host_function findFunction(const char *name) noexcept {
        const bool printer = std::strcmp(name, "err_printf") == 0;
        return printer ? reinterpret_cast<host_function>(keepMessage) : nullptr;
    }

    static void check(bool succeeded, const char *otherwise) {
        if (!succeeded) {
            throw error(message[0] != 0 ? message : otherwise);
        }
    }
};

} // namespace zt

#endif
