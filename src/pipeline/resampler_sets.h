#pragma once

#include "core/instance.h"
#include "resampler/resampler.h"

inline resampler_sets setsOf(audio_converter &converter) {
    return {converter.memory, converter.work, converter.resampled};
}
