#ifndef MMSUTIL_TEXTOUT_H
#define MMSUTIL_TEXTOUT_H

// How the mmsutil commands lay out what they print: texts on one line, times, columns.

#include <user_input.h>

#include <QList>
#include <QString>
#include <QStringList>

namespace textout
{

using tavmms::store::oneLine;
// "1 contact", "2 contacts": a count and its noun, in the plural unless it is 1.
QString counted(qsizetype count, const char* noun);
// Seconds since the epoch as local time, "yyyy-MM-dd hh:mm:ss".
QString timeText(quint32 seconds);

// Rows of cells in columns, two blanks apart, one line each; the columns in `rightAligned` are
// lined up on the right. No line ends in blanks.
QString columns(const QList<QStringList>& rows, const QList<int>& rightAligned = {});

} // namespace textout

#endif
