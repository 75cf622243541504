#include "mms_util_msgheaderbase.h"

namespace
{

void replaceList(MMS_UTIL_EntryList& target, const MMS_UTIL_EntryList& source)
{
    // Copy before clearing: `source` may share its entries with `target` (h.setTo(h.toList)).
    MMS_UTIL_EntryList copies;
    for (const MMS_UTIL_Entry* entry : source) {
        if (entry)
            copies.append(new MMS_UTIL_Entry(*entry));
    }
    target.setAutoDelete(true);
    target.clear();
    for (MMS_UTIL_Entry* entry : copies)
        target.append(entry);
}

void appendCopy(MMS_UTIL_EntryList& target, const MMS_UTIL_Entry& entry)
{
    target.setAutoDelete(true);
    target.append(new MMS_UTIL_Entry(entry));
}

} // namespace

MMS_UTIL_MsgHeaderBase::MMS_UTIL_MsgHeaderBase()
    : subject(QLatin1String("")),
      // A default content type is one U+0000 character, not an empty text: readers of older
      // files tell "never set" from "set to nothing" by it.
      contentType{QStringLiteral(u"\0"), QString(), QLatin1String("")},
      priority(MMS_UTIL_PRIORITY_NORMAL), messageId(QLatin1String("")), expiry(65535),
      senderVisibility(false), deliveryReport(false), readReplyReport(false), messageSize(0)
{
}

MMS_UTIL_MsgHeaderBase::~MMS_UTIL_MsgHeaderBase()
{
    toList.clear();
    ccList.clear();
    bccList.clear();
}

void MMS_UTIL_MsgHeaderBase::setFrom(MMS_UTIL_Entry entry)
{
    from = entry;
}

void MMS_UTIL_MsgHeaderBase::setTo(MMS_UTIL_EntryList list)
{
    replaceList(toList, list);
}

void MMS_UTIL_MsgHeaderBase::setCc(MMS_UTIL_EntryList list)
{
    replaceList(ccList, list);
}

void MMS_UTIL_MsgHeaderBase::setBcc(MMS_UTIL_EntryList list)
{
    replaceList(bccList, list);
}

void MMS_UTIL_MsgHeaderBase::addToRecipient(const MMS_UTIL_Entry& entry)
{
    appendCopy(toList, entry);
}

void MMS_UTIL_MsgHeaderBase::addCcRecipient(const MMS_UTIL_Entry& entry)
{
    appendCopy(ccList, entry);
}

void MMS_UTIL_MsgHeaderBase::addBccRecipient(const MMS_UTIL_Entry& entry)
{
    appendCopy(bccList, entry);
}

void MMS_UTIL_MsgHeaderBase::setPriority(unsigned char code)
{
    if (code >= MMS_UTIL_PRIORITY_LOW && code <= MMS_UTIL_PRIORITY_HIGH)
        priority = code;
}

void MMS_UTIL_MsgHeaderBase::printMsg() {}
