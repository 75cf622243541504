#ifndef TAVMMS_HEXDUMP_H
#define TAVMMS_HEXDUMP_H

#include <QByteArray>

namespace tavmms {

// The dump lines of MMS_UTIL_Tool::logOut: per 16 bytes "%02x " each, ten blanks, then each byte
// as itself when 32..127 (127 included) else "."; a last line for the remaining bytes with three
// blanks for each missing column, composed even when nothing remains. Each line ends in "\n".
QByteArray hexDumpLines(const unsigned char* data, unsigned int length);

} // namespace tavmms

#endif
