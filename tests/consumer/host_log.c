// The log, in a buffer of fixed size: what does not fit is lost.
#include <stdarg.h>
#include <stdio.h>
#include <string.h>

#include <sigkit/sigkit_host.h>

#include "host.h"

static char g_text[65536];

const char *HostLog(void)
{
    return g_text;
}

void SigkitLogPrint(int level, const char *file, int line, const char *function, uint32_t errorCode,
                    const char *message)
{
    (void)file;
    const size_t used = strlen(g_text);
    (void)snprintf(g_text + used, sizeof(g_text) - used, "%s %s(%d) %08x %s\n", level == 0 ? "error" : "warning",
                   function, line, (unsigned)errorCode, message == NULL ? "" : message);
}

// Formats at most `count` characters and a NUL, and returns their number, or -1.
int vsnprintf_s(char *buffer, size_t bufferSize, size_t count, const char *format, va_list arguments)
{
    if (buffer == NULL || format == NULL || count >= bufferSize) {
        return -1;
    }
    const int length = vsnprintf(buffer, count + 1, format, arguments);
    return length < 0 || (size_t)length > count ? -1 : length;
}
