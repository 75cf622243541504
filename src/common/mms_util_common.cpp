#include "mms_util_common.h"

#include "address_type_word.h"

#include "contact_lookup.h"
#include "mime_type_table.h"
#include "msg_classification.h"
#include "qt2string.h"

#include <QFile>
#include <QStringList>

#include <cstdlib>

using tavmms::qt2Left;
using tavmms::qt2Mid;
using tavmms::qt2MidView;
using tavmms::qt2Right;

namespace
{

const char kListSeparator = ',';

const char* const kMonthNames[12] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                     "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

// The status words of codes 128 to 133, in code order.
QStringList statusWords()
{
    return {QStringLiteral("Expired"),  QStringLiteral("Retrived"),     QStringLiteral("Rejected"),
            QStringLiteral("Deferred"), QStringLiteral("Unrecognized"), QStringLiteral("Read")};
}

// Counter of generated file names; starts at 0 with each load of the library.
int fileNameCounter = 0;

struct TempFileKind {
    unsigned char contentType;
    bool inMailFileDir;
    const char* extension;
};

const TempFileKind kTempFileKinds[] = {
    {0x03, false, ".txt"},  {0x1D, false, ".gif"}, {0x1E, false, ".jpg"}, {0x20, false, ".png"},
    {0x21, false, ".wbmp"}, {0x3E, true, ".mms"},  {0x47, false, ".bmp"}, {0x4C, false, ".imy"},
    {0x4D, false, ".mp3"},  {0x4E, false, ".mid"}, {0x52, false, ".wav"}, {0x53, false, ".mpg"},
};

// The position of the first "hh:mm:ss" (ASCII digits) in `text`, or -1.
int clockPosition(QStringView text)
{
    const auto digit = [&](qsizetype i) { return text.at(i) >= u'0' && text.at(i) <= u'9'; };
    for (qsizetype t = 0; t + 8 <= text.size(); ++t) {
        if (digit(t) && digit(t + 1) && text.at(t + 2) == u':' && digit(t + 3) && digit(t + 4) &&
            text.at(t + 5) == u':' && digit(t + 6) && digit(t + 7))
            return int(t);
    }
    return -1;
}

// The two ASCII digits at `position` of `text` as a number.
int twoDigits(QStringView text, qsizetype position)
{
    return (text.at(position).unicode() - u'0') * 10 + (text.at(position + 1).unicode() - u'0');
}

// Reads "<name>[WORD]address" into `entry` (see MMS_UTIL_Common::stringToEntry). Only the name and
// the address are copied out of the text; the type word is compared in place.
void readEntry(QStringView text, MMS_UTIL_Entry* entry)
{
    // Marks are not checked: a missing one is at -1 and the pieces fall where that puts them.
    const int a = int(text.indexOf(u'<'));
    const int b = int(text.indexOf(u'>'));
    entry->name = qt2Mid(text, a + 1, b - a - 1);
    const int c = int(text.indexOf(u'['));
    const int d = int(text.indexOf(u']'));
    const QStringView word = qt2MidView(text, c + 1, d - c - 1);
    entry->type = tavmms::addressTypeOfWord(word).value_or(MMS_UTIL_ADDR_UNKNOWN);
    entry->address = qt2Right(text, int(text.size()) - d - 1);
}

MMS_UTIL_Entry* newEntry(QStringView text)
{
    auto* entry = new MMS_UTIL_Entry;
    readEntry(text, entry);
    return entry;
}

} // namespace

unsigned char MMS_UTIL_Common::mimeTypeGetValue(QString type, QString subtype)
{
    QByteArray name = (type + QLatin1Char('/') + subtype).toLatin1();
    return mime_type_getValue(name.data());
}

unsigned char MMS_UTIL_Common::mimeTypeGetName(unsigned char value, QString& type, QString& subtype)
{
    const char* name = mime_type_getName(value);
    if (!name)
        return 1;
    const QString text = QLatin1String(name);
    const qsizetype slash = text.indexOf(QLatin1Char('/'));
    type = text.left(slash);
    subtype = text.mid(slash + 1);
    return 0;
}

QString MMS_UTIL_Common::entryToString(MMS_UTIL_Entry entry)
{
    return QLatin1Char('<') + entry.name + QStringLiteral(">[") +
           tavmms::addressTypeWord(entry.type) + QLatin1Char(']') + entry.address;
}

MMS_UTIL_Entry* MMS_UTIL_Common::stringToEntry(QString text)
{
    return newEntry(text);
}

void MMS_UTIL_Common::stringToEntry(QString text, MMS_UTIL_Entry* entry)
{
    if (entry)
        readEntry(text, entry);
}

QString MMS_UTIL_Common::entryListToString(MMS_UTIL_EntryList list)
{
    QString text = QLatin1String("");
    for (const MMS_UTIL_Entry* entry : list) {
        if (!entry)
            continue;
        // Older readers expect every entry, the last one included, to end with the separator.
        text += entryToString(*entry) + QLatin1Char(kListSeparator);
    }
    return text;
}

MMS_UTIL_EntryList MMS_UTIL_Common::stringToEntryList(QString text)
{
    MMS_UTIL_EntryList list;
    stringToEntryList(text, &list);
    return list;
}

void MMS_UTIL_Common::stringToEntryList(QString text, MMS_UTIL_EntryList* list)
{
    if (!list)
        return;
    for (const QStringView piece :
         qTokenize(text, QLatin1Char(kListSeparator), Qt::SkipEmptyParts)) {
        const QStringView entryText = piece.trimmed();
        if (!entryText.isEmpty())
            list->append(newEntry(entryText));
    }
}

QString MMS_UTIL_Common::contentTypeToString(MMS_CONTENT_TYPE_T contentType)
{
    return contentType.type + QLatin1Char('/') + contentType.subtype + QLatin1Char(' ') +
           contentType.params;
}

MMS_CONTENT_TYPE_T MMS_UTIL_Common::stringToContentType(QString text)
{
    // Without a blank, s is -1: the head and the parameters are then both the whole text.
    const int s = int(text.indexOf(QLatin1Char(' ')));
    const QStringView head = qt2MidView(text, 0, s);
    MMS_CONTENT_TYPE_T result;
    result.params = qt2Right(text, int(text.size()) - s - 1);
    const int p = int(head.indexOf(QLatin1Char('/')));
    result.type = qt2Left(head, p);
    result.subtype = qt2Right(head, int(head.size()) - p - 1);
    return result;
}

QString MMS_UTIL_Common::priorityToString(unsigned char priority)
{
    switch (priority) {
    case 128:
        return QStringLiteral("Low");
    case 129:
        return QStringLiteral("Normal");
    case 130:
        return QStringLiteral("High");
    default:
        return QStringLiteral("Invalid_Priority");
    }
}

unsigned char MMS_UTIL_Common::stringToPriority(QString text)
{
    if (text == QLatin1String("High"))
        return 130;
    if (text == QLatin1String("Normal"))
        return 129;
    if (text == QLatin1String("Low"))
        return 128;
    return MMS_UTIL_INVALID_CODE;
}

QString MMS_UTIL_Common::statusToString(unsigned char status)
{
    static const QStringList words = statusWords();
    if (status < MMS_UTIL_STATUS_EXPIRED || status > MMS_UTIL_STATUS_READ)
        return QString();
    return words.at(status - MMS_UTIL_STATUS_EXPIRED);
}

unsigned char MMS_UTIL_Common::stringToStatus(QString text)
{
    static const QStringList words = statusWords();
    const qsizetype position = words.indexOf(text);
    // "Read" is written but never read back: a stored "Read" reads as unknown, like any word
    // that is not in the table.
    if (position < 0 || position == MMS_UTIL_STATUS_READ - MMS_UTIL_STATUS_EXPIRED)
        return MMS_UTIL_INVALID_CODE;
    return static_cast<unsigned char>(MMS_UTIL_STATUS_EXPIRED + position);
}

QString MMS_UTIL_Common::boolToString(bool value)
{
    return value ? QStringLiteral("True") : QStringLiteral("False");
}

bool MMS_UTIL_Common::stringToBool(QString text)
{
    return text == QLatin1String("True");
}

QDateTime MMS_UTIL_Common::stringToTime(QString text)
{
    // The pieces are read in place. A text that does not reach the month (a null one included)
    // has no month to read.
    const QStringView monthText = qt2MidView(text, 4, 3);
    if (monthText.isNull())
        return QDateTime();
    int month = -1;
    for (int i = 0; i < 12; ++i) {
        if (monthText == QLatin1String(kMonthNames[i])) {
            month = i + 1;
            break;
        }
    }
    // Two characters at most: trimming them is all that simplifying them would do.
    const int day = qt2MidView(text, 8, 2).trimmed().toInt();
    // The last four characters: a text that reaches the month is longer than that.
    const int year = qt2MidView(text, int(text.size()) - 4).toInt();
    const QDate date(year, month, day);

    QTime time(0, 0, 0, 0);
    const int t = clockPosition(text);
    if (t >= 0)
        time = QTime(twoDigits(text, t), twoDigits(text, t + 3), twoDigits(text, t + 6), 0);
    return QDateTime(date, time);
}

QString MMS_UTIL_Common::getWorkDir()
{
    // Read on every call: the platform may move the download area while applications run.
    const char* value = std::getenv("TAV_LOCAL_DOWNLOAD_PATH");
    const QString root = value ? QString::fromLocal8Bit(value) : QString();
    return root.endsWith(QLatin1Char('/')) ? root + QStringLiteral("mms/")
                                           : root + QStringLiteral("/mms/");
}

QString MMS_UTIL_Common::getMailFileDir()
{
    return getWorkDir() + QStringLiteral("mailfile/");
}

QString MMS_UTIL_Common::getQuickPageDir()
{
    return getWorkDir() + QStringLiteral("predesigned/");
}

QString MMS_UTIL_Common::getQuickPageFactoryDir()
{
    return QStringLiteral("/usr/language/quickpage/");
}

QString MMS_UTIL_Common::getTmpDir()
{
    return getWorkDir() + QStringLiteral("tmp/");
}

QString MMS_UTIL_Common::msgDBIDToMailFileName(unsigned int id)
{
    return getMailFileDir() + QStringLiteral("%1.mms").arg(id);
}

QString MMS_UTIL_Common::generateFileName(unsigned char contentType)
{
    const QString number = QString::asprintf("%05d", fileNameCounter);
    QString name = number;
    for (const TempFileKind& kind : kTempFileKinds) {
        if (kind.contentType == contentType) {
            const QString dir = kind.inMailFileDir ? getMailFileDir() : getTmpDir();
            name = dir + QStringLiteral("tmp") + number + QLatin1String(kind.extension);
            break;
        }
    }
    // Counts every name handed out; existing files of the same name are the caller's to reuse.
    fileNameCounter = int(unsigned(fileNameCounter) + 1u); // wraps instead of overflowing
    return name;
}

QString MMS_UTIL_Common::createTempFile(unsigned char contentType)
{
    const QString name = generateFileName(contentType);
    QFile file(name);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
        return QLatin1String("");
    file.close();
    return name;
}

void MMS_UTIL_Common::srchContactName(MMS_UTIL_Entry& entry)
{
    tavmms::lookUpContactName(entry);
}

void MMS_UTIL_Common::srchMultiContactNames(MMS_UTIL_EntryList list)
{
    tavmms::lookUpContactNames(list);
}

bool MMS_UTIL_Common::srchContactInfoByVal(MMS_UTIL_CONTACT_INFO_T& info, MMS_UTIL_Entry& entry)
{
    return tavmms::lookUpContactInfo(info, entry);
}

int MMS_UTIL_Common::getOwnerEntry(MMS_UTIL_Entry& entry)
{
    return tavmms::fillOwnerEntry(entry);
}

int MMS_UTIL_Common::deleteEntryByVal(MMS_UTIL_EntryList* list, QString address)
{
    return tavmms::removeEntryByAddress(list, address);
}

int MMS_UTIL_Common::getMsgTypeByContentType(MMS_CONTENT_TYPE_T contentType)
{
    return tavmms::messageTypeOf(contentType);
}

unsigned char MMS_UTIL_Common::getAppTypeFrParaList(QString paraList)
{
    return tavmms::startTypeOf(paraList);
}
