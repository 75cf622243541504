#include "msg_classification.h"

#include "mms_util_common.h"
#include "mms_util_tool.h"
#include "qt2string.h"

#include <algorithm>
#include <iterator>

namespace tavmms
{

namespace
{

const unsigned char kMultipartMixed = 0x23;   // application/vnd.wap.multipart.mixed
const unsigned char kMultipartRelated = 0x33; // application/vnd.wap.multipart.related
const unsigned char kXhtml = 0x3B;            // application/xhtml+xml

// The single media objects that make a message of their own. The list is narrow on purpose:
// other image, audio and video types (TIFF, AMR, WMA, H.263 ...) are "anything else", as the
// applications have always shown them.
const unsigned char kSingleMediaTypes[] = {
    0x1D, // image/gif
    0x1E, // image/jpeg
    0x20, // image/png
    0x21, // image/vnd.wap.wbmp
    0x47, // image/bmp
    0x4C, // audio/imelody
    0x4D, // audio/mpeg
    0x4E, // audio/midi
    0x52, // audio/x-wav
    0x53, // video/mpeg
};

// A position as the one-byte value older releases kept it in: the position modulo 256, and 255
// for a mark that is not there.
unsigned char bytePosition(qsizetype position)
{
    return static_cast<unsigned char>(position);
}

// The content-type number named after the "=" of a "type" parameter. The one-byte positions are
// kept with all they imply: a missing "=" or "/" (255) makes the count of what follows it
// negative, which takes the whole text, and a mark at position 256 counts as one at 0.
unsigned char numberOfTypeParameter(const QString& piece)
{
    const unsigned char equals = bytePosition(piece.indexOf(QLatin1Char('=')));
    if (equals == 0)
        return 0;
    const QString value = qt2Right(piece, int(piece.size()) - equals - 1);
    const unsigned char slash = bytePosition(value.indexOf(QLatin1Char('/')));
    if (slash == 0)
        return 0;
    return MMS_UTIL_Common::mimeTypeGetValue(qt2Left(value, slash),
                                             qt2Right(value, int(value.size()) - slash - 1));
}

} // namespace

int messageTypeOf(const MMS_CONTENT_TYPE_T& contentType)
{
    const unsigned char number =
        MMS_UTIL_Common::mimeTypeGetValue(contentType.type, contentType.subtype);
    // Read for every type, not only where it decides the code.
    const unsigned char start = startTypeOf(contentType.params);
    if (number == kMultipartRelated)
        return start == kXhtml ? MMS_UTIL_Common::MSG_TYPE_RELATED_XHTML
                               : MMS_UTIL_Common::MSG_TYPE_RELATED_SMIL;
    if (number == kMultipartMixed)
        return MMS_UTIL_Common::MSG_TYPE_MIXED;
    if (std::find(std::begin(kSingleMediaTypes), std::end(kSingleMediaTypes), number) !=
        std::end(kSingleMediaTypes))
        return MMS_UTIL_Common::MSG_TYPE_SINGLE_MEDIA;
    return MMS_UTIL_Common::MSG_TYPE_OTHER;
}

unsigned char startTypeOf(const QString& paraList)
{
    // Only the last piece comes back stripped of blanks, so a "type" piece with a blank before it
    // is found only at the end of the list; senders that matter write none.
    const QValueList<QCString> pieces =
        MMS_UTIL_Tool::split(QCString(";"), paraList.toLower().toLatin1());
    for (const QCString& piece : pieces) {
        // Only the first four letters are looked at, so "typeface=x" is taken as well.
        if (piece.size() >= 4 && qstrnicmp(piece.constData(), "type", 4) == 0)
            return numberOfTypeParameter(QString::fromLatin1(piece));
    }
    return 0;
}

} // namespace tavmms
