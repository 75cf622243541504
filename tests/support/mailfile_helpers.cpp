#include "support/mailfile_helpers.h"

#include "mms_util_mailfile.h"
#include "support/model_helpers.h"

#include <QBuffer>
#include <QFile>
#include <QTextStream>

#include <random>

namespace tavmms_test
{

const char kDefaultHeaderBlock[] = "\n"
                                   "From: <>[EMAIL]\n"
                                   "To: \n"
                                   "CC: \n"
                                   "BCC: \n"
                                   "Subject: \n"
                                   "Send_Date: \n"
                                   "Delivery: \n"
                                   "Expiry: 65535\n"
                                   "Message_ID: \n"
                                   "Content_Type: \n"
                                   "Priority: Normal\n"
                                   "Sender_Visibility: False\n"
                                   "DeliveryReport: False\n"
                                   "ReadReplyReport: False\n"
                                   "Message_Size: 0\n";

const char kSampleHeaderBlock[] =
    "\n"
    "From: <Zoë Ångström>[PLMN]+491701234567\n"
    "To: <Ann>[PLMN]+111,<Bob Ü>[EMAIL]bob@example.org,\n"
    "CC: <>[EMAIL]carol@example.org,\n"
    "BCC: <Dave>[UNKNOWN]dave,\n"
    "Subject: Grüße aus Köln\n"
    "第二行 😀\n"
    "Send_Date: Thu Feb 29 23:59:58 2024\n"
    "Delivery: Sun Jan 5 07:08:09 2025\n"
    "Expiry: 604800\n"
    "Message_ID: msg-äöü-1\n"
    "Content_Type: application/vnd.wap.multipart.related type=application/smil\n"
    "Priority: High\n"
    "Sender_Visibility: True\n"
    "DeliveryReport: False\n"
    "ReadReplyReport: True\n"
    "Message_Size: 123456\n";

std::unique_ptr<MMS_UTIL_MsgHeaderBase> sampleHeader()
{
    auto header = std::make_unique<MMS_UTIL_MsgHeaderBase>();
    header->setFrom(makeEntry(QString::fromUtf8("Zoë Ångström"), MMS_UTIL_ADDR_PLMN,
                              QStringLiteral("+491701234567")));
    header->addToRecipient(
        makeEntry(QStringLiteral("Ann"), MMS_UTIL_ADDR_PLMN, QStringLiteral("+111")));
    header->addToRecipient(makeEntry(QString::fromUtf8("Bob Ü"), MMS_UTIL_ADDR_EMAIL,
                                     QStringLiteral("bob@example.org")));
    header->addCcRecipient(
        makeEntry(QLatin1String(""), MMS_UTIL_ADDR_EMAIL, QStringLiteral("carol@example.org")));
    header->addBccRecipient(
        makeEntry(QStringLiteral("Dave"), MMS_UTIL_ADDR_UNKNOWN, QStringLiteral("dave")));
    header->subject = QString::fromUtf8("Grüße aus Köln\n第二行 😀");
    header->sendDate = QDateTime(QDate(2024, 2, 29), QTime(23, 59, 58));
    header->deliveryTime = QDateTime(QDate(2025, 1, 5), QTime(7, 8, 9));
    header->expiry = 604800;
    header->messageId = QString::fromUtf8("msg-äöü-1");
    header->contentType.type = QStringLiteral("application");
    header->contentType.subtype = QStringLiteral("vnd.wap.multipart.related");
    header->contentType.params = QStringLiteral("type=application/smil");
    header->priority = MMS_UTIL_PRIORITY_HIGH;
    header->senderVisibility = true;
    header->deliveryReport = false;
    header->readReplyReport = true;
    header->messageSize = 123456;
    return header;
}

QByteArray headerBlockOf(MMS_UTIL_MsgHeaderBase& header)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    QTextStream stream(&buffer);
    MMS_UTIL_MailFile writer(QStringLiteral("unused.mms"));
    writer.header = &header;
    writer.serializeMsgHeaderTo(stream);
    stream.flush();
    return buffer.data();
}

std::unique_ptr<MMS_UTIL_MsgHeaderBase> headerFromBlock(const QByteArray& block)
{
    QByteArray bytes = block;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    QTextStream stream(&buffer);
    stream.setEncoding(QStringConverter::Utf8);
    auto header = std::make_unique<MMS_UTIL_MsgHeaderBase>();
    MMS_UTIL_MailFile reader(QStringLiteral("unused.mms"));
    reader.readMsgHeaderFrom(stream, header.get());
    return header;
}

QByteArray recordBytes(quint32 headerTextOffset, quint32 reserved, quint32 bodyOffset,
                       quint32 bodyLength)
{
    QByteArray bytes;
    for (const quint32 word : {headerTextOffset, reserved, bodyOffset, bodyLength}) {
        for (int shift = 24; shift >= 0; shift -= 8)
            bytes.append(char((word >> shift) & 0xFF));
    }
    return bytes;
}

QByteArray patternBytes(int size, unsigned seed)
{
    std::mt19937 generator(seed);
    QByteArray bytes(size, Qt::Uninitialized);
    for (char& byte : bytes)
        byte = char(generator() & 0xFF);
    return bytes;
}

QByteArray readFileBytes(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool writeFileBytes(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.flush();
}

} // namespace tavmms_test
