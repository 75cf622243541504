#include "qt2string.h"

namespace tavmms
{

QString qt2Left(const QString& s, int count)
{
    return qt2Mid(s, 0, count);
}

QString qt2Right(const QString& s, int count)
{
    const uint n = uint(count);
    const uint size = uint(s.size());
    if (n == 0) // an empty piece of a non-empty text, as for the other counts of 0
        return s.isEmpty() ? QString() : QLatin1String("");
    return qt2Mid(s, n < size ? int(size - n) : 0, count);
}

QString qt2Mid(const QString& s, int index, int count)
{
    const uint size = uint(s.size());
    const uint from = uint(index);
    uint n = uint(count);
    if (s.isEmpty() || from >= size)
        return QString();
    if (n == 0)
        return QLatin1String("");
    if (n > size - from)
        n = size - from;
    return s.sliced(qsizetype(from), qsizetype(n));
}

} // namespace tavmms
