#pragma once

#include "api/instance.h"

// Settles how output is cut and shared out among the streams attached so far.
void planOutput(audio_converter &converter);
