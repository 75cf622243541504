#include "textout.h"

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
    return QDateTime::fromSecsSinceEpoch(seconds).toString(QStringLiteral("yyyy-MM-dd hh:mm:ss"));
}

QString columns(const QList<QStringList>& rows, const QList<int>& rightAligned)
{
    QList<qsizetype> widths;
    for (const QStringList& row : rows) {
        widths.resize(qMax(widths.size(), row.size()), 0);
        for (qsizetype i = 0; i < row.size(); ++i)
            widths[i] = qMax(widths[i], row.at(i).size());
    }
    QString text;
    for (const QStringList& row : rows) {
        QStringList cells;
        for (qsizetype i = 0; i < row.size(); ++i) {
            const int width = int(widths.at(i));
            if (rightAligned.contains(int(i)))
                cells << row.at(i).rightJustified(width);
            else
                cells << (i + 1 < row.size() ? row.at(i).leftJustified(width) : row.at(i));
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
