#include "header_row.h"

#include "index_row_text.h"
#include "mail_file_io.h"

#include "mms_util_common.h"
#include "mms_util_msgheaderbase.h"

#include <algorithm>
#include <cstdio>
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

// `text` up to a NUL, which ends a row's text field.
QString untilNul(QString text)
{
    const qsizetype nul = text.indexOf(QChar(0));
    if (nul >= 0)
        text.truncate(nul);
    return text;
}

// Whether a row's text field says something else than `value` would once written into it.
template <size_t N> bool differs(const unsigned short (&row)[N], const QString& value)
{
    const QString text = text16(row);
    return !text.isEmpty() && text != untilNul(cut16(value, qsizetype(N) - 1));
}

template <size_t N> bool differs(const char (&row)[N], const QString& value)
{
    const QString text = text8(row);
    return !text.isEmpty() &&
           text != untilNul(QString::fromUtf8(cut8(value.toUtf8(), qsizetype(N) - 1)));
}

// "Sat May 2 03:40:13 1998": `time` in local time as a header block holds it, the text
// MMS_UTIL_MailFile writes for a send date (C locale names).
QByteArray dateText(quint32 time)
{
    static const char* const kDays[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
    static const char* const kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                          "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    const time_t seconds = time_t(time);
    tm local{};
    if (!localtime_r(&seconds, &local))
        return QByteArray();
    char text[64];
    const int length =
        std::snprintf(text, sizeof text, "%s %s %d %02d:%02d:%02d %d", kDays[local.tm_wday],
                      kMonths[local.tm_mon], local.tm_mday, local.tm_hour, local.tm_min,
                      local.tm_sec, local.tm_year + 1900);
    return QByteArray(text, length);
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
    row->cmn_fld_time = header.sendDate.isValid() ? quint32(header.sendDate.toSecsSinceEpoch()) : 0;
    row->cmn_fld_priority = header.priority;
    row->cmn_fld_mms_type = ushort(MMS_UTIL_Common::getMsgTypeByContentType(header.contentType));
    row->mms_fld_sendervisibility_name = header.senderVisibility;
    row->mms_fld_deliveryreport_name = header.deliveryReport;
    row->mms_fld_readreplyreport_name = header.readReplyReport;
    row->mms_fld_contenttype_name =
        MMS_UTIL_Common::mimeTypeGetValue(header.contentType.type, header.contentType.subtype);
    row->mms_fld_msgsize_name = header.messageSize;
    row->mms_fld_expiretime_name = header.expiry;
    row->mms_fld_deliverytime_name =
        header.deliveryTime.isValid() ? quint32(header.deliveryTime.toSecsSinceEpoch()) : 0;
    setText8(row->mms_fld_msgid_name, header.messageId);
}

MMS_UTIL_DBStruct_T headerRow(const MMS_UTIL_MsgHeaderBase& header)
{
    MMS_UTIL_DBStruct_T row{};
    setHeaderFields(&row, header);
    return row;
}

QStringList headerMismatch(const MMS_UTIL_DBStruct_T& row, const QByteArray& block)
{
    // The dates are read as empty and the send date compared as the text the block holds: a
    // check compares every file it reads, and turning a local time into seconds reads the
    // system's time zone file again on every call. Each date line keeps its place, so that the
    // lines around it read as they would.
    const QByteArray sendDateKey = QByteArrayLiteral("Send_Date:");
    const QByteArray deliveryKey = QByteArrayLiteral("Delivery:");
    QByteArray read;
    read.reserve(block.size());
    QByteArrayView sendDate;
    for (qsizetype start = 0; start < block.size();) {
        qsizetype end = block.indexOf('\n', start);
        if (end < 0)
            end = block.size();
        const QByteArrayView line = QByteArrayView(block).sliced(start, end - start);
        const QByteArrayView key = keyOfLine(line);
        if (key == sendDateKey)
            sendDate = line.sliced(std::min(line.size(), key.size() + 1));
        read += key == sendDateKey || key == deliveryKey ? key.toByteArray() + ' ' : line;
        read += '\n';
        start = end + 1;
    }
    MMS_UTIL_MsgHeaderBase header;
    readHeaderBlock(read, &header);
    QStringList fields;
    if (differs(row.mms_fld_msgid_name, header.messageId))
        fields << QStringLiteral("Message-ID");
    if (differs(row.cmn_fld_from_name, displayText(header.from)))
        fields << QStringLiteral("From");
    if (differs(row.cmn_fld_subject, header.subject))
        fields << QStringLiteral("Subject");
    if (row.cmn_fld_time != 0 && sendDate != dateText(row.cmn_fld_time))
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
