#include "core/printers.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

int builtin_err_printf(const char *format, ...) {
    char line[512];
    va_list arguments;
    va_start(arguments, format);
    const int length = vsnprintf(line, sizeof line - 1, format, arguments);
    va_end(arguments);
    if (length < 0) {
        return length;
    }
    const size_t end = strlen(line);
    line[end] = '\n';
    line[end + 1] = '\0';
    return fputs(line, stdout);
}

int null_printf(const char * /*format*/, ...) {
    return 0;
}
