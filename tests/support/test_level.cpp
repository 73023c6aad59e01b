#include "support/test_level.h"

#include "pipeline/lifecycle.h"

cpu_level test_level = CPU_PLAIN;

audio_converter *createAtTestLevel(callback_lookup lookup,
                                   const audio_converter_settings *settings) {
    return settings == nullptr ? nullptr
                               : createConverter(lookup, *settings, kernelsOf(test_level));
}
