#pragma once

#include "core/instance.h"

// Computes how output is cut and shared out among the streams attached so far.
void computeOutputLimits(audio_converter &converter);
