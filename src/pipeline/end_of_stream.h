#pragma once

#include "core/instance.h"

// audioConverterDone for a converter that is not null.
uint32_t endStream(audio_converter &converter, uint32_t discard_tail);
