#pragma once

#include "core/instance.h"

// audioConverterPutBytes for a converter that is not null.
uint32_t putInterleaved(audio_converter &converter, const uint8_t *bytes, uint32_t byte_count);
