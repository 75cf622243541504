#ifndef MMSUTIL_TEXTOUT_H
#define MMSUTIL_TEXTOUT_H

// How the mmsutil commands lay out what they print: texts on one line, times, columns.

#include <user_input.h>

#include <QDateTime>
#include <QList>
#include <QString>
#include <QStringList>

namespace textout
{

using tavmms::store::oneLine;
// "1 contact", "2 contacts": a count and its noun, in the plural unless it is 1.
QString counted(qsizetype count, const char* noun);
// Seconds since the epoch as local time with its offset from UTC, "2026-01-01 12:00:00 +01:00",
// which the readers of --since and --until take back.
QString timeText(quint32 seconds);
// The same for JSON, ISO 8601 as it is: "2026-01-01T12:00:00+01:00".
QString jsonTimeText(quint32 seconds);
// A date and time in its own zone, as timeText() writes it; empty when it is invalid.
QString dateTimeText(const QDateTime& time);

// Rows of cells in columns, two blanks apart, one line each; the columns in `rightAligned` are
// lined up on the right. No line ends in blanks.
QString columns(const QList<QStringList>& rows, const QList<int>& rightAligned = {});

} // namespace textout

#endif
