// The text readers of header values, the classification of a content type and its parameters,
// the byte-string splitter, the content-type lookup, the keys an address is looked up under in the
// address book and the check's reader of a mail file's name on arbitrary text: none may crash, read
// out of bounds or leak.

#include <tavmmsutility.h>

#include "mail_file_names.h"
#include "phone_number_match.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char*>(data), qsizetype(size));
    const QString text = QString::fromUtf8(bytes);

    const std::unique_ptr<MMS_UTIL_Entry> parsed(MMS_UTIL_Common::stringToEntry(text));
    MMS_UTIL_Entry entry;
    MMS_UTIL_Common::stringToEntry(text, &entry);

    // The readers leave auto-delete off; switching it on hands the entries to the list.
    MMS_UTIL_EntryList list = MMS_UTIL_Common::stringToEntryList(text);
    list.setAutoDelete(true);
    MMS_UTIL_EntryList appended;
    appended.setAutoDelete(true);
    MMS_UTIL_Common::stringToEntryList(text, &appended);

    // A content type's parameter list, and the message type and application it classifies as.
    MMS_UTIL_Common::getMsgTypeByContentType(MMS_UTIL_Common::stringToContentType(text));
    MMS_UTIL_Common::getAppTypeFrParaList(text);
    MMS_UTIL_Common::stringToTime(text);
    MMS_UTIL_Common::stringToPriority(text);
    MMS_UTIL_Common::stringToStatus(text);
    MMS_UTIL_Common::stringToBool(text);

    // The first line is the separator, the rest the text to split.
    const qsizetype cut = bytes.indexOf('\n');
    if (cut >= 0)
        MMS_UTIL_Tool::split(bytes.left(cut), bytes.mid(cut + 1));
    MMS_UTIL_Tool::split(QCString(","), bytes);

    // mime_type_getValue() lower-cases in place: it gets a copy, zero-terminated by QByteArray.
    QByteArray name = bytes;
    mime_type_getValue(name.data());

    // A sender's address as the address book keys it: a phone number's key is made of what a
    // keypad dials, whether or not it reads as a number of the region.
    for (const char* region : {"DE", "US", tavplatform::kNoRegion}) {
        const QString key = tavplatform::phoneNumberKey(text, QLatin1String(region));
        for (const QChar c : key) {
            if (!c.isDigit() && c != u'+' && c != u'*' && c != u'#')
                __builtin_trap();
        }
    }
    tavplatform::emailKey(text);
    tavplatform::isKnownRegion(text);

    // A name read as a mail file's is the name that id's mail file has.
    if (const std::optional<unsigned int> id = tavmms::store::idOfMailFileName(text)) {
        if (tavmms::store::mailFileName(*id) != text)
            __builtin_trap();
    }
    return 0;
}
