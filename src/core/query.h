#pragma once

#include "zt_trans_audio_converter.h"

// The function that audioConverterGetAPIExt hands out.
int32_t audioConverterQuery(int32_t id, void *out);
