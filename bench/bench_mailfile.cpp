// Mail file throughput against the plain system calls that any safe replace-by-rename must make.
//
// BM_MailFile_WriteLoad/N   writeMailFile() then loadMailFile() of an N-byte body.
// BM_RawPosix_WriteRead/N   the same file bytes written to a temporary name, fsync, unlink,
//                           rename, then read back whole: the floor for a replacement that never
//                           leaves a torn file.
// BM_RawPosix_WriteReadDirSync/N  the same plus an fsync of the directory after the rename, so
//                           that the rename itself is durable too.
// BM_Paired_WriteLoad/N, BM_Paired_WriteLoadDirSync/N  the library and one of the two raw runs in
//                           turn: counters library_us, raw_us and their ratio, both sides having
//                           met the same disk. The save syncs the file and then its directory, so
//                           the second is its counterpart; the first is kept as a figure.
// BM_Paired_Save/N          writeMailFile() alone against the raw replacement with both syncs.
// BM_Paired_Load/N          loadMailFile() against a raw read of the whole file.
// BM_Paired_ReadMsgHeader/N readMsgHeader() against a raw read of the record and the header block.
// BM_Paired_ReadMultipartBody/N  readMultipartBody() against a raw read of the record and the
//                           body. The raw readers take the file's size as a reader that trusts no
//                           stored length must, and read into a buffer kept across runs.
// BM_MailFile_Load/N, BM_RawPosix_Read/N  the reading halves alone (from the page cache), which
//                           shows the library's own cost apart from the disk's.
// BM_Header_Serialize / BM_Header_Read  the header text block alone, on a QBuffer.
// BM_LocalDateTime          one local date-time made from its parts, as each stored date is read:
//                           Qt asks the C library to check the time zone every time, which, with
//                           TZ unset, looks at /etc/localtime again.
// BM_Paired_LoadFloor/N, BM_Paired_ReadMsgHeaderFloor/N  the raw reads of BM_Paired_Load and
//                           BM_Paired_ReadMsgHeader, each paired with itself plus one local
//                           date-time made from its parts: the "library" side does no parsing at
//                           all, so its ratio is the lowest that a reader returning the stored date
//                           as a local date-time can reach.
//
// The files live in a fresh directory under $TAVMMS_BENCH_DIR, else under the system's temporary
// directory, or under the current directory when that one is a tmpfs (which would hide the cost of
// syncing).

#include <tavmmsutility.h>

#include "bench_directory.h"
#include "message_body.h"
#include "paired_timing.h"
#include "raw_file.h"

#include <benchmark/benchmark.h>

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTextStream>

#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace
{

// Named among the context lines on top of the report, which are gathered before main() runs.
[[maybe_unused]] const bool contextAdded = [] {
    addBenchDirectoryContext();
    return true;
}();

// A header as the composer fills it for an ordinary message.
std::unique_ptr<MMS_UTIL_MsgHeaderBase> makeHeader()
{
    auto header = std::make_unique<MMS_UTIL_MsgHeaderBase>();
    MMS_UTIL_Entry entry;
    entry.name = QStringLiteral("Ann Example");
    entry.type = MMS_UTIL_ADDR_PLMN;
    entry.address = QStringLiteral("+15550100");
    header->setFrom(entry);
    entry.name = QStringLiteral("Bob");
    entry.address = QStringLiteral("+15550101");
    header->addToRecipient(entry);
    entry.name = QStringLiteral("Carla");
    entry.type = MMS_UTIL_ADDR_EMAIL;
    entry.address = QStringLiteral("carla@example.org");
    header->addToRecipient(entry);
    header->addCcRecipient(entry);
    header->subject = QStringLiteral("Photos from the weekend");
    header->messageId = QStringLiteral("20260101120000-0001@mms.example.org");
    header->contentType = MMS_CONTENT_TYPE_T{QStringLiteral("application"),
                                             QStringLiteral("vnd.wap.multipart.related"),
                                             QStringLiteral("type=application/smil")};
    header->sendDate = QDateTime(QDate(2026, 1, 1), QTime(12, 0, 0));
    header->priority = MMS_UTIL_PRIORITY_HIGH;
    header->deliveryReport = true;
    return header;
}

QString benchFile(const char* name)
{
    return benchDirectory() + QLatin1Char('/') + QLatin1String(name);
}

// Loads `path` and releases what the load handed out; false when it failed.
bool loadAndRelease(const QString& path, unsigned int expectedLength)
{
    MMS_UTIL_MailFile reader(path);
    const int loaded = reader.loadMailFile();
    const std::unique_ptr<MMS_UTIL_MsgHeaderBase> header(reader.header);
    const std::unique_ptr<unsigned char[]> body(reader.body);
    benchmark::DoNotOptimize(body.get());
    return loaded == MMS_UTIL_MAILFILE_OK && reader.bodyLength == expectedLength;
}

// Writes `body` and `header` to `path`, then loads the file back; false when either failed.
bool writeAndLoad(const QString& path, QByteArray& body, MMS_UTIL_MsgHeaderBase* header)
{
    MMS_UTIL_MailFile writer(path);
    return writer.writeMailFile(reinterpret_cast<unsigned char*>(body.data()), uint(body.size()),
                                header) == MMS_UTIL_MAILFILE_OK &&
           loadAndRelease(path, uint(body.size()));
}

void BM_MailFile_WriteLoad(benchmark::State& state)
{
    QByteArray body = makeBody(state.range(0));
    const std::unique_ptr<MMS_UTIL_MsgHeaderBase> header = makeHeader();
    const QString path = benchFile("library.mms");
    for (auto _ : state) {
        if (!writeAndLoad(path, body, header.get())) {
            state.SkipWithError("writeMailFile or loadMailFile failed");
            break;
        }
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
    QFile::remove(path);
}

void BM_MailFile_Load(benchmark::State& state)
{
    QByteArray body = makeBody(state.range(0));
    const QString path = benchFile("library.mms");
    if (MMS_UTIL_MailFile(path).writeMailFile(reinterpret_cast<unsigned char*>(body.data()),
                                              uint(body.size()), makeHeader().get()) != 0)
        state.SkipWithError("writeMailFile failed");
    for (auto _ : state) {
        if (!loadAndRelease(path, uint(body.size()))) {
            state.SkipWithError("loadMailFile failed");
            break;
        }
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
    QFile::remove(path);
}

// The exact bytes the library stores for this body and header.
QByteArray mailFileBytes(QByteArray body, MMS_UTIL_MsgHeaderBase* header)
{
    const QString path = benchFile("reference.mms");
    MMS_UTIL_MailFile(path).writeMailFile(reinterpret_cast<unsigned char*>(body.data()),
                                          uint(body.size()), header);
    QFile file(path);
    const QByteArray bytes = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    file.remove();
    return bytes;
}

// Reads `length` bytes at `offset` of `fd` into `buffer` (resized to them); false on a read that
// fails or ends early.
bool readAt(int fd, qint64 offset, size_t length, std::vector<char>& buffer)
{
    buffer.resize(length);
    size_t done = 0;
    while (done < length) {
        const ssize_t got = ::pread(fd, buffer.data() + done, length - done, off_t(offset + done));
        if (got <= 0)
            return false;
        done += size_t(got);
    }
    return true;
}

// The big-endian word at `index` of the record read into `buffer`.
quint32 recordWord(const std::vector<char>& buffer, int index)
{
    const auto* bytes = reinterpret_cast<const unsigned char*>(buffer.data()) + index * 4;
    return quint32(bytes[0]) << 24 | quint32(bytes[1]) << 16 | quint32(bytes[2]) << 8 | bytes[3];
}

// The file `path` opened and sized with plain system calls, for the raw readers.
class RawOpenFile
{
public:
    explicit RawOpenFile(const char* path) : fd_(::open(path, O_RDONLY | O_CLOEXEC))
    {
        struct stat info;
        size_ = fd_ >= 0 && ::fstat(fd_, &info) == 0 ? qint64(info.st_size) : -1;
    }
    ~RawOpenFile()
    {
        if (fd_ >= 0)
            ::close(fd_);
    }
    RawOpenFile(const RawOpenFile&) = delete;
    RawOpenFile& operator=(const RawOpenFile&) = delete;

    int fd() const { return fd_; }
    qint64 size() const { return size_; } // -1 when the file could not be opened

private:
    int fd_;
    qint64 size_;
};

bool readBack(const char* path, std::vector<char>& buffer)
{
    const RawOpenFile file(path);
    return file.size() >= 0 && readAt(file.fd(), 0, size_t(file.size()), buffer);
}

// What readMsgHeader reads: the record, then from its first word to the end of the file.
bool readHeaderBlockBack(const char* path, std::vector<char>& record, std::vector<char>& block)
{
    const RawOpenFile file(path);
    if (file.size() < 16 || !readAt(file.fd(), 0, 16, record))
        return false;
    const qint64 offset = recordWord(record, 0);
    return offset <= file.size() && readAt(file.fd(), offset, size_t(file.size() - offset), block);
}

// What readMultipartBody reads: the record, then the body it announces.
bool readBodyBack(const char* path, std::vector<char>& record, std::vector<char>& body)
{
    const RawOpenFile file(path);
    if (file.size() < 16 || !readAt(file.fd(), 0, 16, record))
        return false;
    const qint64 length = recordWord(record, 3);
    return 16 + length <= file.size() && readAt(file.fd(), 16, size_t(length), body);
}

// The raw counterpart of a save and a load: `bytes` written under a temporary name and synced,
// `path` replaced by unlink and rename (optionally followed by a sync of the directory, so that
// the rename itself is durable too), then the file read back whole.
class RawReplace
{
public:
    RawReplace(qint64 bodySize, bool syncDirectory)
        : bytes_(mailFileBytes(makeBody(bodySize), makeHeader().get())),
          path_(QFile::encodeName(benchFile("raw.mms"))), tmp_(path_ + ".tmp"),
          dir_(syncDirectory ? QFile::encodeName(benchDirectory()) : QByteArray())
    {
    }
    ~RawReplace() { ::unlink(path_.constData()); }

    // The save alone.
    bool store()
    {
        if (!writeSyncedFile(tmp_, bytes_))
            return false;
        ::unlink(path_.constData());
        if (::rename(tmp_.constData(), path_.constData()) != 0)
            return false;
        return dir_.isEmpty() || syncDirectory(dir_);
    }

    // The save, then the read of the whole file.
    bool run()
    {
        if (!store())
            return false;
        const bool read = readBack(path_.constData(), buffer_);
        benchmark::DoNotOptimize(buffer_.data());
        return read;
    }

private:
    const QByteArray bytes_;
    const QByteArray path_;
    const QByteArray tmp_;
    const QByteArray dir_;
    std::vector<char> buffer_;
};

void rawBenchmark(benchmark::State& state, bool syncDirectory)
{
    RawReplace raw(state.range(0), syncDirectory);
    for (auto _ : state) {
        if (!raw.run()) {
            state.SkipWithError("raw write or read failed");
            break;
        }
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

void BM_RawPosix_WriteRead(benchmark::State& state)
{
    rawBenchmark(state, false);
}

void BM_RawPosix_WriteReadDirSync(benchmark::State& state)
{
    rawBenchmark(state, true);
}

// The library's save and load and a raw counterpart in turn (which goes first alternates), so
// that both meet the same disk. The time is the pair's; the counters are each side's and their
// ratio.
void pairedBenchmark(benchmark::State& state, bool syncDirectory)
{
    QByteArray body = makeBody(state.range(0));
    const std::unique_ptr<MMS_UTIL_MsgHeaderBase> header = makeHeader();
    const QString path = benchFile("library.mms");
    RawReplace raw(state.range(0), syncDirectory);
    PairedTiming().runAll(
        state, [&] { return writeAndLoad(path, body, header.get()); }, [&] { return raw.run(); },
        "a write or a read failed");
    QFile::remove(path);
}

void BM_Paired_WriteLoad(benchmark::State& state)
{
    pairedBenchmark(state, false);
}

void BM_Paired_WriteLoadDirSync(benchmark::State& state)
{
    pairedBenchmark(state, true);
}

void BM_Paired_Save(benchmark::State& state)
{
    QByteArray body = makeBody(state.range(0));
    const std::unique_ptr<MMS_UTIL_MsgHeaderBase> header = makeHeader();
    const QString path = benchFile("library.mms");
    RawReplace raw(state.range(0), true);
    PairedTiming().runAll(
        state,
        [&] {
            return MMS_UTIL_MailFile(path).writeMailFile(
                       reinterpret_cast<unsigned char*>(body.data()), uint(body.size()),
                       header.get()) == MMS_UTIL_MAILFILE_OK;
        },
        [&] { return raw.store(); }, "a save failed");
    QFile::remove(path);
}

// A mail file of an N-byte body written once, which a reader of the library and its raw
// counterpart then read in turn, both from the page cache.
class StoredMailFile
{
public:
    explicit StoredMailFile(benchmark::State& state)
        : body_(makeBody(state.range(0))), path_(benchFile("library.mms")),
          name_(QFile::encodeName(path_))
    {
        if (MMS_UTIL_MailFile(path_).writeMailFile(reinterpret_cast<unsigned char*>(body_.data()),
                                                   uint(body_.size()),
                                                   makeHeader().get()) != MMS_UTIL_MAILFILE_OK)
            state.SkipWithError("writeMailFile failed");
    }
    ~StoredMailFile() { QFile::remove(path_); }

    const QString& path() const { return path_; }
    const char* name() const { return name_.constData(); }
    unsigned int bodyLength() const { return uint(body_.size()); }

private:
    QByteArray body_;
    const QString path_;
    const QByteArray name_;
};

// The raw counterpart of a load: the whole of `file` read into `buffer`.
auto rawWholeRead(const StoredMailFile& file, std::vector<char>& buffer)
{
    return [&file, &buffer] {
        const bool read = readBack(file.name(), buffer);
        benchmark::DoNotOptimize(buffer.data());
        return read;
    };
}

// The raw counterpart of readMsgHeader: the record and the header block of `file`.
auto rawHeaderBlockRead(const StoredMailFile& file, std::vector<char>& record,
                        std::vector<char>& block)
{
    return [&file, &record, &block] {
        const bool read = readHeaderBlockBack(file.name(), record, block);
        benchmark::DoNotOptimize(block.data());
        return read;
    };
}

void BM_Paired_Load(benchmark::State& state)
{
    const StoredMailFile file(state);
    std::vector<char> buffer;
    PairedTiming().runAll(
        state, [&] { return loadAndRelease(file.path(), file.bodyLength()); },
        rawWholeRead(file, buffer), "a read failed");
}

void BM_Paired_ReadMsgHeader(benchmark::State& state)
{
    const StoredMailFile file(state);
    std::vector<char> record;
    std::vector<char> block;
    PairedTiming().runAll(
        state,
        [&] {
            MMS_UTIL_MsgHeaderBase header;
            const bool read = MMS_UTIL_MailFile(file.path()).readMsgHeader(&header) == 0;
            benchmark::DoNotOptimize(header.toList.count());
            return read;
        },
        rawHeaderBlockRead(file, record, block), "a read failed");
}

void BM_Paired_ReadMultipartBody(benchmark::State& state)
{
    const StoredMailFile file(state);
    std::vector<char> record;
    std::vector<char> body;
    PairedTiming().runAll(
        state,
        [&] {
            unsigned char* buffer = nullptr;
            unsigned int length = 0;
            const bool read =
                MMS_UTIL_MailFile(file.path()).readMultipartBody(&buffer, &length) == 0;
            const std::unique_ptr<unsigned char[]> owned(buffer);
            benchmark::DoNotOptimize(owned.get());
            return read && length == file.bodyLength();
        },
        [&] {
            const bool read = readBodyBack(file.name(), record, body);
            benchmark::DoNotOptimize(body.data());
            return read;
        },
        "a read failed");
}

// One local date-time made from its parts, as a reader makes the stored Send_Date; false when Qt
// could not make it.
bool makeLocalDate()
{
    const QDateTime local(QDate(2026, 1, 1), QTime(12, 0, 0));
    benchmark::DoNotOptimize(local);
    return local.isValid();
}

void BM_Paired_LoadFloor(benchmark::State& state)
{
    const StoredMailFile file(state);
    std::vector<char> buffer;
    const auto raw = rawWholeRead(file, buffer);
    PairedTiming().runAll(
        state, [&] { return raw() && makeLocalDate(); }, raw, "a read failed");
}

void BM_Paired_ReadMsgHeaderFloor(benchmark::State& state)
{
    const StoredMailFile file(state);
    std::vector<char> record;
    std::vector<char> block;
    const auto raw = rawHeaderBlockRead(file, record, block);
    PairedTiming().runAll(
        state, [&] { return raw() && makeLocalDate(); }, raw, "a read failed");
}

void BM_RawPosix_Read(benchmark::State& state)
{
    const QByteArray bytes = mailFileBytes(makeBody(state.range(0)), makeHeader().get());
    const QString path = benchFile("raw.mms");
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        state.SkipWithError("cannot write the file to read");
    file.close();
    const QByteArray name = QFile::encodeName(path);
    std::vector<char> buffer;
    for (auto _ : state) {
        if (!readBack(name.constData(), buffer)) {
            state.SkipWithError("read failed");
            break;
        }
        benchmark::DoNotOptimize(buffer.data());
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
    file.remove();
}
void BM_Header_Serialize(benchmark::State& state)
{
    const std::unique_ptr<MMS_UTIL_MsgHeaderBase> header = makeHeader();
    MMS_UTIL_MailFile file(benchFile("unused.mms"));
    file.header = header.get();
    for (auto _ : state) {
        QBuffer buffer;
        buffer.open(QIODevice::WriteOnly);
        QTextStream stream(&buffer);
        stream.setEncoding(QStringConverter::Utf8);
        if (!file.serializeMsgHeaderTo(stream)) {
            state.SkipWithError("serializeMsgHeaderTo failed");
            break;
        }
        stream.flush();
        benchmark::DoNotOptimize(buffer.data().constData());
    }
    file.header = nullptr;
}

void BM_Header_Read(benchmark::State& state)
{
    const std::unique_ptr<MMS_UTIL_MsgHeaderBase> written = makeHeader();
    MMS_UTIL_MailFile file(benchFile("unused.mms"));
    QBuffer block;
    block.open(QIODevice::WriteOnly);
    {
        QTextStream stream(&block);
        stream.setEncoding(QStringConverter::Utf8);
        file.header = written.get();
        file.serializeMsgHeaderTo(stream);
        file.header = nullptr;
    }
    const QByteArray text = block.data();
    for (auto _ : state) {
        QBuffer buffer;
        buffer.setData(text);
        buffer.open(QIODevice::ReadOnly);
        QTextStream stream(&buffer);
        stream.setEncoding(QStringConverter::Utf8);
        MMS_UTIL_MsgHeaderBase header;
        file.readMsgHeaderFrom(stream, &header);
        benchmark::DoNotOptimize(header.toList.count());
    }
}

void BM_LocalDateTime(benchmark::State& state)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(makeLocalDate());
}

const std::vector<int64_t> kBodySizes{1024, 100 * 1024, 300 * 1024, 600 * 1024};

BENCHMARK(BM_MailFile_WriteLoad)
    ->ArgsProduct({kBodySizes})
    ->UseRealTime()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_RawPosix_WriteRead)
    ->ArgsProduct({kBodySizes})
    ->UseRealTime()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_RawPosix_WriteReadDirSync)
    ->ArgsProduct({kBodySizes})
    ->UseRealTime()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Paired_WriteLoad)
    ->ArgsProduct({kBodySizes})
    ->UseRealTime()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Paired_WriteLoadDirSync)
    ->ArgsProduct({kBodySizes})
    ->UseRealTime()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Paired_Save)->ArgsProduct({kBodySizes})->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Paired_Load)->ArgsProduct({kBodySizes})->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Paired_ReadMsgHeader)
    ->ArgsProduct({kBodySizes})
    ->UseRealTime()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Paired_ReadMultipartBody)
    ->ArgsProduct({kBodySizes})
    ->UseRealTime()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Paired_LoadFloor)
    ->ArgsProduct({kBodySizes})
    ->UseRealTime()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Paired_ReadMsgHeaderFloor)
    ->ArgsProduct({kBodySizes})
    ->UseRealTime()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_MailFile_Load)
    ->ArgsProduct({kBodySizes})
    ->UseRealTime()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_RawPosix_Read)
    ->ArgsProduct({kBodySizes})
    ->UseRealTime()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Header_Serialize)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Header_Read)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_LocalDateTime)->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
