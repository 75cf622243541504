#include "qt2string.h"

namespace tavmms {

QString qt2Left(const QString& s, int count)
{
    const uint n = uint(count);
    if (s.isEmpty())
        return QString();
    if (n == 0)
        return QLatin1String("");
    if (n >= uint(s.size()))
        return s;
    return s.first(qsizetype(n));
}

QString qt2Right(const QString& s, int count)
{
    const uint n = uint(count);
    if (s.isEmpty())
        return QString();
    if (n == 0)
        return QLatin1String("");
    if (n >= uint(s.size()))
        return s;
    return s.last(qsizetype(n));
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
