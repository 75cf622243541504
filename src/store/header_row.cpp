#include "header_row.h"

#include "row_text.h"

#include "mms_util_common.h"
#include "mms_util_msgheaderbase.h"

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
    const MMS_UTIL_DBStruct_T expected = headerRow(header);
    QStringList fields;
    if (differs(row.mms_fld_msgid_name, expected.mms_fld_msgid_name))
        fields << QStringLiteral("Message-ID");
    if (differs(row.cmn_fld_from_name, expected.cmn_fld_from_name))
        fields << QStringLiteral("From");
    if (differs(row.cmn_fld_subject, expected.cmn_fld_subject))
        fields << QStringLiteral("Subject");
    if (row.cmn_fld_time != 0 && row.cmn_fld_time != expected.cmn_fld_time)
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
