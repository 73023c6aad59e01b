#pragma once

#include "core/instance.h"

// audioConverterPutBytesOneChannel for a converter that is not null.
uint32_t putOneChannel(audio_converter &converter, const uint8_t *bytes, uint32_t byte_count,
                       unsigned channel);

// audioConverterNoMoreDataInChannel for a converter that is not null.
uint32_t endChannel(audio_converter &converter, uint32_t channel);
