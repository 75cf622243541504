#include "textout.h"

#include <display_text.h>
#include <pdu_field_text.h>

#include <QDateTime>

namespace textout
{

QString counted(qsizetype count, const char* noun)
{
    return QStringLiteral("%1 %2%3")
        .arg(count)
        .arg(QLatin1String(noun))
        .arg(count == 1 ? QString() : QStringLiteral("s"));
}

QString timeText(quint32 seconds)
{
    return dateTimeText(QDateTime::fromSecsSinceEpoch(seconds));
}

QString jsonTimeText(quint32 seconds)
{
    return tavmms::store::isoDateText(seconds);
}

QString dateTimeText(const QDateTime& time)
{
    // The offset keeps a time read back alone the same second wherever it is read.
    return time.isValid() ? time.toString(QStringLiteral("yyyy-MM-dd hh:mm:ss ")) +
                                tavmms::store::utcOffsetText(time.offsetFromUtc())
                          : QString();
}

QString columns(const QList<QStringList>& rows, const QList<int>& rightAligned)
{
    // A cell is as wide as the printer shows it, escapes included.
    const auto shownWidth = [](const QString& cell) {
        return tavmms::store::displayText(cell).size();
    };
    QList<qsizetype> widths;
    for (const QStringList& row : rows) {
        widths.resize(qMax(widths.size(), row.size()), 0);
        for (qsizetype i = 0; i < row.size(); ++i)
            widths[i] = qMax(widths[i], shownWidth(row.at(i)));
    }
    QString text;
    for (const QStringList& row : rows) {
        QStringList cells;
        for (qsizetype i = 0; i < row.size(); ++i) {
            const QString& cell = row.at(i);
            const QString padding(widths.at(i) - shownWidth(cell), QLatin1Char(' '));
            if (rightAligned.contains(int(i)))
                cells << padding + cell;
            else
                cells << (i + 1 < row.size() ? cell + padding : cell);
        }
        QString line = cells.join(QStringLiteral("  "));
        // A last cell that is empty would leave the blanks before it.
        while (line.endsWith(QLatin1Char(' ')))
            line.chop(1);
        text += line + QLatin1Char('\n');
    }
    return text;
}

} // namespace textout
