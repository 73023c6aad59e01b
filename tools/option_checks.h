// What the options decide among themselves, before any file is opened.
#pragma once

#include "options.h"

// Throws usage_error when they contradict each other or something is missing.
void checkOptions(const tool_options &options);
