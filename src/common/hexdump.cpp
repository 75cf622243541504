#include "hexdump.h"

#include <cstdio>

namespace tavmms {

namespace {

void appendLine(QByteArray& out, const unsigned char* bytes, unsigned int count)
{
    char hex[4];
    for (unsigned int i = 0; i < 16; ++i) {
        if (i < count) {
            std::snprintf(hex, sizeof hex, "%02x ", bytes[i]);
            out += hex;
        } else {
            out += "   ";
        }
    }
    out += QByteArray(10, ' ');
    for (unsigned int i = 0; i < count; ++i)
        out += (bytes[i] >= 32 && bytes[i] <= 127) ? char(bytes[i]) : '.';
    out += '\n';
}

} // namespace

QByteArray hexDumpLines(const unsigned char* data, unsigned int length)
{
    QByteArray out;
    const unsigned int full = data ? length / 16 : 0;
    for (unsigned int line = 0; line < full; ++line)
        appendLine(out, data + line * 16, 16);
    appendLine(out, data ? data + full * 16 : nullptr, data ? length % 16 : 0);
    return out;
}

} // namespace tavmms
