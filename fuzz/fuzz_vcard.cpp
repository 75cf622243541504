// The vCard reader of the address book's import on arbitrary file content: it may skip what it
// cannot read, but never crash, read out of bounds or leak, whatever the folding, the encodings
// and the character sets say.

#include "vcard_reader.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const tavplatform::VCardReading reading =
        tavplatform::readVCards(QByteArray(reinterpret_cast<const char*>(data), qsizetype(size)));
    // Every contact kept has something to be found by.
    for (const tavplatform::Contact& contact : reading.contacts) {
        if (contact.name.isEmpty() && contact.numbers.isEmpty() && contact.emails.isEmpty())
            __builtin_trap();
    }
    return 0;
}
