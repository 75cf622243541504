// Multipart bodies: entries read from the bytes an MMSC sends, every length checked against what
// is left, and written back so that they read the same; the part a related body starts with.

#include "mms_pdu.h"
#include "multipart.h"
#include "support/octets.h"
#include "support/pdu_helpers.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

namespace
{

using tavmms::pdu::ContentType;
using tavmms::pdu::DecodeError;
using tavmms::pdu::decodeMultipart;
using tavmms::pdu::encodeMultipart;
using tavmms::pdu::Part;
using tavmms::pdu::PartHeader;
using tavmms::pdu::startPart;
using tavmms::test::octets;
using tavmms::test::zeroEnded;

// An entry: the length of its headers, the length of its data, the headers (content type first)
// and the data.
QByteArray entry(const QByteArray& headers, const QByteArray& data)
{
    tavmms::pdu::WspWriter writer;
    writer.uintvar(quint32(headers.size()));
    writer.uintvar(quint32(data.size()));
    writer.octets(headers);
    writer.octets(data);
    return writer.bytes();
}

DecodeError errorOf(const QByteArray& body)
{
    DecodeError error{-1, {}};
    EXPECT_FALSE(decodeMultipart(body, &error));
    return error;
}

TEST(MultipartTest, ReadsEntriesOfAWellKnownATextAndAGeneralContentTypeAndWritesThemBack)
{
    QByteArray body = octets({0x03});
    body += octets({0x01, 0x03, 0x9E}) + "abc";
    body += octets({0x11, 0x02}) + zeroEnded("application/smil") + "<>";
    // text/plain; charset=utf-8
    body += octets({0x04, 0x02, 0x03, 0x83, 0x81, 0xEA}) + "hi";
    DecodeError error;
    const auto parts = decodeMultipart(body, &error);
    ASSERT_TRUE(parts) << error.offset;
    ASSERT_EQ(parts->size(), 3);
    EXPECT_EQ((*parts)[0].contentType.mediaType, "image/jpeg");
    EXPECT_EQ((*parts)[0].data, "abc");
    EXPECT_EQ((*parts)[1].contentType.mediaType, "application/smil");
    EXPECT_EQ((*parts)[1].data, "<>");
    EXPECT_EQ((*parts)[2].contentType.mediaType, "text/plain");
    EXPECT_EQ((*parts)[2].charset(), "utf-8");
    EXPECT_EQ((*parts)[2].data, "hi");
    EXPECT_EQ(encodeMultipart(*parts), body);
}

TEST(MultipartTest, ReadsContentIdQuotedOrPlainWithOrWithoutAngleBrackets)
{
    QByteArray body = octets({0x04});
    body += entry(octets({0x83, 0xC0}) + '"' + zeroEnded("<a>"), {});
    body += entry(octets({0x83, 0xC0}) + '"' + zeroEnded("b"), {});
    body += entry(octets({0x83, 0xC0}) + zeroEnded("<c>"), {});
    body += entry(octets({0x83, 0xC0}) + zeroEnded("d"), {});
    const auto parts = decodeMultipart(body);
    ASSERT_TRUE(parts);
    ASSERT_EQ(parts->size(), 4);
    EXPECT_EQ((*parts)[0].contentId(), "<a>");
    EXPECT_EQ((*parts)[1].contentId(), "b");
    EXPECT_EQ((*parts)[2].contentId(), "<c>");
    EXPECT_EQ((*parts)[3].contentId(), "d");
}

TEST(MultipartTest, WritesContentIdAsAQuotedStringAndLocationAsAText)
{
    const Part part{
        {"text/plain", {}}, {{"Content-ID", "<a>"}, {"Content-Location", "a.txt"}}, "x"};
    QByteArray headers = octets({0x83, 0xC0}) + '"' + zeroEnded("<a>");
    headers += char(0x8E) + zeroEnded("a.txt");
    EXPECT_EQ(encodeMultipart({part}), octets({0x01}) + entry(headers, "x"));
}

TEST(MultipartTest, KeepsTextHeadersBeforeAndAfterTheContentIdInOrder)
{
    QByteArray headers = octets({0x83});
    headers += zeroEnded("Content-Transfer-Encoding") + zeroEnded("base64");
    headers += char(0xC0) + zeroEnded("<a>");
    headers += zeroEnded("X-Foo") + zeroEnded("bar");
    const QByteArray body = octets({0x01}) + entry(headers, "eA==");
    const auto parts = decodeMultipart(body);
    ASSERT_TRUE(parts);
    ASSERT_EQ(parts->size(), 1);
    EXPECT_EQ(parts->first().headers, (QList<PartHeader>{{"Content-Transfer-Encoding", "base64"},
                                                         {"Content-ID", "<a>"},
                                                         {"X-Foo", "bar"}}));
    EXPECT_EQ(parts->first().header("x-foo"), "bar");
    EXPECT_EQ(parts->first().contentId(), "<a>");
}

TEST(MultipartTest, ReadsContentDispositionByEitherOfItsNumbers)
{
    // attachment; filename="a.jpg", the filename typed as a text string
    QByteArray first = octets({0x9E, 0xAE, 0x08, 0x81, 0x86}) + zeroEnded("a.jpg");
    // inline; filename="b c.jpg", the filename typed as a text value, a quoted string
    QByteArray second = octets({0x9E, 0xC5, 0x0B, 0x82, 0x98}) + '"' + zeroEnded("b c.jpg");
    const QByteArray body = octets({0x02}) + entry(first, "1") + entry(second, "2");
    const auto parts = decodeMultipart(body);
    ASSERT_TRUE(parts);
    ASSERT_EQ(parts->size(), 2);
    EXPECT_EQ((*parts)[0].header("Content-Disposition"), "attachment; filename=\"a.jpg\"");
    EXPECT_EQ((*parts)[0].dispositionFilename(), "a.jpg");
    EXPECT_EQ((*parts)[1].header("Content-Disposition"), "inline; filename=\"b c.jpg\"");
    EXPECT_EQ((*parts)[1].dispositionFilename(), "b c.jpg");
    // Written back by the first number, the filename typed.
    EXPECT_EQ(encodeMultipart({(*parts)[0]}), octets({0x01}) + entry(first, "1"));
}

TEST(MultipartTest, NamesAPartByItsNameParameterElseItsFilenameElseItsLocation)
{
    Part part{
        {"image/jpeg", {{"name", "n.jpg"}}},
        {{"Content-Location", "l.jpg"}, {"Content-Disposition", "attachment; filename=f.jpg"}},
        {}};
    EXPECT_EQ(part.name(), "n.jpg");
    part.contentType.parameters.clear();
    EXPECT_EQ(part.name(), "f.jpg");
    part.headers.removeLast();
    EXPECT_EQ(part.name(), "l.jpg");
    part.headers.clear();
    EXPECT_TRUE(part.name().isEmpty());
}

TEST(MultipartTest, GivesTheCharsetByTheNameItDecodesBy)
{
    Part part{{"text/plain", {{"charset", "UTF-8"}}}, {}, {}};
    EXPECT_EQ(part.charset(), "utf-8");
    part.contentType.parameters = {{"charset", "4"}};
    EXPECT_EQ(part.charset(), "iso-8859-1");
    part.contentType.parameters = {{"charset", "x-unheard-of"}};
    EXPECT_EQ(part.charset(), "x-unheard-of");
    part.contentType.parameters.clear();
    EXPECT_TRUE(part.charset().isEmpty());
}

TEST(MultipartTest, KeepsOtherWellKnownHeadersAsNumbersTextsOrTheirOctets)
{
    QByteArray headers = octets({0x83});
    headers += octets({0x8D, 0x85});                         // Content-Length: 5
    headers += octets({0x92, 0x04, 0x3B, 0x9A, 0xCA, 0x00}); // Date, a long integer
    headers += char(0x8C) + zeroEnded("en");                 // Content-Language: en
    const QByteArray body = octets({0x01}) + entry(headers, "hello");
    const auto parts = decodeMultipart(body);
    ASSERT_TRUE(parts);
    ASSERT_EQ(parts->size(), 1);
    EXPECT_EQ(parts->first().headers,
              (QList<PartHeader>{{"Content-Length", "5"},
                                 {"Date", octets({0x3B, 0x9A, 0xCA, 0x00}), true},
                                 {"Content-Language", "en"}}));
    EXPECT_EQ(encodeMultipart(*parts), body);
}

TEST(MultipartTest, AHeaderNumberWspDoesNotAssignIsAnError)
{
    const QByteArray body = octets({0x01}) + entry(octets({0x83, 0xC8, 0x80}), {});
    const DecodeError error = errorOf(body);
    EXPECT_EQ(error.offset, 4);
    EXPECT_TRUE(error.expected.contains(QLatin1String("header field")));
}

TEST(MultipartTest, NoEntriesReadAsNoPartsButAnEmptyBodyIsAnError)
{
    const auto parts = decodeMultipart(octets({0x00}));
    ASSERT_TRUE(parts);
    EXPECT_TRUE(parts->isEmpty());
    EXPECT_EQ(encodeMultipart({}), octets({0x00}));
    EXPECT_EQ(errorOf({}).offset, 0);
}

TEST(MultipartTest, HeadersShorterThanTheirContentTypeAreAnError)
{
    // The content type's length says 3, the headers' length 2.
    const QByteArray body = octets({0x01, 0x02, 0x00, 0x03, 0x83, 0x81, 0xEA});
    const DecodeError error = errorOf(body);
    EXPECT_EQ(error.offset, 3);
    EXPECT_TRUE(error.expected.contains(QLatin1String("value length")));
}

TEST(MultipartTest, DataBeyondTheEndIsAnError)
{
    const QByteArray body = octets({0x01, 0x01, 0x05, 0x83}) + "abc";
    const DecodeError error = errorOf(body);
    EXPECT_EQ(error.offset, 4);
    EXPECT_TRUE(error.expected.contains(QLatin1String("the data of 5 octets, where 3 are left")));
}

TEST(MultipartTest, HeadersBeyondTheEndAreAnError)
{
    const QByteArray body = octets({0x01, 0x09, 0x00, 0x83});
    const DecodeError error = errorOf(body);
    EXPECT_EQ(error.offset, 3);
    EXPECT_TRUE(error.expected.contains(QLatin1String("the headers of 9 octets")));
}

TEST(MultipartTest, MoreEntriesCountedThanThereAreIsAnError)
{
    const QByteArray body = octets({0x02}) + entry(octets({0x83}), "x");
    const DecodeError error = errorOf(body);
    EXPECT_EQ(error.offset, body.size());
    EXPECT_TRUE(error.expected.contains(QLatin1String("entry 2 of the 2")));
}

TEST(MultipartTest, AHugeCountOfEntriesEndsAtTheEndOfTheBody)
{
    const QByteArray body = octets({0x8F, 0xFF, 0xFF, 0xFF, 0x7F}) + entry(octets({0x83}), "x");
    const DecodeError error = errorOf(body);
    EXPECT_EQ(error.offset, body.size());
    EXPECT_TRUE(error.expected.contains(QLatin1String("entry 2 of the 4294967295")));
}

TEST(MultipartTest, OctetsAfterTheLastEntryAreIgnored)
{
    const QByteArray body = octets({0x01}) + entry(octets({0x83}), "x") + "trailing";
    const auto parts = decodeMultipart(body);
    ASSERT_TRUE(parts);
    ASSERT_EQ(parts->size(), 1);
    EXPECT_EQ(parts->first().data, "x");
}

TEST(MultipartTest, EveryBodyCutShortIsAnErrorWithinIt)
{
    const QByteArray headers = octets({0x83, 0xC0}) + '"' + zeroEnded("<a>");
    const QByteArray body = octets({0x02}) + entry(headers, "abc") + entry(octets({0x9E}), "de");
    ASSERT_TRUE(decodeMultipart(body));
    for (qsizetype size = 0; size < body.size(); ++size) {
        const DecodeError error = errorOf(body.first(size));
        EXPECT_GE(error.offset, 0) << size;
        EXPECT_LE(error.offset, size) << size;
        EXPECT_FALSE(error.expected.isEmpty()) << size;
    }
}

TEST(MultipartTest, KeepsANestedMultipartAsDataThatDecodesInTurn)
{
    const QByteArray inner = octets({0x02}) + entry(octets({0x83}), "text") +
                             entry(zeroEnded("text/html"), "<p>html</p>");
    const QByteArray body = octets({0x03}) + entry(octets({0x9E}), "jpeg") +
                            entry(octets({0x8F}), inner) + // multipart/alternative
                            entry(octets({0xA3}), inner);  // application/vnd.wap.multipart.mixed
    const auto parts = decodeMultipart(body);
    ASSERT_TRUE(parts);
    ASSERT_EQ(parts->size(), 3);
    EXPECT_FALSE((*parts)[0].isMultipart());
    ASSERT_TRUE((*parts)[1].isMultipart());
    ASSERT_TRUE((*parts)[2].isMultipart());
    EXPECT_EQ((*parts)[1].data, inner);
    const auto nested = decodeMultipart((*parts)[1].data);
    ASSERT_TRUE(nested);
    ASSERT_EQ(nested->size(), 2);
    EXPECT_EQ((*nested)[1].contentType.mediaType, "text/html");
    EXPECT_EQ((*nested)[1].data, "<p>html</p>");
}

TEST(MultipartTest, EveryFieldReadsBackAsWritten)
{
    const QList<Part> parts{
        {{"application/smil", {{"charset", "utf-8"}}},
         {{"Content-ID", "<smil>"}, {"Content-Location", "smil.xml"}},
         "<smil/>"},
        {{"image/jpeg", {{"name", "a.jpg"}}},
         {{"Content-Location", "a.jpg"},
          {"Content-Disposition", "attachment; filename=\"a \\\"b\\\".jpg\"; size=\"12\""},
          {"Content-ID", "<a.jpg>"},
          {"Content-Transfer-Encoding", "base64"},
          {"Content-Length", "12"},
          {"Content-Language", "en"},
          {"Date", octets({0x3B, 0x9A, 0xCA, 0x00}), true},
          {"X-Foo", ""}},
         QByteArray("\xff\xd8\0", 3)},
        {{"application/x-unknown", {}}, {}, {}},
    };
    const auto decoded = decodeMultipart(encodeMultipart(parts));
    ASSERT_TRUE(decoded);
    EXPECT_EQ(*decoded, parts);
    EXPECT_EQ((*decoded)[1].dispositionFilename(), "a \"b\".jpg");
}

TEST(MultipartTest, StartsWithThePartWhoseContentIdIsTheStartParameter)
{
    const QList<Part> parts{{{"text/plain", {}}, {{"Content-ID", "<text>"}}, {}},
                            {{"application/smil", {}}, {{"Content-ID", "smil"}}, {}}};
    const auto related = [](const QByteArray& start) {
        return ContentType{"application/vnd.wap.multipart.related", {{"start", start}}};
    };
    EXPECT_EQ(startPart(related("<smil>"), parts), 1);
    EXPECT_EQ(startPart(related("smil"), parts), 1);
    EXPECT_EQ(startPart(related("text"), parts), 0);
    EXPECT_EQ(startPart(related("<text>"), parts), 0);
    EXPECT_EQ(startPart(related("<other>"), parts), 0);
    EXPECT_EQ(startPart({"application/vnd.wap.multipart.mixed", {}}, parts), 0);
    EXPECT_EQ(startPart(related("<smil>"), {}), -1);
}

TEST(MultipartTest, TheBodiesOfRealMessagesDecodeAndStartWithAPartTheyHave)
{
    const QDir folder(tavmms_test::realPduFolder());
    if (!folder.exists())
        GTEST_SKIP() << "no sample messages in " << qPrintable(folder.path());
    int multiparts = 0;
    const QStringList names =
        folder.entryList({QStringLiteral("m-retrieve_*.conf"), QStringLiteral("m-send_*.req")});
    for (const QString& name : names) {
        SCOPED_TRACE(name.toStdString());
        QFile file(folder.filePath(name));
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        const std::optional<tavmms::pdu::Pdu> pdu = tavmms::pdu::decodePdu(file.readAll());
        ASSERT_TRUE(pdu);
        if (!tavmms::pdu::isMultipartType(*pdu->contentType()))
            continue;
        ++multiparts;
        DecodeError error;
        const auto parts = decodeMultipart(pdu->body, &error);
        ASSERT_TRUE(parts) << error.offset << " " << error.expected.toStdString();
        EXPECT_GE(parts->size(), 1);
        EXPECT_LE(parts->size(), 50);
        for (const Part& part : *parts)
            EXPECT_FALSE(part.contentType.mediaType.isEmpty());
        const QByteArray start = pdu->contentType()->parameter("start");
        if (!start.isEmpty()) {
            const Part& first = (*parts)[startPart(*pdu->contentType(), *parts)];
            EXPECT_TRUE(start.contains(first.contentId()) || first.contentId().contains(start))
                << start.toStdString();
        }
    }
    EXPECT_GT(multiparts, 0);
}

} // namespace
