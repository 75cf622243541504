#include "message_body.h"

#include "multipart.h"

#include <algorithm>

#include <QSet>
#include <QStringView>
#include <QXmlStreamWriter>

namespace tavmms::pdu
{

namespace
{

const QByteArray kSmilId = "<smil>";
const QByteArray kSmilLocation = "smil.xml";
const QByteArray kTextLocation = "text.txt";

// `fileName` without its folders, in letters, digits, '.', '-' and '_': accents are dropped and
// any other character becomes '_'.
QByteArray asciiName(const QString& fileName)
{
    QByteArray name;
    const QString decomposed =
        fileName.sliced(fileName.lastIndexOf(u'/') + 1).normalized(QString::NormalizationForm_KD);
    for (const QChar c : decomposed) {
        if (c.isMark())
            continue;
        const bool safe =
            c.unicode() < 0x80 && (c.isLetterOrNumber() || QStringView(u".-_").contains(c));
        name += safe ? char(c.unicode()) : '_';
    }
    return name;
}

// A Content-Location for `fileName` that none of `taken` has, ignoring case: a number is added
// before the extension when it would.
QByteArray uniqueLocation(const QString& fileName, QSet<QByteArray>& taken)
{
    QByteArray name = asciiName(fileName);
    if (name.isEmpty())
        name = "attachment";
    const qsizetype dot = name.lastIndexOf('.');
    const QByteArray stem = dot > 0 ? name.first(dot) : name;
    const QByteArray extension = dot > 0 ? name.sliced(dot) : QByteArray();
    for (int number = 2; taken.contains(name.toLower()); ++number)
        name = stem + '-' + QByteArray::number(number) + extension;
    taken.insert(name.toLower());
    return name;
}

Part makePart(ContentType type, const QByteArray& id, const QByteArray& location, QByteArray data)
{
    return Part{
        std::move(type), {{"Content-ID", id}, {"Content-Location", location}}, std::move(data)};
}

// Parts other than the presentation are identified by their Content-Location.
Part makePart(ContentType type, const QByteArray& location, QByteArray data)
{
    return makePart(std::move(type), '<' + location + '>', location, std::move(data));
}

// The SMIL element that shows a part of `type`, and the region it is shown in, if any.
std::pair<QString, QString> smilElement(const ContentType& type)
{
    if (type.is("image/*"))
        return {QStringLiteral("img"), QStringLiteral("Image")};
    if (type.is("video/*"))
        return {QStringLiteral("video"), QStringLiteral("Image")};
    if (type.is("audio/*"))
        return {QStringLiteral("audio"), {}};
    if (type.is("text/plain"))
        return {QStringLiteral("text"), QStringLiteral("Text")};
    return {QStringLiteral("ref"), {}};
}

void writeRegion(QXmlStreamWriter& xml, const QString& id, const QString& top,
                 const QString& height)
{
    xml.writeEmptyElement(QStringLiteral("region"));
    xml.writeAttribute(QStringLiteral("id"), id);
    xml.writeAttribute(QStringLiteral("top"), top);
    xml.writeAttribute(QStringLiteral("left"), QStringLiteral("0%"));
    xml.writeAttribute(QStringLiteral("width"), QStringLiteral("100%"));
    xml.writeAttribute(QStringLiteral("height"), height);
}

// One slide per part, but the first slide shows the text together with the first attachment. A
// slide of still things lasts five seconds; one with sound or video as long as they play.
QByteArray smil(const QList<Part>& parts, bool hasText)
{
    QByteArray document;
    QXmlStreamWriter xml(&document);
    xml.writeStartElement(QStringLiteral("smil"));
    xml.writeStartElement(QStringLiteral("head"));
    xml.writeStartElement(QStringLiteral("layout"));
    xml.writeEmptyElement(QStringLiteral("root-layout"));
    xml.writeAttribute(QStringLiteral("width"), QStringLiteral("100%"));
    xml.writeAttribute(QStringLiteral("height"), QStringLiteral("100%"));
    writeRegion(xml, QStringLiteral("Image"), QStringLiteral("0%"), QStringLiteral("70%"));
    writeRegion(xml, QStringLiteral("Text"), QStringLiteral("70%"), QStringLiteral("30%"));
    xml.writeEndElement();
    xml.writeEndElement();
    xml.writeStartElement(QStringLiteral("body"));
    for (qsizetype first = 0; first < parts.size();) {
        const qsizetype end = first == 0 && hasText ? qMin<qsizetype>(2, parts.size()) : first + 1;
        const QList<Part> slide = parts.sliced(first, end - first);
        const bool timed = std::any_of(slide.begin(), slide.end(), [](const Part& part) {
            return part.contentType.is("audio/*") || part.contentType.is("video/*");
        });
        xml.writeStartElement(QStringLiteral("par"));
        if (!timed)
            xml.writeAttribute(QStringLiteral("dur"), QStringLiteral("5000ms"));
        for (const Part& part : slide) {
            const auto [element, region] = smilElement(part.contentType);
            xml.writeEmptyElement(element);
            xml.writeAttribute(QStringLiteral("src"), QString::fromLatin1(part.contentLocation()));
            if (!region.isEmpty())
                xml.writeAttribute(QStringLiteral("region"), region);
        }
        xml.writeEndElement();
        first = end;
    }
    xml.writeEndDocument();
    return document;
}

} // namespace

EncodedBody composeBody(const QString& text, const QList<Attachment>& attachments, BodyKind kind)
{
    QList<Part> parts;
    // An attachment called "smil" would otherwise have the presentation's Content-ID.
    QSet<QByteArray> taken{kSmilLocation, kTextLocation, "smil"};
    if (!text.isEmpty())
        parts.append(
            makePart({"text/plain", {{"charset", "utf-8"}}}, kTextLocation, text.toUtf8()));
    for (const Attachment& attachment : attachments) {
        const QByteArray location = uniqueLocation(attachment.fileName, taken);
        parts.append(
            makePart({attachment.mediaType, {{"name", location}}}, location, attachment.data));
    }
    if (kind == BodyKind::Mixed)
        return {{"application/vnd.wap.multipart.mixed", {}}, encodeMultipart(parts)};
    parts.prepend(
        makePart({"application/smil", {}}, kSmilId, kSmilLocation, smil(parts, !text.isEmpty())));
    return {{"application/vnd.wap.multipart.related",
             {{"type", "application/smil"}, {"start", kSmilId}}},
            encodeMultipart(parts)};
}

} // namespace tavmms::pdu
