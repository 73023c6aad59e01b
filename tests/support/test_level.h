#pragma once

#include "simd/kernels.h"
#include "zt_trans_audio_converter.h"

// For programs that are compiled with audioConverterNew defined as createAtTestLevel: the same
// sources then create their converters with the kernels of this level.
extern cpu_level test_level;

extern "C" audio_converter *createAtTestLevel(callback_lookup lookup,
                                              const audio_converter_settings *settings);
