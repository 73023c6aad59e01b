#pragma once

#include "core/instance.h"

// audioConverterNew for a record that is not null, with the kernels given.
audio_converter *createConverter(callback_lookup lookup, const audio_converter_settings &settings,
                                 const kernel_set &kernels);

// Attaches a stream to an output slot, 0 to 7, for audioConverterInit (all channels) or
// audioConverterInitChannel (`separate`).
int32_t attachStream(audio_converter &converter, bufstream *stream, unsigned slot, bool separate);

// Releases a converter and all that it owns.
void releaseConverter(audio_converter &converter);
