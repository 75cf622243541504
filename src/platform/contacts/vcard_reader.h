#ifndef TAVPLATFORM_VCARD_READER_H
#define TAVPLATFORM_VCARD_READER_H

#include "address_book_contact.h"
#include "tavplatform_global.h"

#include <QByteArray>
#include <QList>
#include <QString>

namespace tavplatform
{

// Something in a vCard file that was skipped, and why.
struct VCardProblem {
    int line;       // the first line skipped, counting from 1
    int lines;      // how many lines were skipped: 1, or all of a vCard's
    QString reason; // why, in English, for the person importing the file
};

// What readVCards found: the contacts in the order of the file, and what it skipped.
struct VCardReading {
    QList<Contact> contacts;
    QList<VCardProblem> problems;
};

// Reads the contacts of a vCard file as phones and desktop programs export them: versions 2.1, 3.0
// and 4.0 (a vCard without VERSION is read as 3.0), folded lines, quoted-printable and base64
// values, any CHARSET the system knows (UTF-8 when none is given), escapes, several numbers and
// addresses each with a label from its TYPE parameters or its group's X-ABLabel. The name is FN,
// else made from N. Properties other than FN, N, ORG, UID, TEL and EMAIL (a PHOTO, for instance)
// are passed over. A line that cannot be read is reported and skipped, and the rest of its vCard
// kept; a vCard without END:VCARD, of another version, or with neither name nor number nor
// address is reported and skipped whole, as is text outside BEGIN:VCARD ... END:VCARD (blank
// lines there are passed over silently). A UTF-8 byte order mark at the start is dropped.
TAVPLATFORM_EXPORT VCardReading readVCards(const QByteArray& data);

} // namespace tavplatform

#endif
