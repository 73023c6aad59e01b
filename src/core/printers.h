#pragma once

#include "zt_trans_audio_converter.h"

// Stands in for validation's missing err_printf: one line on standard output per message. What
// exceeds 510 characters is cut off.
int builtin_err_printf(const char *format, ...);

// Stands in for every printer that a converter's host does not supply.
int null_printf(const char *format, ...);
