#include "core/host.h"
#include "core/printers.h"
#include "core/settings.h"

#include <bit>

namespace {

bool isPcmDepth(uint8_t bits) {
    return bits == 8 || bits == 16 || bits == 24 || bits == 32;
}

bool isPackedDepth(uint8_t bits) {
    return bits == 16 || bits == 20 || bits == 24;
}

bool isAes3ChannelCount(uint8_t channels) {
    return channels == 2 || channels == 4 || channels == 6 || channels == 8;
}

int countSpeakers(uint32_t mask) {
    return std::popcount(mask & KNOWN_SPEAKERS);
}

// A map gives every speaker of the mask, and no other, a place of its own in 1..channels.
bool isValidOrderMap(const uint8_t *map, uint32_t mask, uint8_t channels) {
    uint32_t places_used = 0;
    for (unsigned k = 0; k < AUDIO_MAX_CHANNELS; ++k) {
        const uint8_t place = map[k];
        const bool present = (mask >> k & 1) != 0;
        if (place > AUDIO_MAX_CHANNELS || (place != 0) != present) {
            return false;
        }
        if (place == 0) {
            continue;
        }
        const uint32_t place_bit = uint32_t{1} << place;
        if (place > channels || (places_used & place_bit) != 0) {
            return false;
        }
        places_used |= place_bit;
    }
    return true;
}

// The checks below work on effective settings, in the order of their codes. Each prints the
// message of its first failure and returns false.

bool checkCountsAndFormats(const audio_converter_settings &s, host_printer print) {
    if (s.input_channels < 1 || s.input_channels > AUDIO_MAX_CHANNELS) {
        print("V01:Invalid input channels number (%d), range is 1 .. %d.", s.input_channels,
              AUDIO_MAX_CHANNELS);
        return false;
    }
    if (s.output_channels < 1 || s.output_channels > AUDIO_MAX_CHANNELS) {
        print("V02:Invalid output channels number (%d), range is 1 .. %d.", s.output_channels,
              AUDIO_MAX_CHANNELS);
        return false;
    }
    if (s.input_format < AUDIO_FORMAT_PCM || s.input_format > AUDIO_FORMAT_FLOAT) {
        print("V03:Invalid input format (%d), range is 1 .. 5.", s.input_format);
        return false;
    }
    if (s.output_format < AUDIO_FORMAT_PCM || s.output_format > AUDIO_FORMAT_FLOAT) {
        print("V04:Invalid output format (%d), range is 1 .. 5.", s.output_format);
        return false;
    }
    return true;
}

bool checkAes3(const audio_converter_settings &s, host_printer print) {
    if (s.input_format == AUDIO_FORMAT_AES3 && !isAes3ChannelCount(s.input_channels)) {
        print("V05:Invalid intput channels number (%d) for AES3, range is 2, 4, 6, 8.",
              s.input_channels);
        return false;
    }
    if (s.input_format == AUDIO_FORMAT_AES3 && !isPackedDepth(s.input_bits_per_sample)) {
        print("V06:Invalid intput bits per sample (%d) for AES3, range is 16, 20, 24.",
              s.input_bits_per_sample);
        return false;
    }
    if (s.output_format == AUDIO_FORMAT_AES3 && !isAes3ChannelCount(s.output_channels)) {
        print("V07:Invalid output channels number (%d) for AES3, range is 2, 4, 6, 8.",
              s.output_channels);
        return false;
    }
    if (s.output_format == AUDIO_FORMAT_AES3 && !isPackedDepth(s.output_bits_per_sample)) {
        print("V08:Invalid output bits per sample (%d) for AES3, range is 16, 20, 24.",
              s.output_bits_per_sample);
        return false;
    }
    return true;
}

bool checkPcm(const audio_converter_settings &s, host_printer print) {
    if (s.input_format == AUDIO_FORMAT_PCM && !isPcmDepth(s.input_bits_per_sample)) {
        print("V09:Invalid intput bits per sample (%d) for PCM, range is 8, 16, 24, 32.",
              s.input_bits_per_sample);
        return false;
    }
    if (s.output_format == AUDIO_FORMAT_PCM && !isPcmDepth(s.output_bits_per_sample)) {
        print("V10:Invalid output bits per sample (%d) for PCM, range is 8, 16, 24, 32.",
              s.output_bits_per_sample);
        return false;
    }
    return true;
}

bool checkFloat(const audio_converter_settings &s, host_printer print) {
    if (s.input_format == AUDIO_FORMAT_FLOAT && s.input_bits_per_sample != 32) {
        print("V09:Invalid intput bits per sample (%d) for FLOAT, should be 32.",
              s.input_bits_per_sample);
        return false;
    }
    if (s.output_format == AUDIO_FORMAT_FLOAT && s.output_bits_per_sample != 32) {
        print("V10:Invalid output bits per sample (%d) for FLOAT, should be 32.",
              s.output_bits_per_sample);
        return false;
    }
    return true;
}

bool checkLpcm(const audio_converter_settings &s, host_printer print) {
    if (travelsInPairs(s.input_format) && !isPackedDepth(s.input_bits_per_sample)) {
        print("V11:Invalid input bits per sample (%d), range is 16, 20, 24.",
              s.input_bits_per_sample);
        return false;
    }
    if (travelsInPairs(s.output_format) && !isPackedDepth(s.output_bits_per_sample)) {
        print("V12:Invalid input bits per sample (%d), range is 16, 20, 24.",
              s.output_bits_per_sample);
        return false;
    }
    return true;
}

bool checkRates(const audio_converter_settings &s, host_printer print) {
    if (s.input_sample_rate == 0) {
        print("V13:Invalid input sample rate (%d).", 0);
        return false;
    }
    if (s.output_sample_rate == 0) {
        print("V14:Invalid output sample rate (%d).", 0);
        return false;
    }
    return true;
}

// A faulty map is refused without a message.
bool checkOrderMaps(const audio_converter_settings &s) {
    if (s.input_order_map_enabled != 0 &&
        !isValidOrderMap(s.input_order_map, s.input_channel_mask, s.input_channels)) {
        return false;
    }
    return s.output_order_map_enabled == 0 ||
           isValidOrderMap(s.output_order_map, s.output_channel_mask, s.output_channels);
}

bool checkMasks(const audio_converter_settings &s, host_printer print) {
    if (countSpeakers(s.input_channel_mask) != s.input_channels) {
        print("V15:Invalid channel mask (%d) for (%d) input channels.",
              static_cast<int>(s.input_channel_mask), s.input_channels);
        return false;
    }
    if (countSpeakers(s.output_channel_mask) != s.output_channels) {
        print("V16:Invalid channel mask (%d) for (%d) output channels.",
              static_cast<int>(s.output_channel_mask), s.output_channels);
        return false;
    }
    return true;
}

bool checkFrameSize(const audio_converter_settings &s, host_printer print) {
    if (s.out_frame_size == 0) {
        print("V17:Invalid out frame size (%d).", 0);
        return false;
    }
    return true;
}

} // namespace

int32_t checkSettings(callback_lookup lookup, const audio_converter_settings &settings) {
    host_printer print = lookupFunction<host_printer>(lookup, "err_printf");
    if (print == nullptr) {
        print = builtin_err_printf;
    }
    audio_converter_settings effective = settings;
    fillEffectiveSettings(effective);
    const bool valid = checkCountsAndFormats(effective, print) && checkAes3(effective, print) &&
                       checkPcm(effective, print) && checkFloat(effective, print) &&
                       checkLpcm(effective, print) && checkRates(effective, print) &&
                       checkOrderMaps(effective) && checkMasks(effective, print) &&
                       checkFrameSize(effective, print);
    return valid ? 0 : 1;
}
