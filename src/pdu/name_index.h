#ifndef TAVMMS_PDU_NAME_INDEX_H
#define TAVMMS_PDU_NAME_INDEX_H

// The number of a name in one of the codec's tables, found without regard to ASCII case in one
// hash look-up: encoding a message looks names up for each of its parts.

#include <QByteArrayView>
#include <QHash>

#include <optional>

namespace tavmms::pdu
{

class NameIndex
{
public:
    // `names[i]` has the number i; a name that comes twice keeps its first number.
    template <std::size_t N> explicit NameIndex(const char* const (&names)[N])
    {
        for (std::size_t number = N; number-- > 0;)
            numbers_.insert(QByteArray(names[number]).toLower(), int(number));
    }

    std::optional<int> find(QByteArrayView name) const;

private:
    QHash<QByteArray, int> numbers_;
};

} // namespace tavmms::pdu

#endif
