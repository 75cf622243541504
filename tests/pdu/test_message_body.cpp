// Message bodies made from a text and attachments: a related body led by a SMIL presentation that
// lays them out slide by slide, or a mixed one; decoded again, they give back what went in.

#include "message_body.h"
#include "multipart.h"

#include <QSet>
#include <QXmlStreamReader>

#include <gtest/gtest.h>

namespace
{

using tavmms::pdu::Attachment;
using tavmms::pdu::BodyKind;
using tavmms::pdu::composeBody;
using tavmms::pdu::decodeMultipart;
using tavmms::pdu::Part;

QList<Part> decoded(const tavmms::pdu::EncodedBody& body)
{
    const auto parts = decodeMultipart(body.bytes);
    EXPECT_TRUE(parts);
    return parts.value_or(QList<Part>());
}

struct SmilElement {
    QString name;
    QString src;
    QString region;
    int slide;
};

// The media elements of `smil`, each with the number of its slide; fails the test when the
// document is not well-formed.
QList<SmilElement> mediaElements(const QByteArray& smil)
{
    QList<SmilElement> elements;
    QXmlStreamReader xml(smil);
    int slide = 0;
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement)
            continue;
        if (xml.name() == u"par")
            ++slide;
        const auto attributes = xml.attributes();
        if (attributes.hasAttribute(QStringLiteral("src")))
            elements.append({xml.name().toString(),
                             attributes.value(QStringLiteral("src")).toString(),
                             attributes.value(QStringLiteral("region")).toString(), slide});
    }
    EXPECT_FALSE(xml.hasError()) << xml.errorString().toStdString();
    return elements;
}

TEST(MessageBodyTest, RelatedBodyStartsWithTheSmilAndGivesBackTextAndAttachmentsInOrder)
{
    const QList<Attachment> attachments{{"image/jpeg", QStringLiteral("photo.jpg"), "jpeg"},
                                        {"audio/amr", QStringLiteral("voice.amr"), "amr"}};
    const auto body = composeBody(QStringLiteral("Hello, é"), attachments, BodyKind::Related);
    EXPECT_EQ(body.contentType.mediaType, "application/vnd.wap.multipart.related");
    EXPECT_EQ(body.contentType.parameter("type"), "application/smil");
    EXPECT_EQ(body.contentType.parameter("start"), "<smil>");
    const QList<Part> parts = decoded(body);
    ASSERT_EQ(parts.size(), 4);
    EXPECT_EQ(tavmms::pdu::startPart(body.contentType, parts), 0);
    EXPECT_EQ(parts[0].contentType.mediaType, "application/smil");
    EXPECT_EQ(parts[0].contentId(), "<smil>");
    EXPECT_EQ(parts[0].contentLocation(), "smil.xml");
    EXPECT_EQ(parts[1].contentType.mediaType, "text/plain");
    EXPECT_EQ(parts[1].charset(), "utf-8");
    EXPECT_EQ(QString::fromUtf8(parts[1].data), QStringLiteral("Hello, é"));
    EXPECT_EQ(parts[1].name(), "text.txt");
    EXPECT_EQ(parts[2].contentType.mediaType, "image/jpeg");
    EXPECT_EQ(parts[2].name(), "photo.jpg");
    EXPECT_EQ(parts[2].data, "jpeg");
    EXPECT_EQ(parts[3].contentType.mediaType, "audio/amr");
    EXPECT_EQ(parts[3].data, "amr");
}

TEST(MessageBodyTest, SmilShowsTheTextWithTheFirstAttachmentThenOneSlideEach)
{
    const QList<Attachment> attachments{{"image/png", QStringLiteral("a.png"), "1"},
                                        {"video/3gpp", QStringLiteral("b.3gp"), "2"},
                                        {"audio/amr", QStringLiteral("c.amr"), "3"},
                                        {"text/x-vCard", QStringLiteral("d.vcf"), "4"}};
    const QList<Part> parts =
        decoded(composeBody(QStringLiteral("hi"), attachments, BodyKind::Related));
    ASSERT_EQ(parts.size(), 6);
    const QList<SmilElement> elements = mediaElements(parts[0].data);
    ASSERT_EQ(elements.size(), 5);
    const QStringList names{"text", "img", "video", "audio", "ref"};
    const QList<int> slides{1, 1, 2, 3, 4};
    const QStringList regions{"Text", "Image", "Image", "", ""};
    for (int i = 0; i < elements.size(); ++i) {
        EXPECT_EQ(elements[i].name, names[i]);
        EXPECT_EQ(elements[i].slide, slides[i]);
        EXPECT_EQ(elements[i].region, regions[i]);
        EXPECT_EQ(elements[i].src.toLatin1(), parts[i + 1].contentLocation());
    }
}

TEST(MessageBodyTest, SmilLaysOutAnImageRegionAndATextRegion)
{
    const QList<Part> parts = decoded(composeBody(QStringLiteral("hi"), {}, BodyKind::Related));
    ASSERT_EQ(parts.size(), 2);
    QXmlStreamReader xml(parts[0].data);
    QStringList regions;
    bool rootLayout = false;
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement)
            continue;
        rootLayout = rootLayout || xml.name() == u"root-layout";
        if (xml.name() == u"region")
            regions.append(xml.attributes().value(QStringLiteral("id")).toString());
    }
    EXPECT_FALSE(xml.hasError());
    EXPECT_TRUE(rootLayout);
    EXPECT_EQ(regions, (QStringList{"Image", "Text"}));
}

TEST(MessageBodyTest, NamesPartsUniquelyInAsciiAfterTheirFileNames)
{
    const QList<Attachment> attachments{{"image/jpeg", QStringLiteral("/sdcard/Été <1>.jpg"), "1"},
                                        {"image/jpeg", QStringLiteral("ete _1_.JPG"), "2"},
                                        {"image/jpeg", QStringLiteral("text.txt"), "3"},
                                        {"image/jpeg", QStringLiteral("smil"), "4"},
                                        {"image/jpeg", QStringLiteral("日本"), "5"},
                                        {"image/jpeg", QString(), "6"}};
    const QList<Part> parts =
        decoded(composeBody(QStringLiteral("hi"), attachments, BodyKind::Related));
    ASSERT_EQ(parts.size(), 8);
    QStringList locations;
    QStringList ids;
    for (const Part& part : parts) {
        locations.append(QString::fromLatin1(part.contentLocation()).toLower());
        ids.append(QString::fromLatin1(part.contentId()));
    }
    EXPECT_EQ(locations, (QStringList{"smil.xml", "text.txt", "ete__1_.jpg", "ete__1_-2.jpg",
                                      "text-2.txt", "smil-2", "__", "attachment"}));
    EXPECT_EQ(QSet<QString>(ids.begin(), ids.end()).size(), ids.size());
    for (const SmilElement& element : mediaElements(parts[0].data))
        EXPECT_TRUE(locations.contains(element.src.toLower())) << element.src.toStdString();
}

TEST(MessageBodyTest, SmilStaysWellFormedWhateverTheFileNames)
{
    // Characters XML takes for markup, in a file name, do not reach the presentation as markup.
    const QList<Attachment> attachments{{"image/gif", QStringLiteral("a&b\"<c>.gif"), "1"}};
    const QList<Part> parts = decoded(composeBody({}, attachments, BodyKind::Related));
    ASSERT_EQ(parts.size(), 2);
    const QList<SmilElement> elements = mediaElements(parts[0].data);
    ASSERT_EQ(elements.size(), 1);
    EXPECT_EQ(elements[0].src.toLatin1(), parts[1].contentLocation());
}

TEST(MessageBodyTest, MixedBodyHasNoSmilAndGivesBackTextAndAttachmentsInOrder)
{
    const QList<Attachment> attachments{{"image/jpeg", QStringLiteral("a.jpg"), "jpeg"}};
    const auto body = composeBody(QStringLiteral("text"), attachments, BodyKind::Mixed);
    EXPECT_EQ(body.contentType.mediaType, "application/vnd.wap.multipart.mixed");
    EXPECT_TRUE(body.contentType.parameters.isEmpty());
    const QList<Part> parts = decoded(body);
    ASSERT_EQ(parts.size(), 2);
    EXPECT_EQ(parts[0].data, "text");
    EXPECT_EQ(parts[0].contentLocation(), "text.txt");
    EXPECT_EQ(parts[1].data, "jpeg");
    EXPECT_EQ(parts[1].contentId(), "<a.jpg>");
}

TEST(MessageBodyTest, NoTextMeansNoTextPart)
{
    const QList<Attachment> attachments{{"image/jpeg", QStringLiteral("a.jpg"), "jpeg"}};
    const QList<Part> parts = decoded(composeBody({}, attachments, BodyKind::Related));
    ASSERT_EQ(parts.size(), 2);
    const QList<SmilElement> elements = mediaElements(parts[0].data);
    ASSERT_EQ(elements.size(), 1);
    EXPECT_EQ(elements[0].name, "img");
}

} // namespace
