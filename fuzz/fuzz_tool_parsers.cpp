// The tool's readers of command-line values on arbitrary text: numbers, flags, priorities, address
// entries, the value of every setting, the block commands' addresses and lists, a message's content
// type, a content type's number, a media extension, an index row's fields, a recipient, a time, a
// folder, an IPv4 address and a profile name; and the printer's escapes. Each gives a value or
// nothing (with a reason), and none may crash, read out of bounds or leak. What a reader takes must
// also be what the command means by it: a number is written in digits alone, an address put on the
// block list is found there, an entry and a content type read back from a mail file's header as
// they were given, and a field set changes no byte of the row but its own.

#include "cli.h"
#include "fuzz_require.h"
#include "mmshelpers.h"
#include "settingshelpers.h"

#include <QBuffer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTextStream>

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace
{

// Stops the run with the property that does not hold, so that the report says which.
// Whether every character of `text` is one of the ASCII `characters`.
bool onlyOf(const QString& text, const char* characters)
{
    for (const QChar c : text) {
        if (c.isNull() || c.unicode() > 0x7F || !std::strchr(characters, char(c.unicode())))
            return false;
    }
    return true;
}

const char kDigits[] = "0123456789";
const char kHexDigits[] = "0123456789abcdefABCDEF";

// `header` written as a mail file's header block and read back into `readBack`.
void throughMailFile(MMS_UTIL_MsgHeaderBase* header, MMS_UTIL_MsgHeaderBase* readBack)
{
    QBuffer buffer;
    buffer.open(QIODevice::ReadWrite);
    MMS_UTIL_MailFile writer(QString{});
    writer.header = header;
    QTextStream out(&buffer);
    require(writer.serializeMsgHeaderTo(out), "a header block is written");
    out.flush();
    writer.header = nullptr;
    buffer.seek(0);
    QTextStream in(&buffer);
    MMS_UTIL_MailFile reader(QString{});
    reader.readMsgHeaderFrom(in, readBack);
}

bool sameEntry(const MMS_UTIL_Entry& a, const MMS_UTIL_Entry& b)
{
    return a.name == b.name && a.type == b.type && a.address == b.address;
}

bool sameEntries(const MMS_UTIL_EntryList& list, const QList<MMS_UTIL_Entry>& entries)
{
    if (list.count() != uint(entries.size()))
        return false;
    for (qsizetype i = 0; i < entries.size(); ++i) {
        if (!sameEntry(*list.at(uint(i)), entries.at(i)))
            return false;
    }
    return true;
}

void numbers(const QString& text)
{
    for (const unsigned int maximum : {0xFFFFFFFFu, 255u}) {
        if (const std::optional<unsigned int> value = cli::parseNumber(text, maximum)) {
            require(*value <= maximum, "a number read is within its maximum");
            require(!text.isEmpty() && onlyOf(text, kDigits),
                    "a number read is written in decimal digits alone");
        }
    }
    const cli::ContentTypeNumber number = cli::parseContentTypeNumber(text);
    require(number.written || !number.value, "a content type's number has a value when written");
    if (number.written) {
        const bool hex = text.startsWith(QLatin1String("0x"), Qt::CaseInsensitive);
        require(hex ? text.size() > 2 && onlyOf(text.mid(2), kHexDigits)
                    : !text.isEmpty() && onlyOf(text, kDigits),
                "a content type's number is written in decimal, or hexadecimal after 0x");
    }
}

void words(const QString& text)
{
    cli::parseFlag(text);
    cli::parsePriority(text);
    QString error;
    if (cli::parseExtension(text, &error))
        require(
            !text.isEmpty() && text.at(0).isLetterOrNumber() &&
                onlyOf(text, "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_+-"),
            "an extension is letters, digits, '_', '+' and '-'");
    else
        require(!error.isEmpty(), "an extension refused says why");
    for (const cli::Setting& setting : cli::settings()) {
        error.clear();
        if (!cli::parseValue(setting, text, &error))
            require(!error.isEmpty(), "a setting's value refused says why");
    }
}

void entries(const QString& text)
{
    QString error;
    const std::optional<MMS_UTIL_Entry> entry = tavmms::store::parseAddress(text, &error);
    require(entry || !error.isEmpty(), "an entry refused says why");
    error.clear();
    const std::optional<QList<MMS_UTIL_Entry>> list = tavmms::store::parseAddresses({text}, &error);
    require(list || !error.isEmpty(), "an entry list refused says why");
    tavmms::store::parseAddresses(text.split(QLatin1Char('\n')), &error);
    if (!entry && !list)
        return;

    MMS_UTIL_MsgHeaderBase header;
    if (entry)
        header.setFrom(*entry);
    if (list) {
        for (const MMS_UTIL_Entry& recipient : *list)
            header.addToRecipient(recipient);
    }
    MMS_UTIL_MsgHeaderBase readBack;
    throughMailFile(&header, &readBack);
    if (entry)
        require(sameEntry(readBack.from, *entry), "an entry reads back from a mail file as given");
    if (list)
        require(sameEntries(readBack.toList, *list),
                "an entry list reads back from a mail file as given");
}

void contentType(const QString& text)
{
    QString error;
    const std::optional<MMS_CONTENT_TYPE_T> type = tavmms::store::parseContentType(text, &error);
    if (!type) {
        require(!error.isEmpty(), "a content type refused says why");
        return;
    }
    require(!type->type.isEmpty() && !type->subtype.isEmpty(),
            "a content type has a type and a subtype");
    MMS_UTIL_Common::getMsgTypeByContentType(*type);
    MMS_UTIL_Common::getAppTypeFrParaList(type->params);
    MMS_UTIL_MsgHeaderBase header;
    header.contentType = *type;
    MMS_UTIL_MsgHeaderBase readBack;
    throughMailFile(&header, &readBack);
    require(readBack.contentType.type == type->type &&
                readBack.contentType.subtype == type->subtype &&
                readBack.contentType.params == type->params,
            "a content type reads back from a mail file as given");
}

void blockList(const QString& text)
{
    QString error;
    if (tavmms::store::parseBlockAddress(text, &error))
        require(!text.isEmpty() && !text.contains(QLatin1Char(',')),
                "a block address is neither empty nor split by a comma");
    else
        require(!error.isEmpty(), "a block address refused says why");
    error.clear();
    if (tavmms::store::parseAddressToBlock(text, &error)) {
        require(bool(tavmms::store::parseBlockAddress(text, &error)),
                "an address to block is a block address");
        require(!tavmms::store::hasControlCharacter(text), "an address to block lists on one line");
        // Added to a list, as "block add" adds it, the address is found there.
        const QString list = QStringLiteral("123,spam@example.org,") + text;
        require(MMS_UTIL_Setting::isInBlockList(list, text) == 1,
                "an address added to the block list is found there");
        require(bool(tavmms::store::parseBlockList(list, &error)),
                "a list with an address added is a list \"block set\" takes");
    } else {
        require(!error.isEmpty(), "an address to block refused says why");
    }
    error.clear();
    if (!tavmms::store::parseBlockList(text, &error)) {
        require(!error.isEmpty(), "a block list refused says why");
        return;
    }
    if (text.isEmpty())
        return;
    for (const QString& item : text.split(QLatin1Char(',')))
        require(MMS_UTIL_Setting::isInBlockList(text, item) == 1,
                "every item of a block list is found there");
}

void fields(const QString& text)
{
    static const QList<DB_BIND_T> all = tavmms::store::rowFields();
    QString error;
    MMS_UTIL_DBStruct_T record;
    unsigned char before[sizeof record];
    for (const DB_BIND_T& field : all) {
        require(field.offset + field.size <= sizeof record, "a field lies in the record");
        std::memset(&record, 0xA5, sizeof record);
        std::memcpy(before, &record, sizeof record);
        error.clear();
        const bool set =
            tavmms::store::setRowField(&record, QLatin1String(field.name), text, &error);
        const auto* after = reinterpret_cast<const unsigned char*>(&record);
        require(std::memcmp(after, before, field.offset) == 0 &&
                    std::memcmp(after + field.offset + field.size,
                                before + field.offset + field.size,
                                sizeof record - field.offset - field.size) == 0,
                "setting a field changes no byte of the row but its own");
        const unsigned char* bytes = after + field.offset;
        switch (field.code) {
        case DB_BIND_UCS2_TEXT:
            require(set && text.startsWith(tavmms::store::text16(bytes, field.size)),
                    "a text field keeps the text, cut to fit");
            break;
        case DB_BIND_CHAR_TEXT:
            require(set && text.startsWith(tavmms::store::text8(
                               reinterpret_cast<const char*>(bytes), field.size)),
                    "a text field keeps the text, cut to fit");
            break;
        default: {
            const unsigned int maximum = field.code == DB_BIND_INT16 ? 0xFFFFu : 0xFFFFFFFFu;
            const std::optional<unsigned int> number = cli::parseNumber(text, maximum);
            require(set == bool(number), "a number field takes a number that fits");
            require(set || !error.isEmpty(), "a number refused says why");
            if (set) {
                unsigned int value = 0;
                if (field.code == DB_BIND_INT16) {
                    quint16 small = 0;
                    std::memcpy(&small, bytes, sizeof small);
                    value = small;
                } else {
                    std::memcpy(&value, bytes, sizeof value);
                }
                require(value == *number, "a number field holds the number read");
            }
        }
        }
    }
    error.clear();
    std::memset(&record, 0, sizeof record);
    if (!tavmms::store::setRowField(&record, text, QStringLiteral("1"), &error))
        require(!error.isEmpty(), "an unknown field says why");
}

// The recipients the tool takes from one option value are e-mail addresses or phone numbers, kept
// as typed, and read back from a mail file as given.
void recipients(const QString& text)
{
    for (const char* region : {"US", "ZZ"}) {
        QString error;
        const std::optional<QList<MMS_UTIL_Entry>> entries =
            tavmms::store::parseRecipients({text}, QLatin1String(region), &error);
        if (!entries) {
            require(!error.isEmpty(), "recipients refused say why");
            continue;
        }
        MMS_UTIL_MsgHeaderBase header;
        for (const MMS_UTIL_Entry& entry : *entries) {
            require(!entry.address.isEmpty(), "a recipient has an address");
            header.addToRecipient(entry);
        }
        MMS_UTIL_MsgHeaderBase readBack;
        throughMailFile(&header, &readBack);
        require(sameEntries(readBack.toList, *entries), "recipients read back as given");
    }
}

// A time span has its first second before or at its last, and a folder is one of the table's.
void timesAndFolders(const QString& text)
{
    QString error;
    if (const std::optional<tavmms::store::TimeSpan> span =
            tavmms::store::parseTimeSpan(text, &error))
        require(span->first.isValid() && span->last.isValid() && span->first <= span->last,
                "a time span runs forward");
    else
        require(!error.isEmpty(), "a time refused says why");
    error.clear();
    if (const std::optional<unsigned int> folder = tavmms::store::parseFolder(text, &error))
        require(!tavmms::store::folderName(*folder).isEmpty() || onlyOf(text, kDigits),
                "a folder given by name is one of the table's");
    else
        require(!error.isEmpty(), "a folder refused says why");
}

// An address read reads back from its dotted form; a profile name taken breaks no line.
void addressesAndNames(const QString& text)
{
    if (const std::optional<quint32> address = tavmms::store::parseIpv4Address(text))
        require(tavmms::store::parseIpv4Address(tavmms::store::ipv4AddressText(*address)) ==
                    address,
                "an IPv4 address reads back from its dotted form");
    QString error;
    if (const std::optional<QString> name = tavmms::store::parseProfileName(text, &error))
        require(tavmms::store::oneLine(*name) == *name && !name->isEmpty(),
                "a profile name taken stays on one line");
}

// What the printer shows holds nothing a terminal must not get raw, line breaks but its own;
// the JSON it writes reads back as the same text.
void display(const QString& text)
{
    for (const bool keepLineBreaks : {false, true})
        require(tavmms::store::isSafeForDisplay(tavmms::store::displayText(text, keepLineBreaks),
                                                keepLineBreaks),
                "nothing is shown raw that must be escaped");
    const QByteArray json =
        tavmms::store::displayJson(QJsonDocument(QJsonArray{text}).toJson(QJsonDocument::Compact));
    require(tavmms::store::isSafeForDisplay(QString::fromUtf8(json)), "JSON is shown safe");
    // The text comes from UTF-8, so it holds no lone surrogate, which JSON could not carry.
    const QJsonDocument back = QJsonDocument::fromJson(json);
    require(back.isArray() && back.array().at(0).toString() == text,
            "JSON shown safe reads back as the same text");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QString text =
        QString::fromUtf8(QByteArray(reinterpret_cast<const char*>(data), qsizetype(size)));
    numbers(text);
    words(text);
    entries(text);
    contentType(text);
    blockList(text);
    fields(text);
    recipients(text);
    timesAndFolders(text);
    addressesAndNames(text);
    display(text);
    return 0;
}
