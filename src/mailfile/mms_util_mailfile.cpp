#include "mms_util_mailfile.h"

#include "file_descriptor.h"
#include "filesync.h"
#include "mms_util_common.h"

#include <QDataStream>
#include <QFile>
#include <QFileDevice>
#include <QLocale>
#include <QStringBuilder>
#include <QStringDecoder>
#include <QStringEncoder>
#include <QTextStream>
#include <QVarLengthArray>
#include <QtEndian>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <new>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace
{

enum KeyIndex {
    kFrom,
    kTo,
    kCc,
    kBcc,
    kSubject,
    kSendDate,
    kDelivery,
    kExpiry,
    kMessageId,
    kContentType,
    kPriority,
    kSenderVisibility,
    kDeliveryReport,
    kReadReplyReport,
    kMessageSize,
};

// The stored spellings, mixed conventions included, are the file format. Literals, so that
// every object's key texts share them instead of each making its own.
const QString kKeys[MMS_UTIL_MAILFILE_KEY_COUNT] = {
    QStringLiteral("From:"),
    QStringLiteral("To:"),
    QStringLiteral("CC:"),
    QStringLiteral("BCC:"),
    QStringLiteral("Subject:"),
    QStringLiteral("Send_Date:"),
    QStringLiteral("Delivery:"),
    QStringLiteral("Expiry:"),
    QStringLiteral("Message_ID:"),
    QStringLiteral("Content_Type:"),
    QStringLiteral("Priority:"),
    QStringLiteral("Sender_Visibility:"),
    QStringLiteral("DeliveryReport:"),
    QStringLiteral("ReadReplyReport:"),
    QStringLiteral("Message_Size:"),
};

const quint32 kRecordSize = 16;

// "Sat May 2 03:40:13 1998" for a date-time whose date and time are both valid; a null text
// for any other, so that the line ends after the key's blank.
QString dateText(const QDateTime& dateTime)
{
    if (!dateTime.date().isValid() || !dateTime.time().isValid())
        return QString();
    const QDate date = dateTime.date();
    const QLocale c = QLocale::c();
    return c.dayName(date.dayOfWeek(), QLocale::ShortFormat) + QLatin1Char(' ') +
           c.monthName(date.month(), QLocale::ShortFormat) + QLatin1Char(' ') +
           QString::number(date.day()) + QLatin1Char(' ') +
           dateTime.time().toString(QStringLiteral("hh:mm:ss")) + QLatin1Char(' ') +
           QString::number(date.year());
}

void headerToValueTexts(const MMS_UTIL_MsgHeaderBase& h, QString* values)
{
    values[kFrom] = MMS_UTIL_Common::entryToString(h.from);
    values[kTo] = MMS_UTIL_Common::entryListToString(h.toList);
    values[kCc] = MMS_UTIL_Common::entryListToString(h.ccList);
    values[kBcc] = MMS_UTIL_Common::entryListToString(h.bccList);
    values[kSubject] = h.subject;
    values[kSendDate] = dateText(h.sendDate);
    values[kDelivery] = dateText(h.deliveryTime);
    values[kExpiry] = QStringLiteral("%1").arg(qulonglong(h.expiry), 0, 10);
    values[kMessageId] = h.messageId;
    values[kContentType] = MMS_UTIL_Common::contentTypeToString(h.contentType);
    values[kPriority] = MMS_UTIL_Common::priorityToString(h.priority);
    values[kSenderVisibility] = MMS_UTIL_Common::boolToString(h.senderVisibility);
    values[kDeliveryReport] = MMS_UTIL_Common::boolToString(h.deliveryReport);
    values[kReadReplyReport] = MMS_UTIL_Common::boolToString(h.readReplyReport);
    values[kMessageSize] = QString::number(h.messageSize, 10);
}

// Replaces one of the header's recipient lists with the entries read from `text`, with the outcome
// of setTo(): the entries it held are deleted, whether it owned them or not, and it owns the new
// ones. The entries read are handed over rather than copied.
void readList(MMS_UTIL_EntryList& list, const QString& text)
{
    MMS_UTIL_EntryList read = MMS_UTIL_Common::stringToEntryList(text);
    read.setAutoDelete(true);
    list.setAutoDelete(true);
    list = std::move(read);
}

void valueTextsToHeader(const QString* values, MMS_UTIL_MsgHeaderBase* h)
{
    MMS_UTIL_Entry from;
    MMS_UTIL_Common::stringToEntry(values[kFrom], &from);
    h->setFrom(from);
    readList(h->toList, values[kTo]);
    readList(h->ccList, values[kCc]);
    readList(h->bccList, values[kBcc]);
    h->subject = values[kSubject];
    h->sendDate = MMS_UTIL_Common::stringToTime(values[kSendDate]);
    h->deliveryTime = MMS_UTIL_Common::stringToTime(values[kDelivery]);
    h->expiry = values[kExpiry].toUInt(nullptr, 10);
    h->messageId = values[kMessageId];
    const MMS_CONTENT_TYPE_T contentType =
        MMS_UTIL_Common::stringToContentType(values[kContentType]);
    h->contentType.type = contentType.type;
    h->contentType.subtype = contentType.subtype;
    h->contentType.params = contentType.params;
    h->setPriority(MMS_UTIL_Common::stringToPriority(values[kPriority]));
    h->senderVisibility = MMS_UTIL_Common::stringToBool(values[kSenderVisibility]);
    h->deliveryReport = MMS_UTIL_Common::stringToBool(values[kDeliveryReport]);
    h->readReplyReport = MMS_UTIL_Common::stringToBool(values[kReadReplyReport]);
    h->messageSize = values[kMessageSize].toUInt(nullptr, 10);
}

// Whether `line` has key `index`. A line's key is its text before the first blank, or the whole
// line when it has none; as no key holds a blank, that is the key the line starts with when a
// blank or the end of the line follows it, which needs no search.
bool lineHasKey(QStringView line, int index)
{
    const qsizetype length = kKeys[index].size();
    return line.size() >= length && (line.size() == length || line[length] == u' ') &&
           line.startsWith(kKeys[index]);
}

// Index of the key of `line`, or MMS_UTIL_MAILFILE_KEY_COUNT. At most one key fits a line, so
// `expected` is tried first: the lines come in the order of the keys as files are written.
int lineKeyIndex(QStringView line, int expected)
{
    if (expected < MMS_UTIL_MAILFILE_KEY_COUNT && lineHasKey(line, expected))
        return expected;
    for (int i = 0; i < MMS_UTIL_MAILFILE_KEY_COUNT; ++i) {
        if (lineHasKey(line, i))
            return i;
    }
    return MMS_UTIL_MAILFILE_KEY_COUNT;
}

// Reads the "Key: value" lines of `text` into `values`, then the values into `header`. The lines
// are cut as a text stream reads them: at each "\n", without a "\r" just before it or at the very
// end of the text, and nothing follows a final "\n". Only the values are copied out of the text.
void readHeaderText(QStringView text, QString* values, MMS_UTIL_MsgHeaderBase* header)
{
    int lastKey = -1;
    while (!text.isEmpty()) {
        const qsizetype end = text.indexOf(u'\n');
        QStringView line = end < 0 ? text : text.first(end);
        text = end < 0 ? QStringView() : text.sliced(end + 1);
        if (line.endsWith(u'\r'))
            line.chop(1);
        const int key = lineKeyIndex(line, lastKey + 1);
        if (key < MMS_UTIL_MAILFILE_KEY_COUNT) {
            // The text after the blank; a key without a blank is its own value. Empty but not
            // null when nothing follows the blank: the view then still points into the line.
            const qsizetype length = kKeys[key].size();
            values[key] = (line.size() == length ? line : line.sliced(length + 1)).toString();
            lastKey = key;
        } else if (lastKey == kSubject) {
            values[kSubject] += u'\n';
            values[kSubject] += line;
        }
    }
    valueTextsToHeader(values, header);
}

bool deviceFailed(QTextStream& stream)
{
    if (stream.status() != QTextStream::Ok)
        return true;
    const auto* file = qobject_cast<const QFileDevice*>(stream.device());
    return file && file->error() != QFileDevice::NoError;
}

// Writes all of `data`; a short count is a failure even when the device reports no error (a
// full disk can show up only so).
bool writeAll(QIODevice& device, const char* data, qint64 size)
{
    return device.write(data, size) == size;
}

// A mail file opened for reading with plain system calls: one fstat gives its size, and each read
// goes at its offset straight into the caller's memory, without a second buffer in between. A
// directory does not open, as with QFile.
class MailFileReader
{
public:
    explicit MailFileReader(const QString& fileName)
        : file_{::open(QFile::encodeName(fileName).constData(), O_RDONLY | O_CLOEXEC)}
    {
        struct stat info;
        if (file_.fd >= 0 && ::fstat(file_.fd, &info) == 0 && !S_ISDIR(info.st_mode))
            size_ = info.st_size;
    }

    bool isOpen() const { return size_ >= 0; }
    qint64 size() const { return size_; }

    // Reads up to `length` bytes at `offset` into `data`; the count read, short only at the end of
    // the file or on an error.
    qint64 readAt(qint64 offset, void* data, qint64 length) const
    {
        return tavmms::readAt(file_.fd, offset, data, length);
    }

    // The 16-byte record.
    MMS_UTIL_MAILFILE_HEADER_T record() const
    {
        uchar bytes[kRecordSize];
        return recordFrom(bytes, readAt(0, bytes, kRecordSize));
    }

    // The record, and what follows it up to `restLength` bytes into `rest`, in one read; the
    // count read after the record.
    qint64 readRecordAndRest(MMS_UTIL_MAILFILE_HEADER_T* record, void* rest,
                             qint64 restLength) const
    {
        uchar bytes[kRecordSize];
        const qint64 got = tavmms::readSplitAt(file_.fd, 0, bytes, kRecordSize, rest, restLength);
        *record = recordFrom(bytes, got);
        return std::max<qint64>(got - kRecordSize, 0);
    }

private:
    // The record in the first `count` bytes read: a word cut short by the end of the file reads
    // as 0, like the words missing after it.
    static MMS_UTIL_MAILFILE_HEADER_T recordFrom(uchar* bytes, qint64 count)
    {
        const qint64 whole = std::min<qint64>(count, kRecordSize) / 4 * 4;
        std::memset(bytes + whole, 0, size_t(kRecordSize - whole));
        return {qFromBigEndian<quint32>(bytes), qFromBigEndian<quint32>(bytes + 4),
                qFromBigEndian<quint32>(bytes + 8), qFromBigEndian<quint32>(bytes + 12)};
    }

    const tavmms::FileDescriptor file_;
    qint64 size_ = -1;
};

void openUtf8Stream(QTextStream& stream)
{
    stream.setEncoding(QStringConverter::Utf8);
    stream.setAutoDetectUnicode(false);
}

// The header text block `bytes` decoded as a UTF-8 text stream decodes it: a byte order mark at
// the start is dropped, and so is a sequence cut short at the end. Decoded on the stack, as only
// the values are copied out of it.
class HeaderBlockText
{
public:
    explicit HeaderBlockText(QByteArrayView bytes)
    {
        QStringDecoder decoder(QStringConverter::Utf8);
        text_.resize(decoder.requiredSpace(bytes.size()));
        text_.resize(decoder.appendToBuffer(text_.data(), bytes) - text_.data());
    }

    QStringView view() const { return QStringView(text_.constData(), text_.size()); }

private:
    QVarLengthArray<QChar, 1024> text_;
};

// Keeps errno across the cleanup that follows a failure, so that the caller still sees why the
// write failed (a full disk is reported as such).
class ErrnoKeeper
{
public:
    ErrnoKeeper() : saved_(errno) {}
    ~ErrnoKeeper() { errno = saved_; }

private:
    int saved_;
};

int writeResult(int r)
{
    return r == 0 ? 0 : (errno == ENOSPC ? MMS_UTIL_MAILFILE_NO_SPACE : r);
}

} // namespace

MMS_UTIL_MailFile::MMS_UTIL_MailFile(QString fileName)
    : fileName(fileName), header(nullptr), body(nullptr), bodyLength(0)
{
    for (int i = 0; i < MMS_UTIL_MAILFILE_KEY_COUNT; ++i)
        keyTexts[i] = kKeys[i];
}

MMS_UTIL_MailFile::~MMS_UTIL_MailFile() = default;

MMS_UTIL_MAILFILE_HEADER_T MMS_UTIL_MailFile::readMailFileHeader()
{
    const MailFileReader file(fileName);
    if (!file.isOpen())
        return MMS_UTIL_MAILFILE_HEADER_T{0, 0, 0, 0};
    return file.record();
}

int MMS_UTIL_MailFile::readMultipartBody(unsigned char** buf, unsigned int* len)
{
    if (!buf || !len)
        return 1;
    const MailFileReader file(fileName);
    if (!file.isOpen())
        return 1;
    const qint64 size = file.size();
    const MMS_UTIL_MAILFILE_HEADER_T record = file.record();
    *len = record.bodyLength;
    if (!(record.bodyOffset < size && *len < size && *len != 0))
        return 1;
    std::unique_ptr<unsigned char[]> buffer(new (std::nothrow) unsigned char[*len]);
    if (!buffer)
        return 1;
    // A short read is an error too: the buffer would otherwise end in bytes never read.
    if (file.readAt(kRecordSize, buffer.get(), *len) != qint64(*len))
        return 1;
    *buf = buffer.release();
    return 0;
}

int MMS_UTIL_MailFile::readMsgHeader(MMS_UTIL_MsgHeaderBase* header)
{
    if (!header)
        return 1;
    const MailFileReader file(fileName);
    if (!file.isOpen())
        return 1;
    const qint64 offset = file.record().headerTextOffset;
    // An offset equal to the size is an empty block, not an error.
    if (offset > file.size())
        return 1;
    QByteArray block(file.size() - offset, Qt::Uninitialized);
    block.truncate(file.readAt(offset, block.data(), block.size()));
    readHeaderText(HeaderBlockText(block).view(), valueTexts, header);
    return 0;
}

int MMS_UTIL_MailFile::loadMailFile()
{
    const MailFileReader file(fileName);
    if (!file.isOpen())
        return 1;
    const qint64 size = file.size();
    // The record and everything after it come in one read, the rest straight into the body's
    // buffer, whose size, the file's, is enough for any body length that passes the checks below
    // and for the header text block that follows the body; the block is read out of it here.
    // The header is read straight after the body, whatever the recorded offset says.
    // A file too large for memory is a failed load, not an exception out of a C-style call.
    std::unique_ptr<unsigned char[]> buffer(new (std::nothrow) unsigned char[size]);
    if (!buffer)
        return 1;
    MMS_UTIL_MAILFILE_HEADER_T record;
    const qint64 got =
        file.readRecordAndRest(&record, buffer.get(), std::max<qint64>(size - kRecordSize, 0));
    bodyLength = record.bodyLength;
    if (!(record.bodyOffset < size && bodyLength < size && record.headerTextOffset < size &&
          record.reserved < size))
        return 1;
    body = buffer.release();
    // A short read is not looked at here: the body then ends in zeros, and no header text follows.
    if (got < bodyLength)
        std::memset(body + got, 0, size_t(bodyLength - got));
    header = new MMS_UTIL_MsgHeaderBase;
    const char* const block = reinterpret_cast<const char*>(body) + bodyLength;
    readHeaderText(
        HeaderBlockText(QByteArrayView(block, std::max<qint64>(got - bodyLength, 0))).view(),
        valueTexts, header);
    return 0;
}

int MMS_UTIL_MailFile::createMailFile()
{
    if (QFile::exists(fileName) && !QFile::remove(fileName))
        return 1;
    return 0;
}

int MMS_UTIL_MailFile::writeMailFile(unsigned char* body, unsigned int len,
                                     MMS_UTIL_MsgHeaderBase* header)
{
    this->header = header;
    this->body = body;
    bodyLength = len;
    return writeResult(saveToMailFile());
}

int MMS_UTIL_MailFile::writeMultipartBody(unsigned char* body, unsigned int len)
{
    // loadMailFile puts the stored header here; a default one made beforehand would only be
    // dropped. After a failed load the member is therefore null, not a header to release.
    header = nullptr;
    int r = loadMailFile();
    if (r != 0)
        return r;
    delete[] this->body;
    this->body = body;
    bodyLength = len;
    r = saveToMailFile();
    const ErrnoKeeper keep;
    bodyLength = 0;
    this->body = nullptr;
    delete header;
    header = nullptr;
    return writeResult(r);
}

int MMS_UTIL_MailFile::writeMsgHeader(MMS_UTIL_MsgHeaderBase* header)
{
    int r = loadMailFile();
    if (r != 0)
        return r;
    delete this->header;
    this->header = header;
    r = saveToMailFile();
    const ErrnoKeeper keep;
    this->header = nullptr;
    delete[] body;
    body = nullptr;
    return writeResult(r);
}

int MMS_UTIL_MailFile::saveToMailFile()
{
    if (!header || (!body && bodyLength != 0)) {
        errno = EINVAL;
        return 1;
    }
    const QString tmpName = fileName + QStringLiteral(".tmp");
    // Both names are encoded as QFile encodes them, so that the rename finds the file it wrote.
    const QByteArray tmpPath = QFile::encodeName(tmpName);
    const QByteArray path = QFile::encodeName(fileName);
    ::unlink(tmpPath.constData()); // a leftover of an interrupted save
    QFile file(tmpName);
    if (!file.open(QIODevice::WriteOnly))
        return 1;

    // A failed save keeps errno, by which a full disk is told apart. A failure while writing
    // leaves the ".tmp" file behind (the next save of this name removes it); a later one removes
    // it.
    const auto failLeavingTmp = [&file] {
        const ErrnoKeeper keep;
        file.close();
        return 1;
    };
    const auto failRemovingTmp = [&] {
        const ErrnoKeeper keep;
        file.close();
        ::unlink(tmpPath.constData());
        return 1;
    };
    {
        QDataStream out(&file);
        out << quint32(bodyLength + kRecordSize) << quint32(0) << kRecordSize
            << quint32(bodyLength);
        if (out.status() != QDataStream::Ok || file.error() != QFileDevice::NoError)
            return failLeavingTmp();
    }
    if (!writeAll(file, reinterpret_cast<const char*>(body), bodyLength) ||
        file.error() != QFileDevice::NoError)
        return failLeavingTmp();
    {
        QTextStream stream(&file);
        openUtf8Stream(stream);
        if (!serializeMsgHeaderTo(stream))
            return failLeavingTmp();
    }

    // The new data reaches stable storage before the old file goes, so that a power cut never
    // leaves a torn file under the mail file's name. A failed flush is a failed write.
    if (!file.flush() || tavmms::syncDescriptor(file.handle()) != 0)
        return failRemovingTmp();
    file.close();
    if (file.error() != QFileDevice::NoError)
        return failRemovingTmp();

    // Remove, then rename, as mail files have always been replaced: a save cut short between the
    // two leaves only the complete ".tmp" file, already synced, to be renamed into place.
    if (::unlink(path.constData()) != 0 && errno != ENOENT)
        return failRemovingTmp();
    if (std::rename(tmpPath.constData(), path.constData()) < 0)
        return failRemovingTmp();
    return tavmms::syncParentDirectory(path) == 0 ? 0 : 1;
}

bool MMS_UTIL_MailFile::serializeMsgHeaderTo(QTextStream& stream)
{
    QIODevice* device = stream.device();
    if (!header || !device)
        return false;
    headerToValueTexts(*header, valueTexts);
    // Line ends are encoded as the stream encodes text; the lines themselves go out as raw UTF-8,
    // whatever the stream's own encoder would make of them. Each line is one write.
    const QByteArray lineEnd = QStringEncoder(stream.encoding()).encode(QStringView(u"\n"));
    stream.flush();             // what the caller wrote before comes first
    QByteArray chunk = lineEnd; // the block opens with an empty line
    for (int i = 0; i < MMS_UTIL_MAILFILE_KEY_COUNT; ++i) {
        // A U+0000 cuts the line there, as the text is written zero-terminated.
        const QByteArray line = (keyTexts[i] % QLatin1Char(' ') % valueTexts[i]).toUtf8();
        chunk += QByteArrayView(line.constData(), qsizetype(qstrlen(line.constData())));
        chunk += lineEnd;
        if (!writeAll(*device, chunk.constData(), chunk.size()) || deviceFailed(stream))
            return false;
        chunk.truncate(0); // keeps the buffer for the next line
    }
    return true;
}

void MMS_UTIL_MailFile::readMsgHeaderFrom(QTextStream& stream, MMS_UTIL_MsgHeaderBase* header)
{
    if (!header)
        return;
    readHeaderText(stream.readAll(), valueTexts, header);
}

int MMS_UTIL_MailFile::judgeString(QString key)
{
    for (int i = 0; i < MMS_UTIL_MAILFILE_KEY_COUNT; ++i) {
        if (keyTexts[i] == key)
            return i;
    }
    return MMS_UTIL_MAILFILE_KEY_COUNT;
}
