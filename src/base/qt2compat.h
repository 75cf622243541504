#ifndef TAVMMS_QT2COMPAT_H
#define TAVMMS_QT2COMPAT_H

// The interface keeps the names of the Qt generation it was first written for; this header maps
// them onto Qt 6 once, so that every other header can use the old names unchanged.

#include <QByteArray>
#include <QList>

using QCString = QByteArray;
template <typename T> using QValueList = QList<T>;

#endif
