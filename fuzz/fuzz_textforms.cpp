// The text readers of header values, the classification of a content type and its parameters,
// the byte-string splitter and the content-type lookup on arbitrary text: none may crash, read out
// of bounds or leak.

#include <tavmmsutility.h>

#include <cstddef>
#include <cstdint>
#include <memory>

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
    return 0;
}
