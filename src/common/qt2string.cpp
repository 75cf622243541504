#include "qt2string.h"

namespace tavmms
{

QString qt2Left(QStringView s, int count)
{
    return qt2Mid(s, 0, count);
}

QString qt2Right(QStringView s, int count)
{
    const uint n = uint(count);
    const uint size = uint(s.size());
    if (n == 0) // an empty piece of a non-empty text, as for the other counts of 0
        return s.isEmpty() ? QString() : QLatin1String("");
    return qt2Mid(s, n < size ? int(size - n) : 0, count);
}

QString qt2Mid(QStringView s, int index, int count)
{
    // A null view gives a null string, an empty one (which points into the text) an empty one.
    return qt2MidView(s, index, count).toString();
}

QStringView qt2MidView(QStringView s, int index, int count)
{
    const uint size = uint(s.size());
    const uint from = uint(index);
    if (from >= size)
        return QStringView();
    return s.sliced(qsizetype(from), qsizetype(qMin(uint(count), size - from)));
}

} // namespace tavmms
