#pragma once

#include "zt_trans_audio_converter.h"

// One int32 array per slot, each positioned at the first sample to read or write. The caller
// guarantees room for the samples it asks for.
using channel_pointers = int32_t *[AUDIO_MAX_CHANNELS];
