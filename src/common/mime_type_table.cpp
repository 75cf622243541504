#include "mime_type_table.h"

#include <cctype>
#include <cstring>

extern "C" {

const char* const mime_type_names[MIME_TYPE_COUNT] = {
    "*/*",                                       // 0x00
    "text/*",                                    // 0x01
    "text/html",                                 // 0x02
    "text/plain",                                // 0x03
    "text/x-hdml",                               // 0x04
    "text/x-ttml",                               // 0x05
    "text/x-vCalendar",                          // 0x06
    "text/x-vCard",                              // 0x07
    "text/vnd.wap.wml",                          // 0x08
    "text/vnd.wap.wmlscript",                    // 0x09
    "text/vnd.wap.wta-event",                    // 0x0A
    "multipart/*",                               // 0x0B
    "multipart/mixed",                           // 0x0C
    "multipart/form-data",                       // 0x0D
    "multipart/byterantes",                      // 0x0E, spelled so in stored data
    "multipart/alternative",                     // 0x0F
    "application/*",                             // 0x10
    "application/java-vm",                       // 0x11
    "application/x-www-form-urlencoded",         // 0x12
    "application/x-hdmlc",                       // 0x13
    "application/vnd.wap.wmlc",                  // 0x14
    "application/vnd.wap.wmlscriptc",            // 0x15
    "application/vnd.wap.wta-eventc",            // 0x16
    "application/vnd.wap.uaprof",                // 0x17
    "application/vnd.wap.wtls-ca-certificate",   // 0x18
    "application/vnd.wap.wtls-user-certificate", // 0x19
    "application/x-x509-ca-cert",                // 0x1A
    "application/x-x509-user-cert",              // 0x1B
    "image/*",                                   // 0x1C
    "image/gif",                                 // 0x1D
    "image/jpeg",                                // 0x1E
    "image/tiff",                                // 0x1F
    "image/png",                                 // 0x20
    "image/vnd.wap.wbmp",                        // 0x21
    "application/vnd.wap.multipart.*",           // 0x22
    "application/vnd.wap.multipart.mixed",       // 0x23
    "application/vnd.wap.multipart.form-data",   // 0x24
    "application/vnd.wap.multipart.byteranges",  // 0x25
    "application/vnd.wap.multipart.alternative", // 0x26
    "application/xml",                           // 0x27
    "text/xml",                                  // 0x28
    "application/vnd.wap.wbxml",                 // 0x29
    "application/x-x968-cross-cert",             // 0x2A
    "application/x-x968-ca-cert",                // 0x2B
    "application/x-x968-user-cert",              // 0x2C
    "text/vnd.wap.si",                           // 0x2D
    "application/vnd.wap.sic",                   // 0x2E
    "text/vnd.wap.sl",                           // 0x2F
    "application/vnd.wap.slc",                   // 0x30
    "text/vnd.wap.co",                           // 0x31
    "application/vnd.wap.coc",                   // 0x32
    "application/vnd.wap.multipart.related",     // 0x33
    "application/vnd.wap.sia",                   // 0x34
    "text/vnd.wap.connectivity-xml",             // 0x35
    "application/vnd.wap.connectivity-wbxml",    // 0x36
    "application/pkcs7-mime",                    // 0x37
    "application/vnd.wap.hashed-certificate",    // 0x38
    "application/vnd.wap.signed-certificate",    // 0x39
    "application/vnd.wap.cert-response",         // 0x3A
    "application/xhtml+xml",                     // 0x3B
    "application/wml+xml",                       // 0x3C
    "text/css",                                  // 0x3D
    "application/vnd.wap.mms-message",           // 0x3E
    "application/vnd.wap.rollover-certificate",  // 0x3F
    "multipart/related",                         // 0x40
    "application/vnd.wap.wml+xml",               // 0x41
    "text/x-wap-wta-wml",                        // 0x42
    "application/x-wap-wta-wmlc",                // 0x43
    "text/vnd.wap.channel",                      // 0x44
    "application/smil",                          // 0x45
    "application/x-shockwave-flash",             // 0x46
    "image/bmp",                                 // 0x47
    "image/pjpeg",                               // 0x48
    "image/svg+xml",                             // 0x49
    "audio/amr",                                 // 0x4A
    "audio/GSM-EFR",                             // 0x4B
    "audio/imelody",                             // 0x4C
    "audio/mpeg",                                // 0x4D
    "audio/midi",                                // 0x4E
    "audio/pcma",                                // 0x4F
    "audio/pcmu",                                // 0x50
    "audio/x-ms-wma",                            // 0x51
    "audio/x-wav",                               // 0x52
    "video/mpeg",                                // 0x53
    "video/h263",                                // 0x54
    "video/x-ms-wmv",                            // 0x55
};

const char* mime_type_getName(unsigned int value)
{
    const unsigned int row = value & 0xFFu;
    return row < MIME_TYPE_COUNT ? mime_type_names[row] : nullptr;
}

unsigned char mime_type_getValue(char* name)
{
    if (!name)
        return MIME_TYPE_NOT_FOUND;
    // The whole text is lower-cased; a text too long for any row simply finds none.
    for (char* c = name; *c; ++c)
        *c = char(std::tolower(static_cast<unsigned char>(*c)));
    for (unsigned char row = 0; row < MIME_TYPE_COUNT; ++row) {
        if (std::strcmp(name, mime_type_names[row]) != 0)
            continue;
        // Messages stored by older releases carry "audio/pcmu" under the number of "audio/pcma".
        // Compared as a string: the buffer may be shorter than that text.
        if (std::strcmp(name, "audio/pcmu") == 0)
            return row - 1;
        return row;
    }
    return MIME_TYPE_NOT_FOUND;
}

} // extern "C"
