#pragma once

#include "zt_trans_audio_converter.h"

// The host's printer of a name, or null. The lookup may be null.
host_printer lookupPrinter(callback_lookup lookup, const char *name);

// Stands in for validation's missing err_printf: one line on standard output per message. What
// exceeds 510 characters is cut off.
int builtin_err_printf(const char *format, ...);

// Stands in for every printer that a converter's host does not supply.
int null_printf(const char *format, ...);
