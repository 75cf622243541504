// The header fields of a PDU in words: each value as its field means it.

#include "pdu_field_text.h"

#include "message_content_type.h"
#include "mms_pdu.h"
#include "support/scoped_environment.h"

#include <gtest/gtest.h>

namespace
{

using tavmms::pdu::Field;
using tavmms::pdu::HeaderField;
using tavmms::store::FieldText;
using tavmms::store::fieldText;

class PduFieldTextTest : public ::testing::Test
{
protected:
    tavmms_test::ScopedEnvironment zone{"TZ", QByteArray("UTC-2")};
};

QString valueOf(const HeaderField& field)
{
    return fieldText(field).value;
}

TEST_F(PduFieldTextTest, TheMessageTypeIsNamed)
{
    const FieldText text = fieldText(HeaderField::octet(Field::MessageType, 132));
    EXPECT_EQ(text.name, QStringLiteral("X-Mms-Message-Type"));
    EXPECT_EQ(text.value, QStringLiteral("m-retrieve-conf"));
    EXPECT_EQ(valueOf(HeaderField::octet(Field::MessageType, 200)), QStringLiteral("200"));
}

TEST_F(PduFieldTextTest, TheVersionIsMajorDotMinor)
{
    HeaderField version;
    version.code = quint8(Field::MmsVersion);
    version.number = 0x12;
    EXPECT_EQ(valueOf(version), QStringLiteral("1.2"));
}

TEST_F(PduFieldTextTest, DatesAreIso8601WithTheirOffsetAndRelativeTimesSeconds)
{
    EXPECT_EQ(valueOf(HeaderField::integer(Field::Date, 1777889702)),
              QStringLiteral("2026-05-04T12:15:02+02:00"));
    EXPECT_EQ(valueOf(HeaderField::time(Field::Expiry, 604800, true)),
              QStringLiteral("+604800 seconds"));
    EXPECT_EQ(valueOf(HeaderField::time(Field::DeliveryTime, 1777889702, false)),
              QStringLiteral("2026-05-04T12:15:02+02:00"));
    EXPECT_EQ(valueOf(HeaderField::integer(Field::MessageSize, 1777889702)),
              QStringLiteral("1777889702"));
}

TEST_F(PduFieldTextTest, YesNoPriorityAndVisibilityAreWords)
{
    EXPECT_EQ(valueOf(HeaderField::octet(Field::DeliveryReport, 128)), QStringLiteral("Yes"));
    EXPECT_EQ(valueOf(HeaderField::octet(Field::ReadReport, 129)), QStringLiteral("No"));
    EXPECT_EQ(valueOf(HeaderField::octet(Field::Priority, 130)), QStringLiteral("High"));
    EXPECT_EQ(valueOf(HeaderField::octet(Field::SenderVisibility, 128)), QStringLiteral("Hide"));
    EXPECT_EQ(valueOf(HeaderField::octet(Field::MessageClass, 129)),
              QStringLiteral("Advertisement"));
    EXPECT_EQ(valueOf(HeaderField::octet(Field::Status, 129)), QStringLiteral("Retrieved"));
}

TEST_F(PduFieldTextTest, StatusesAreTheirNamesAndANumberWithoutOneStaysANumber)
{
    EXPECT_EQ(valueOf(HeaderField::octet(Field::ResponseStatus, 227)),
              QStringLiteral("Error-permanent-sending-address-unresolved"));
    EXPECT_EQ(valueOf(HeaderField::octet(Field::ResponseStatus, 200)), QStringLiteral("200"));
    EXPECT_EQ(valueOf(HeaderField::octet(Field::ReadStatus, 129)),
              QStringLiteral("Deleted without being read"));
    EXPECT_EQ(valueOf(HeaderField::octet(Field::Status, 135)), QStringLiteral("Unreachable"));
    EXPECT_EQ(valueOf(HeaderField::octet(Field::Status, 140)), QStringLiteral("140"));
    EXPECT_EQ(valueOf(HeaderField::octet(Field::MessageClass, 140)), QStringLiteral("140"));
}

TEST_F(PduFieldTextTest, FromIsItsAddressOrTheInsertAddressToken)
{
    EXPECT_EQ(valueOf(HeaderField::insertAddressFrom()), QStringLiteral("insert-address-token"));
    EXPECT_EQ(valueOf(HeaderField::from(QStringLiteral("+15550101/TYPE=PLMN"))),
              QStringLiteral("+15550101/TYPE=PLMN"));
}

TEST_F(PduFieldTextTest, AnEncodedStringNamesItsCharset)
{
    HeaderField subject = HeaderField::textField(Field::Subject, QString::fromUtf16(u"Grüße"));
    subject.charset = 106;
    const FieldText text = fieldText(subject);
    EXPECT_EQ(text.value, QString::fromUtf16(u"Grüße"));
    EXPECT_EQ(text.charset, QStringLiteral("utf-8"));
    subject.charset = 9999;
    EXPECT_EQ(fieldText(subject).charset, QStringLiteral("9999"));
    EXPECT_EQ(fieldText(HeaderField::textField(Field::TransactionId, QStringLiteral("t1"))).charset,
              QString());
}

TEST_F(PduFieldTextTest, AContentTypeIsItsMimeForm)
{
    HeaderField type;
    type.code = quint8(Field::ContentType);
    type.contentType.mediaType = "application/vnd.wap.multipart.related";
    type.contentType.parameters = {{"start", "<0.smil>"}, {"type", "application/smil"}};
    EXPECT_EQ(valueOf(type), QStringLiteral("application/vnd.wap.multipart.related; "
                                            "start=<0.smil>; type=application/smil"));
    type.contentType.parameters = {{"name", "a b.txt"}};
    EXPECT_EQ(tavmms::store::contentTypeText(type.contentType),
              QStringLiteral("application/vnd.wap.multipart.related; name=\"a b.txt\""));
}

TEST_F(PduFieldTextTest, ATextHeaderKeepsItsOwnNameAndAnUnknownFieldShowsItsOctets)
{
    HeaderField header;
    header.name = "X-Scanned-By";
    header.text = QStringLiteral("gateway");
    EXPECT_EQ(fieldText(header).name, QStringLiteral("X-Scanned-By"));
    EXPECT_EQ(fieldText(header).value, QStringLiteral("gateway"));
    HeaderField unknown;
    unknown.code = 0x50;
    unknown.raw = "\x01\x02";
    EXPECT_EQ(valueOf(unknown), QStringLiteral("01 02"));
}

TEST_F(PduFieldTextTest, ADateTooLargeForACalendarIsGivenInSeconds)
{
    EXPECT_EQ(valueOf(HeaderField::integer(Field::Date, 0x7FFFFFFFFFFFFFFFull)),
              QStringLiteral("9223372036854775807 seconds since 1970"));
}

TEST_F(PduFieldTextTest, APartHeaderIsItsTextOrItsUnreadOctetsInHex)
{
    EXPECT_EQ(tavmms::store::partHeaderText({"Content-ID", "<0.smil>", false}),
              QStringLiteral("<0.smil>"));
    EXPECT_EQ(tavmms::store::partHeaderText({"Date", QByteArray("\x04\x5f\x00", 3), true}),
              QStringLiteral("04 5f 00"));
}

} // namespace
