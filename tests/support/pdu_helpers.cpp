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

QByteArray retrieveConfPdu(const QList<HeaderField>& fields, const QByteArray& body,
                           const QByteArray& mediaType)
{
    Pdu pdu = pduOfType(MessageType::RetrieveConf);
    pdu.headers += fields;
    HeaderField type;
    type.code = quint8(Field::ContentType);
    type.contentType = {mediaType, {}};
    pdu.headers.append(type);
    pdu.body = body;
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
