#ifndef TAVMMS_QT2STRING_H
#define TAVMMS_QT2STRING_H

#include <QString>
#include <QStringView>

// Substrings with the counting rules that the stored text forms were defined with: positions and
// counts are unsigned, so a negative count (a mark that was not found) means "all of it", an
// empty source gives a null string, and a count of 0 gives an empty one. Qt 6's own left, right
// and mid differ at these edges, so the readers of stored texts use these instead.
namespace tavmms
{

QString qt2Left(QStringView s, int count);
QString qt2Right(QStringView s, int count);
QString qt2Mid(QStringView s, int index, int count = -1);
// The piece that qt2Mid() copies, seen in place: a null view where qt2Mid() gives a null string,
// an empty one where it gives an empty string. For readers that only look at the piece.
QStringView qt2MidView(QStringView s, int index, int count = -1);

} // namespace tavmms

#endif
