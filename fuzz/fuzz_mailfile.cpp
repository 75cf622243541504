// Every reader of the mail file, the library's and the store's, on arbitrary file content: none
// may crash, read out of bounds or leak, whatever the record words and the header text say.

#include <tavmmsutility.h>

#include "header_row.h"
#include "index_row_text.h"
#include "mail_file_defect.h"
#include "mail_file_io.h"
#include "mail_file_reader.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <cstddef>
#include <cstdint>
#include <memory>

namespace
{

// The input goes to a real file, as the readers open files by name; memory-backed when the system
// has /dev/shm, which keeps each run cheap.
QString inputPath()
{
    static QTemporaryDir dir((QDir(QStringLiteral("/dev/shm")).exists() ? QStringLiteral("/dev/shm")
                                                                        : QDir::tempPath()) +
                             QStringLiteral("/fuzz_mailfile-XXXXXX"));
    return dir.filePath(QStringLiteral("input.mms"));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const QString path = inputPath();
    QFile input(path);
    if (!input.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return 0;
    input.write(reinterpret_cast<const char*>(data), qint64(size));
    input.close();

    MMS_UTIL_MailFile file(path);
    file.readMailFileHeader();

    unsigned char* buffer = nullptr;
    unsigned int length = 0;
    if (file.readMultipartBody(&buffer, &length) == MMS_UTIL_MAILFILE_OK)
        delete[] buffer;

    MMS_UTIL_MsgHeaderBase header;
    file.readMsgHeader(&header);

    // What a load hands out is the caller's, also when the load fails half-way.
    file.loadMailFile();
    const std::unique_ptr<MMS_UTIL_MsgHeaderBase> loadedHeader(file.header);
    const std::unique_ptr<unsigned char[]> loadedBody(file.body);

    // The store's readers: the check's judgement of a file, the header block it hands out held
    // against a row, and the load a read of a message makes.
    QByteArray block;
    tavmms::store::mailFileDefect(path, &block);
    MMS_UTIL_DBStruct_T row{};
    tavmms::store::setText16(row.cmn_fld_subject, QStringLiteral("Subject"));
    row.cmn_fld_time = 1767268700;
    tavmms::store::headerMismatch(row, block);
    QString error;
    tavmms::store::loadMailFile(path, &error);
    return 0;
}
