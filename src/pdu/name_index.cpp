#include "name_index.h"

namespace tavmms::pdu
{

std::optional<int> NameIndex::find(QByteArrayView name) const
{
    const auto found = numbers_.constFind(name.toByteArray().toLower());
    if (found == numbers_.constEnd())
        return std::nullopt;
    return *found;
}

} // namespace tavmms::pdu
