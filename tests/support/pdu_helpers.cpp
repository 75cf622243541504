#include "support/pdu_helpers.h"

#include "multipart.h"

#include <gtest/gtest.h>

#include <QFile>

namespace tavmms_test
{

using namespace tavmms::pdu;

QByteArray twoPartBody()
{
    return encodeMultipart({Part{{"text/plain", {{"charset", "utf-8"}}}, {}, "Hello"},
                            Part{{"image/png", {}}, {}, "\x89PNG"}});
}

Pdu pduOfType(MessageType type)
{
    Pdu pdu;
    pdu.headers = {HeaderField::octet(Field::MessageType, quint64(type)),
                   HeaderField::textField(Field::TransactionId, QStringLiteral("T-1")),
                   HeaderField::integer(Field::MmsVersion, 0x12)};
    return pdu;
}

namespace
{

// The bytes of `pdu` with `fields` after its own, then the content type `mediaType` and `body`.
QByteArray withContent(Pdu pdu, const QList<HeaderField>& fields, const QByteArray& body,
                       const QByteArray& mediaType)
{
    pdu.headers += fields;
    HeaderField type;
    type.code = quint8(Field::ContentType);
    type.contentType = {mediaType, {}};
    pdu.headers.append(type);
    pdu.body = body;
    return encodePdu(pdu);
}

} // namespace

QByteArray retrieveConfPdu(const QList<HeaderField>& fields, const QByteArray& body,
                           const QByteArray& mediaType)
{
    return withContent(pduOfType(MessageType::RetrieveConf), fields, body, mediaType);
}

const QString kMmscSender = QStringLiteral("+4915550199/TYPE=PLMN");

QByteArray notificationIndPdu(const QUrl& location, quint64 size, const QString& transactionId,
                              std::optional<quint64> absoluteExpiry)
{
    Pdu pdu;
    pdu.headers = {HeaderField::octet(Field::MessageType, quint64(MessageType::NotificationInd)),
                   HeaderField::textField(Field::TransactionId, transactionId),
                   HeaderField::octet(Field::MmsVersion, 0x92),
                   HeaderField::from(kMmscSender),
                   HeaderField::textField(Field::Subject, QStringLiteral("Pictures")),
                   HeaderField::octet(Field::MessageClass, 128),
                   HeaderField::integer(Field::MessageSize, size),
                   absoluteExpiry ? HeaderField::time(Field::Expiry, *absoluteExpiry, false)
                                  : HeaderField::time(Field::Expiry, 86400, true),
                   HeaderField::textField(Field::ContentLocation, location.toString())};
    return encodePdu(pdu);
}

QByteArray retrievedMessagePdu(const QString& transactionId, bool readReport,
                               const QString& messageId)
{
    Pdu pdu = pduOfType(MessageType::RetrieveConf);
    pdu.headers.removeAt(1);
    if (!transactionId.isEmpty())
        pdu.headers.insert(1, HeaderField::textField(Field::TransactionId, transactionId));
    return withContent(pdu,
                       {HeaderField::from(kMmscSender),
                        HeaderField::textField(Field::Subject, QStringLiteral("Pictures")),
                        HeaderField::textField(Field::MessageId, messageId),
                        HeaderField::octet(Field::ReadReport, readReport ? 128 : 129)},
                       twoPartBody(), QByteArrayLiteral("application/vnd.wap.multipart.mixed"));
}

QByteArray deliveryIndPdu(const QString& messageId, const QString& recipient, quint8 status)
{
    Pdu pdu = pduOfType(MessageType::DeliveryInd);
    // A delivery report carries no transaction id.
    pdu.headers.removeAt(1);
    pdu.headers << HeaderField::textField(Field::MessageId, messageId)
                << HeaderField::textField(Field::To, recipient)
                << HeaderField::integer(Field::Date, 1790000000)
                << HeaderField::octet(Field::Status, status);
    return encodePdu(pdu);
}

QByteArray readOrigIndPdu(const QString& messageId, const QString& reader, const QString& to,
                          quint8 readStatus)
{
    Pdu pdu = pduOfType(MessageType::ReadOrigInd);
    // A read report carries no transaction id.
    pdu.headers.removeAt(1);
    pdu.headers << HeaderField::textField(Field::MessageId, messageId)
                << HeaderField::textField(Field::To, to) << HeaderField::from(reader)
                << HeaderField::integer(Field::Date, 1790000000)
                << HeaderField::octet(Field::ReadStatus, readStatus);
    return encodePdu(pdu);
}

QString realPduFolder()
{
    // A checkout elsewhere than beside the shared data names the folder in the environment.
    const QString named = qEnvironmentVariable("TAVMMS_REAL_PDUS");
    return named.isEmpty() ? QStringLiteral(TAVMMS_SOURCE_DIR "/../shared/realdata/mms-pdus")
                           : named;
}

QByteArray realPdu(const QString& name)
{
    QFile file(realPduFolder() + QLatin1Char('/') + name);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << name.toStdString();
    return file.readAll();
}

} // namespace tavmms_test
