#include "header_row.h"

#include "row_text.h"

#include "mms_util_common.h"
#include "mms_util_msgheaderbase.h"

#include <ctime>

namespace tavmms::store
{

namespace
{

// The display text of an entry: its name, else its address.
QString displayText(const MMS_UTIL_Entry& entry)
{
    return entry.name.isEmpty() ? entry.address : entry.name;
}

QString listText(const MMS_UTIL_EntryList& list)
{
    QStringList texts;
    for (const MMS_UTIL_Entry* entry : list) {
        if (entry)
            texts << displayText(*entry);
    }
    return texts.join(QStringLiteral(", "));
}

// Whether a row's text field says something else than the header's, up to their terminators.
template <size_t N> bool differs(const unsigned short (&row)[N], const unsigned short (&header)[N])
{
    const QString text = text16(row);
    return !text.isEmpty() && text != text16(header);
}

template <size_t N> bool differs(const char (&row)[N], const char (&header)[N])
{
    const QString text = text8(row);
    return !text.isEmpty() && text != text8(header);
}

quint32 timeOf(const MMS_UTIL_MsgHeaderBase& header)
{
    return header.sendDate.isValid() ? quint32(header.sendDate.toSecsSinceEpoch()) : 0;
}

// Whether `time` is at the local wall time `wall`, which is what a header block holds. Compared so
// rather than by turning `wall` into seconds: a check compares every file it reads, and Qt's
// conversions read the system's time zone file again on every call.
bool isWallTime(quint32 time, const QDateTime& wall)
{
    const time_t seconds = time_t(time);
    tm local{};
    if (!wall.isValid() || !localtime_r(&seconds, &local))
        return false;
    return QDate(local.tm_year + 1900, local.tm_mon + 1, local.tm_mday) == wall.date() &&
           QTime(local.tm_hour, local.tm_min, local.tm_sec) == wall.time();
}

} // namespace

void setHeaderFields(MMS_UTIL_DBStruct_T* row, const MMS_UTIL_MsgHeaderBase& header)
{
    QStringList recipients;
    for (const MMS_UTIL_EntryList* list : {&header.toList, &header.ccList, &header.bccList}) {
        const QString text = listText(*list);
        if (!text.isEmpty())
            recipients << text;
    }
    setText16(row->cmn_fld_from_name, displayText(header.from));
    setText16(row->cmn_fld_to_name, recipients.join(QStringLiteral(", ")));
    setText16(row->cmn_fld_subject, header.subject);
    row->cmn_fld_time = timeOf(header);
    row->cmn_fld_priority = header.priority;
    row->cmn_fld_mms_type = ushort(MMS_UTIL_Common::getMsgTypeByContentType(header.contentType));
    row->mms_fld_sendervisibility_name = header.senderVisibility;
    row->mms_fld_deliveryreport_name = header.deliveryReport;
    row->mms_fld_readreplyreport_name = header.readReplyReport;
    row->mms_fld_contenttype_name =
        MMS_UTIL_Common::mimeTypeGetValue(header.contentType.type, header.contentType.subtype);
    row->mms_fld_msgsize_name = header.messageSize;
    row->mms_fld_expiretime_name = header.expiry;
    setText8(row->mms_fld_msgid_name, header.messageId);
}

MMS_UTIL_DBStruct_T headerRow(const MMS_UTIL_MsgHeaderBase& header)
{
    MMS_UTIL_DBStruct_T row{};
    setHeaderFields(&row, header);
    return row;
}

QStringList headerMismatch(const MMS_UTIL_DBStruct_T& row, const MMS_UTIL_MsgHeaderBase& header)
{
    // The four fields alone, cut as the row keeps them: a check compares every file it reads.
    MMS_UTIL_DBStruct_T expected;
    setText8(expected.mms_fld_msgid_name, header.messageId);
    setText16(expected.cmn_fld_from_name, displayText(header.from));
    setText16(expected.cmn_fld_subject, header.subject);
    QStringList fields;
    if (differs(row.mms_fld_msgid_name, expected.mms_fld_msgid_name))
        fields << QStringLiteral("Message-ID");
    if (differs(row.cmn_fld_from_name, expected.cmn_fld_from_name))
        fields << QStringLiteral("From");
    if (differs(row.cmn_fld_subject, expected.cmn_fld_subject))
        fields << QStringLiteral("Subject");
    if (row.cmn_fld_time != 0 && !isWallTime(row.cmn_fld_time, header.sendDate))
        fields << QStringLiteral("Date");
    return fields;
}

QString mismatchText(const QStringList& fields)
{
    return fields.isEmpty() ? QString()
                            : QStringLiteral("its header does not match its row (%1)")
                                  .arg(fields.join(QStringLiteral(", ")));
}

} // namespace tavmms::store
