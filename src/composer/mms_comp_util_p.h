#ifndef TAVMMS_MMS_COMP_UTIL_P_H
#define TAVMMS_MMS_COMP_UTIL_P_H

// The logic behind MMS_COMP_Util that is worth testing on its own.

#include <QString>
#include <QStringList>

#include <cstdint>
#include <sys/time.h>

namespace tavmms
{

// The first extension of `registered`, in its order, that equals one of `supported` without
// regard to case, in lower case; "" when there is none.
QString firstSupportedExtension(const QStringList& registered, const QStringList& supported);

// Reads the time of day; false when the clock cannot be read.
using ClockReader = bool (*)(timeval* now);
// The system clock, through gettimeofday().
bool readSystemClock(timeval* now);
// Seconds * 1000000 + microseconds, in 32 bits: it wraps about every 72 minutes.
std::uint32_t timeStampOf(const timeval& time);
// Stores the time stamp of the clock's time; leaves the stored one when the clock fails.
void storeTimeStamp(ClockReader readClock);
// The time stamp stored last, 0 before the first one.
std::uint32_t storedTimeStamp();

} // namespace tavmms

#endif
