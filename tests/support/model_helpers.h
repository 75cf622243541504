#ifndef TAVMMS_TESTS_MODEL_HELPERS_H
#define TAVMMS_TESTS_MODEL_HELPERS_H

#include "mms_util_entry.h"
#include "mms_util_entrylist.h"

#include <QDateTime>
#include <QString>

#include <ostream>

namespace tavmms_test
{

MMS_UTIL_Entry makeEntry(const QString& name, MMS_UTIL_ADDR_TYPE_T type, const QString& address);
// The same entry made with `new`, for the lists; the caller owns it.
MMS_UTIL_Entry* newEntry(const QString& name, MMS_UTIL_ADDR_TYPE_T type, const QString& address);

// Deletes the entries of a list that does not own them, and empties it.
void deleteEntries(MMS_UTIL_EntryList& list);

// Tells whether the entries made from it still exist. Their names share the probe's text, which
// therefore stays shared exactly as long as one of them is alive; copies of such an entry share it
// too.
class EntryProbe
{
public:
    explicit EntryProbe(const char* name);

    // A new entry (type PLMN, address "1") whose name shares the probe's text; the caller owns it.
    MMS_UTIL_Entry* newEntry() const;
    bool anyEntryAlive() const { return !text_.isDetached(); }
    const QString& name() const { return text_; }

private:
    QString text_;
};

} // namespace tavmms_test

// Assertion messages show texts, with a null string told apart from an empty one.
inline void PrintTo(const QString& text, std::ostream* os)
{
    if (text.isNull())
        *os << "null QString";
    else
        *os << '"' << text.toStdString() << '"';
}

inline void PrintTo(const QDate& date, std::ostream* os)
{
    *os << (date.isValid() ? date.toString(Qt::ISODate).toStdString() : "invalid QDate");
}

inline void PrintTo(const QTime& time, std::ostream* os)
{
    *os << (time.isValid() ? time.toString(Qt::ISODateWithMs).toStdString() : "invalid QTime");
}

inline void PrintTo(const QDateTime& dateTime, std::ostream* os)
{
    if (dateTime.isNull()) {
        *os << "null QDateTime";
        return;
    }
    PrintTo(dateTime.date(), os);
    *os << ' ';
    PrintTo(dateTime.time(), os);
}

#endif
