#include "charsets.h"

#include <QStringDecoder>

namespace tavmms::pdu
{

namespace
{

struct Charset {
    quint64 mibEnum;
    const char* name;
};

// The charsets MMSCs and handsets send, by the numbers the IANA registry gives them.
constexpr Charset kCharsets[] = {
    {3, "US-ASCII"},        {4, "ISO-8859-1"},      {5, "ISO-8859-2"},      {6, "ISO-8859-3"},
    {7, "ISO-8859-4"},      {8, "ISO-8859-5"},      {9, "ISO-8859-6"},      {10, "ISO-8859-7"},
    {11, "ISO-8859-8"},     {12, "ISO-8859-9"},     {13, "ISO-8859-10"},    {109, "ISO-8859-13"},
    {110, "ISO-8859-14"},   {111, "ISO-8859-15"},   {112, "ISO-8859-16"},   {106, "UTF-8"},
    {1013, "UTF-16BE"},     {1000, "UTF-16BE"},     {1014, "UTF-16LE"},     {1015, "UTF-16"},
    {17, "Shift_JIS"},      {18, "EUC-JP"},         {39, "ISO-2022-JP"},    {36, "KS_C_5601-1987"},
    {38, "EUC-KR"},         {2025, "GB2312"},       {113, "GBK"},           {114, "GB18030"},
    {2026, "Big5"},         {2084, "KOI8-R"},       {2250, "windows-1250"}, {2251, "windows-1251"},
    {2252, "windows-1252"}, {2253, "windows-1253"}, {2254, "windows-1254"}, {2255, "windows-1255"},
    {2256, "windows-1256"}, {2257, "windows-1257"}, {2258, "windows-1258"},
};

constexpr QChar kReplacement(0xFFFD);

// The bytes decoded one at a time, so that each stretch the decoder flags becomes one U+FFFD in
// place of whatever the decoder made of it, as does a character cut short at the end.
QString decodeReplacing(QByteArrayView bytes, const char* name)
{
    QString text;
    QStringDecoder decoder(name);
    bool pending = false;
    for (qsizetype i = 0; i < bytes.size(); ++i) {
        const QString piece = decoder(bytes.sliced(i, 1));
        if (decoder.hasError()) {
            text += kReplacement;
            decoder = QStringDecoder(name);
            pending = false;
            continue;
        }
        text += piece;
        pending = piece.isEmpty();
    }
    if (pending)
        text += kReplacement;
    return text;
}

} // namespace

QByteArray charsetName(quint64 mibEnum)
{
    for (const Charset& charset : kCharsets) {
        if (charset.mibEnum == mibEnum)
            return QByteArray(charset.name);
    }
    return QByteArray();
}

std::optional<quint64> charsetMibEnum(QByteArrayView name)
{
    for (const Charset& charset : kCharsets) {
        if (name.compare(charset.name, Qt::CaseInsensitive) == 0)
            return charset.mibEnum;
    }
    return std::nullopt;
}

bool isUtf16(quint64 mibEnum)
{
    return charsetName(mibEnum).startsWith("UTF-16");
}

std::optional<DecodedText> decodeText(QByteArrayView bytes, quint64 mibEnum)
{
    QByteArray name = charsetName(mibEnum);
    if (name == "UTF-16") {
        // A byte order mark says the order and is not text; without one, big-endian.
        const bool little = bytes.startsWith("\xFF\xFE");
        if (little || bytes.startsWith("\xFE\xFF"))
            bytes = bytes.sliced(2);
        name = little ? "UTF-16LE" : "UTF-16BE";
    }
    if (name.isEmpty() || !QStringDecoder(name.constData()).isValid())
        return std::nullopt;
    // Qt's UTF-16 decoder drops an odd last byte without a word: it is half a character cut off.
    const bool halfCharacter = name.startsWith("UTF-16") && bytes.size() % 2 != 0;
    if (halfCharacter)
        bytes.chop(1);
    QStringDecoder whole(name.constData(), QStringConverter::Flag::Stateless);
    DecodedText decoded{whole(bytes), false};
    if (whole.hasError())
        decoded = DecodedText{decodeReplacing(bytes, name.constData()), true};
    if (halfCharacter) {
        decoded.text += kReplacement;
        decoded.replaced = true;
    }
    return decoded;
}

} // namespace tavmms::pdu
