#ifndef TAVMMS_BENCH_COMPOSED_MESSAGE_H
#define TAVMMS_BENCH_COMPOSED_MESSAGE_H

#include "message_store_types.h"

#include <QByteArray>

// A message as a composer hands it over: from the phone's owner (left empty), to two numbers the
// address book is asked to name and one named e-mail address; or, `named`, with every entry named
// already, as a composer that picked them from the address book hands them over, so that only the
// keeping of the message is timed.
tavmms::store::NewMessage composedMessage(const QByteArray& body, bool named);

#endif
