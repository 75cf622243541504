// A kept message as an Internet mail message: its header fields with names from the entries or the
// address book, its body as MIME parts, and the same messages read back by Python's own MIME
// parser, which must find the texts, the addresses and the parts' bytes they were made from.

#include "eml_export.h"

#include "message_content_type.h"
#include "mms_util_msgheaderbase.h"
#include "multipart.h"
#include "transfer_encoding.h"

#include "support/mail_parser.h"
#include "support/mock_address_book.h"
#include "support/scoped_environment.h"

#include <QJsonArray>
#include <QTemporaryDir>
#include <QTimeZone>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace
{

using namespace tavmms::store;
using tavmms::pdu::ContentType;
using tavmms::pdu::Part;
using tavmms::pdu::PartHeader;
using tavmms_test::MockAddressBook;
using ::testing::_;
using ::testing::NiceMock;
using ::testing::Return;

const QByteArray kSmil = "<smil><body><par><img src=\"cid:img\"/><text src=\"cid:text\"/></par>"
                         "</body></smil>";
const QString kText = QString::fromUtf8("Grüße aus Köln!\nZweite Zeile = zwei.");

MMS_UTIL_Entry entry(MMS_UTIL_ADDR_TYPE_T type, const QString& address,
                     const QString& name = QString())
{
    MMS_UTIL_Entry made;
    made.type = type;
    made.address = address;
    made.name = name;
    return made;
}

QByteArray pictureBytes()
{
    QByteArray bytes("\x89PNG\r\n\x1a\n", 8);
    for (int index = 0; index < 300; ++index)
        bytes += char(index * 7);
    return bytes;
}

Part part(const QByteArray& mediaType, const QList<tavmms::pdu::Parameter>& parameters,
          const QByteArray& id, const QByteArray& location, const QByteArray& data)
{
    return Part{ContentType{mediaType, parameters},
                {{"Content-ID", id}, {"Content-Location", location}},
                data};
}

QList<Part> slideParts()
{
    return {
        part("application/smil", {}, "<0.smil>", "0.smil", kSmil),
        part("text/plain", {{"charset", "utf-8"}}, "<text>", "text.txt", kText.toUtf8()),
        part("image/png", {}, "<img>", QString::fromUtf8("Bild ü.png").toUtf8(), pictureBytes())};
}

MMS_CONTENT_TYPE_T relatedType()
{
    return MMS_CONTENT_TYPE_T{QStringLiteral("application"),
                              QStringLiteral("vnd.wap.multipart.related"),
                              QStringLiteral("start=<0.smil>;type=application/smil")};
}

// A message as the store reads it, from Ann to a number the address book knows and to Bob.
ReadMessage storedMessage(const QByteArray& body, const MMS_CONTENT_TYPE_T& type)
{
    ReadMessage message;
    message.row.id = 7;
    auto header = std::make_shared<MMS_UTIL_MsgHeaderBase>();
    header->setFrom(entry(MMS_UTIL_ADDR_PLMN, QStringLiteral("+15550101"), QStringLiteral("Ann")));
    header->addToRecipient(entry(MMS_UTIL_ADDR_PLMN, QStringLiteral("+1 555 0102")));
    header->addToRecipient(entry(MMS_UTIL_ADDR_EMAIL, QStringLiteral("bob@example.org"),
                                 QString::fromUtf8("Bøb \"B\"")));
    header->addCcRecipient(entry(MMS_UTIL_ADDR_PLMN, QStringLiteral("+15550103")));
    header->addBccRecipient(entry(MMS_UTIL_ADDR_EMAIL, QStringLiteral("hidden@example.org")));
    header->subject = QString::fromUtf8("Grüße vom Rhein – ein Bild für euch 😀");
    header->sendDate = QDateTime(QDate(2024, 5, 6), QTime(7, 8, 9), QTimeZone(7200));
    header->messageId = QStringLiteral("m-17@mmsc.example");
    header->contentType = type;
    message.header = header;
    message.body = body;
    message.bodyLength = body.size();
    return message;
}

ReadMessage slideMessage()
{
    return storedMessage(tavmms::pdu::encodeMultipart(slideParts()), relatedType());
}

// The header block of `eml`, unfolded.
QByteArray unfoldedHeader(const QByteArray& eml)
{
    return eml.left(eml.indexOf("\r\n\r\n") + 2).replace("\r\n ", " ");
}

QByteArray fieldValue(const QByteArray& eml, const QByteArray& name)
{
    for (const QByteArray& line : unfoldedHeader(eml).split('\n')) {
        if (line.startsWith(name + ": "))
            return line.sliced(name.size() + 2).trimmed();
    }
    return {};
}

class EmlExportTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(dir.isValid());
        ON_CALL(book, singleSearch(_, _, _, _, _)).WillByDefault(Return(ADDRBK_SEARCH_NOT_FOUND));
        ON_CALL(book, singleSearch(_, QStringLiteral("+1 555 0102"), _, _, _))
            .WillByDefault(tavmms_test::answerSearch(
                ADDRBK_SEARCH_FOUND, QString::fromUtf8("Zoë Contact"), QStringLiteral("Mobile")));
    }

    QByteArray exported(const ReadMessage& message, const EmlOptions& options = {})
    {
        const EmlMessage eml = emlMessage(message, options);
        EXPECT_TRUE(eml.status.ok()) << eml.status.text.toStdString();
        return eml.bytes;
    }

    QTemporaryDir dir;
    tavmms_test::ScopedEnvironment platform{"TAV_PLATFORM_DIR", dir.path().toUtf8()};
    NiceMock<MockAddressBook> book;
    tavplatform::ScopedAddressBookService installed{&book};
};

TEST_F(EmlExportTest, NamesAddressesByTheirEntryElseByTheirContactElseNotAtAll)
{
    const QByteArray eml = exported(slideMessage());
    EXPECT_EQ(fieldValue(eml, "From"), "\"Ann\" <+15550101@mms.invalid>");
    const QByteArray to = fieldValue(eml, "To");
    EXPECT_TRUE(to.startsWith("=?UTF-8?B?")) << to.toStdString();
    EXPECT_TRUE(to.contains("<+15550102@mms.invalid>,")) << to.toStdString();
    EXPECT_TRUE(to.endsWith("<bob@example.org>")) << to.toStdString();
    EXPECT_EQ(fieldValue(eml, "Cc"), "<+15550103@mms.invalid>");
}

TEST_F(EmlExportTest, LeavesBlindCopiesOutUnlessAskedFor)
{
    EXPECT_FALSE(unfoldedHeader(exported(slideMessage())).contains("Bcc:"));
    EmlOptions options;
    options.bcc = true;
    EXPECT_EQ(fieldValue(exported(slideMessage(), options), "Bcc"), "<hidden@example.org>");
}

TEST_F(EmlExportTest, WritesTheDateMessageIdAndMimeVersion)
{
    const QByteArray eml = exported(slideMessage());
    EXPECT_EQ(fieldValue(eml, "Date"), "Mon, 06 May 2024 07:08:09 +0200");
    EXPECT_EQ(fieldValue(eml, "Message-ID"), "<m-17@mmsc.example>");
    EXPECT_EQ(fieldValue(eml, "MIME-Version"), "1.0");
}

TEST_F(EmlExportTest, LeavesOutADateThatIsNotThere)
{
    ReadMessage message = slideMessage();
    message.header->sendDate = QDateTime();
    EXPECT_FALSE(unfoldedHeader(exported(message)).contains("Date:"));
}

TEST_F(EmlExportTest, GivesAMessageWithoutAMessageIdTheSameMadeOneAtEachExport)
{
    ReadMessage message = slideMessage();
    message.header->messageId.clear();
    const QByteArray id = fieldValue(exported(message), "Message-ID");
    EXPECT_TRUE(id.startsWith('<') && id.endsWith("@mms.invalid>")) << id.toStdString();
    EXPECT_EQ(fieldValue(exported(message), "Message-ID"), id);
    message.row.id = 8;
    EXPECT_NE(fieldValue(exported(message), "Message-ID"), id);
}

TEST_F(EmlExportTest, MakesAMessageIdThatIsNoAddressOneAtMmsInvalid)
{
    ReadMessage message = slideMessage();
    message.header->messageId = QStringLiteral("20240506 0708.1");
    EXPECT_EQ(fieldValue(exported(message), "Message-ID"), "<20240506%200708%2E1@mms.invalid>");
}

TEST_F(EmlExportTest, WritesARelatedBodyStartingWithItsPresentation)
{
    const QByteArray eml = exported(slideMessage());
    const QByteArray type = fieldValue(eml, "Content-Type");
    EXPECT_TRUE(type.startsWith("multipart/related; boundary=\"=_")) << type.toStdString();
    EXPECT_TRUE(type.contains("type=\"application/smil\"; start=\"<0.smil>\""))
        << type.toStdString();
}

TEST_F(EmlExportTest, WritesEachPartWithItsIdsNameAndEncoding)
{
    const QByteArray eml = exported(slideMessage());
    EXPECT_TRUE(
        eml.contains("Content-Type: image/png; name*=UTF-8''Bild%20%C3%BC.png\r\n"
                     "Content-Transfer-Encoding: base64\r\n"
                     "Content-ID: <img>\r\n"
                     "Content-Location: Bild%20%C3%BC.png\r\n"
                     "Content-Disposition: inline; filename*=UTF-8''Bild%20%C3%BC.png\r\n"));
    EXPECT_TRUE(eml.contains("Content-Type: text/plain; charset=\"utf-8\"; name=\"text.txt\"\r\n"
                             "Content-Transfer-Encoding: quoted-printable\r\n"));
    EXPECT_TRUE(eml.contains("Gr=C3=BC=C3=9Fe aus K=C3=B6ln!\r\nZweite Zeile =3D zwei."));
    EXPECT_TRUE(eml.contains(pictureBytes().toBase64().left(76) + "\r\n"));
}

TEST_F(EmlExportTest, EndsEveryLineWithCrlf)
{
    const QByteArray eml = exported(slideMessage());
    EXPECT_TRUE(eml.endsWith("--\r\n"));
    EXPECT_FALSE(QByteArray(eml).replace("\r\n", "").contains('\n'));
    EXPECT_FALSE(QByteArray(eml).replace("\r\n", "").contains('\r'));
}

TEST_F(EmlExportTest, UndoesATransferEncodingThePartCameIn)
{
    Part encoded = part("image/png", {}, "<img>", "a.png", pictureBytes().toBase64());
    encoded.headers.append(PartHeader{"Content-Transfer-Encoding", "base64"});
    const QByteArray eml = exported(
        storedMessage(tavmms::pdu::encodeMultipart({encoded}), NewMessage::defaultContentType()));
    EXPECT_TRUE(eml.contains(pictureBytes().toBase64().left(76) + "\r\n"));
}

TEST_F(EmlExportTest, WritesASinglePartBodyAsTheMessagesOnePart)
{
    const QByteArray eml = exported(storedMessage(
        "plain words\r\n", MMS_CONTENT_TYPE_T{QStringLiteral("text"), QStringLiteral("plain"),
                                              QStringLiteral("charset=us-ascii")}));
    EXPECT_EQ(fieldValue(eml, "Content-Type"), "text/plain; charset=\"utf-8\"");
    EXPECT_EQ(fieldValue(eml, "Content-Transfer-Encoding"), "7bit");
    EXPECT_TRUE(eml.endsWith("\r\n\r\nplain words\r\n"));
}

TEST_F(EmlExportTest, FailsForABodyThatDoesNotReadAndAMailFileThatDoesNotLoad)
{
    const EmlMessage broken = emlMessage(storedMessage("\x05\x01", relatedType()));
    EXPECT_EQ(broken.status.code, ErrorCode::Failed);
    EXPECT_TRUE(
        broken.status.text.startsWith(QStringLiteral("the body of message 7 does not read")))
        << broken.status.text.toStdString();
    ReadMessage unloaded = slideMessage();
    unloaded.header.reset();
    unloaded.mailFileError = QStringLiteral("no such file '7.mms'");
    const EmlMessage missing = emlMessage(unloaded);
    EXPECT_EQ(missing.status.code, ErrorCode::Failed);
    EXPECT_EQ(missing.status.text, unloaded.mailFileError);
}

// The expected members of a part for the parser's check.
QJsonObject expectedPart(const QString& type, const QJsonObject& more = {})
{
    QJsonObject part = more;
    part.insert(QStringLiteral("type"), type);
    return part;
}

QJsonObject expectedSlides()
{
    return expectedPart(
        QStringLiteral("multipart/related"),
        {{QStringLiteral("params"), QJsonObject{{QStringLiteral("type"), "application/smil"},
                                                {QStringLiteral("start"), "<0.smil>"}}},
         {QStringLiteral("parts"),
          QJsonArray{
              expectedPart(QStringLiteral("application/smil"),
                           {{QStringLiteral("data"), tavmms_test::base64Text(kSmil)}}),
              expectedPart(QStringLiteral("text/plain"),
                           {{QStringLiteral("text"), kText},
                            {QStringLiteral("filename"), QStringLiteral("text.txt")}}),
              expectedPart(QStringLiteral("image/png"),
                           {{QStringLiteral("data"), tavmms_test::base64Text(pictureBytes())},
                            {QStringLiteral("filename"), QString::fromUtf8("Bild ü.png")}})}}});
}

QJsonArray mailbox(const QString& name, const QString& address)
{
    return QJsonArray{QJsonArray{name, address}};
}

TEST_F(EmlExportTest, ReadsBackInAnotherMimeParserAsTheTextsAndBytesItWasMadeFrom)
{
    QTemporaryDir cases;
    ASSERT_TRUE(cases.isValid());
    const ReadMessage slides = slideMessage();
    const QJsonObject headers{
        {QStringLiteral("subject"), slides.header->subject},
        {QStringLiteral("from"),
         mailbox(QStringLiteral("Ann"), QStringLiteral("+15550101@mms.invalid"))},
        {QStringLiteral("to"),
         QJsonArray{QJsonArray{QString::fromUtf8("Zoë Contact"), "+15550102@mms.invalid"},
                    QJsonArray{QString::fromUtf8("Bøb \"B\""), "bob@example.org"}}},
        {QStringLiteral("cc"), mailbox(QString(), QStringLiteral("+15550103@mms.invalid"))},
        {QStringLiteral("absent"), QJsonArray{"bcc"}},
    };
    tavmms_test::writeMailCase(
        cases.path(), QStringLiteral("slides"), exported(slides),
        {{QStringLiteral("headers"), headers}, {QStringLiteral("body"), expectedSlides()}});

    // The slides again, as the second part of a mixed body, after a text in Latin-1.
    const QString latin = QString::fromUtf8("Café crème\r\n");
    const QList<Part> outer{
        part("text/plain", {{"charset", "iso-8859-1"}}, "<note>", "note.txt", latin.toLatin1()),
        part("application/vnd.wap.multipart.related",
             {{"start", "<0.smil>"}, {"type", "application/smil"}}, "<slides>", "slides",
             tavmms::pdu::encodeMultipart(slideParts()))};
    ReadMessage nested =
        storedMessage(tavmms::pdu::encodeMultipart(outer), NewMessage::defaultContentType());
    nested.header->subject = QString(200, QLatin1Char('s'));
    tavmms_test::writeMailCase(
        cases.path(), QStringLiteral("nested"), exported(nested),
        {{QStringLiteral("headers"),
          QJsonObject{{QStringLiteral("subject"), nested.header->subject}}},
         {QStringLiteral("body"),
          expectedPart(
              QStringLiteral("multipart/mixed"),
              {{QStringLiteral("parts"), QJsonArray{expectedPart(QStringLiteral("text/plain"),
                                                                 {{QStringLiteral("text"), latin}}),
                                                    expectedSlides()}}})}});

    const std::optional<std::string> problems = tavmms_test::mailParserProblems(cases.path());
    if (!problems)
        GTEST_SKIP() << "no python3 to read the messages with";
    EXPECT_EQ(*problems, "");
}

} // namespace
