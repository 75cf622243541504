#ifndef TAVPLATFORM_ADDRESS_BOOK_CONTACT_H
#define TAVPLATFORM_ADDRESS_BOOK_CONTACT_H

#include <QList>
#include <QString>

namespace tavplatform
{

// A phone number or e-mail address of a contact, as written, with its label ("Mobile", "Home",
// "Work", "Other"...).
struct ContactAddress {
    QString value;
    QString label;

    bool operator==(const ContactAddress& other) const
    {
        return value == other.value && label == other.label;
    }
};

// One contact of the address book.
struct Contact {
    QString uid; // the identifier the exporting program gave it; empty when none
    QString name;
    QString organization;          // company or organisation; may be empty
    QList<ContactAddress> numbers; // phone numbers, in the order the contact lists them
    QList<ContactAddress> emails;  // e-mail addresses, likewise

    bool operator==(const Contact& other) const
    {
        return uid == other.uid && name == other.name && organization == other.organization &&
               numbers == other.numbers && emails == other.emails;
    }
};

} // namespace tavplatform

#endif
