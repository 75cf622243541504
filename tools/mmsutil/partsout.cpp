#include "partsout.h"

#include "cli.h"
#include "textout.h"

#include <part_text.h>

#include <QJsonObject>

namespace cli
{

namespace store = tavmms::store;

QString partTable(const store::MessageParts& parts)
{
    QList<QStringList> rows{{QStringLiteral("PART"), QStringLiteral("TYPE"), QStringLiteral("NAME"),
                             QStringLiteral("CHARSET"), QStringLiteral("CONTENT-ID"),
                             QStringLiteral("CONTENT-LOCATION"), QStringLiteral("SIZE"),
                             QStringLiteral("START")}};
    for (const store::PartSummary& part : store::partSummaries(parts))
        rows.append({QString::number(part.number), textout::oneLine(part.contentType),
                     textout::oneLine(part.name), textout::oneLine(part.charset),
                     textout::oneLine(part.contentId), textout::oneLine(part.contentLocation),
                     QString::number(part.size),
                     part.isStart ? QStringLiteral("start") : QString()});
    return textout::columns(rows, {0, 6});
}

QString partTexts(const store::MessageParts& parts)
{
    QString text;
    for (qsizetype i = 0; i < parts.parts.size(); ++i) {
        const tavmms::pdu::Part& part = parts.parts.at(i);
        if (!store::isTextPart(part))
            continue;
        const store::PartText decoded = store::partText(part);
        if (!decoded.warning.isEmpty())
            warn(QStringLiteral("part %1: %2").arg(i + 1).arg(decoded.warning));
        QString body = decoded.text;
        body.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
        if (!body.endsWith(QLatin1Char('\n')))
            body += QLatin1Char('\n');
        text += QStringLiteral("\nText of part %1 (%2):\n")
                    .arg(i + 1)
                    .arg(textout::oneLine(QString::fromUtf8(part.contentType.mediaType))) +
                body;
    }
    return text;
}

QJsonArray partsToJson(const store::MessageParts& parts, bool withText)
{
    QJsonArray array;
    const QList<store::PartSummary> summaries = store::partSummaries(parts);
    for (const store::PartSummary& part : summaries) {
        QJsonObject object{
            {QStringLiteral("index"), part.number},
            {QStringLiteral("contentType"), part.contentType},
            {QStringLiteral("name"), part.name},
            {QStringLiteral("charset"), part.charset},
            {QStringLiteral("contentId"), part.contentId},
            {QStringLiteral("contentLocation"), part.contentLocation},
            {QStringLiteral("size"), part.size},
            {QStringLiteral("start"), part.isStart},
        };
        const tavmms::pdu::Part& data = parts.parts.at(part.number - 1);
        if (withText && store::isTextPart(data)) {
            const store::PartText decoded = store::partText(data);
            object.insert(QStringLiteral("text"), decoded.text);
            if (!decoded.warning.isEmpty())
                object.insert(QStringLiteral("textWarning"), decoded.warning);
        }
        array.append(object);
    }
    return array;
}

} // namespace cli
