#ifndef TAVMMS_QT2STRING_H
#define TAVMMS_QT2STRING_H

#include <QString>

// Substrings with the counting rules that the stored text forms were defined with: positions and
// counts are unsigned, so a negative count (a mark that was not found) means "all of it", an
// empty source gives a null string, and a count of 0 gives an empty one. Qt 6's own left, right
// and mid differ at these edges, so the readers of stored texts use these instead.
namespace tavmms {

QString qt2Left(const QString& s, int count);
QString qt2Right(const QString& s, int count);
QString qt2Mid(const QString& s, int index, int count = -1);

} // namespace tavmms

#endif
