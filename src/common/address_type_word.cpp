#include "address_type_word.h"

namespace tavmms
{

namespace
{

struct TypeWord {
    MMS_UTIL_ADDR_TYPE_T type;
    const char* word;
};
const TypeWord kTypeWords[] = {
    {MMS_UTIL_ADDR_EMAIL, "EMAIL"},
    {MMS_UTIL_ADDR_PLMN, "PLMN"},
    {MMS_UTIL_ADDR_UNKNOWN, "UNKNOWN"},
};

} // namespace

QString addressTypeWord(MMS_UTIL_ADDR_TYPE_T type)
{
    for (const TypeWord& typeWord : kTypeWords) {
        if (typeWord.type == type)
            return QLatin1String(typeWord.word);
    }
    return QStringLiteral("UNKNOWN");
}

std::optional<MMS_UTIL_ADDR_TYPE_T> addressTypeOfWord(QStringView word)
{
    for (const TypeWord& typeWord : kTypeWords) {
        if (word == QLatin1String(typeWord.word))
            return typeWord.type;
    }
    return std::nullopt;
}

} // namespace tavmms
