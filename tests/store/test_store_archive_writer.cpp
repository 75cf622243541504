// The archive writer on its own: one zstd frame that carries a checksum and ends once finished; a
// full disk named as such; and a writer dropped unfinished leaves no frame that looks whole.

#include "file_descriptor.h"
#include "store_archive_writer.h"

#include "support/mailfile_helpers.h"

#include <gtest/gtest.h>

#include <QDateTime>
#include <QFile>
#include <QTemporaryDir>

// For ZSTD_getFrameHeader(), which libzstd's shared library exports too.
#define ZSTD_STATIC_LINKING_ONLY
#include <zstd.h>

#include <cerrno>
#include <fcntl.h>

namespace
{

using tavmms::FileDescriptor;
using tavmms::store::ArchiveWriter;

// Bytes zstd cannot shrink, so that the writer hands them on before the frame ends.
QByteArray incompressible(qsizetype size)
{
    QByteArray bytes(size, Qt::Uninitialized);
    quint32 state = 2463534242u;
    for (char& byte : bytes) {
        state ^= state << 13;
        state ^= state >> 17;
        state ^= state << 5;
        byte = char(state);
    }
    return bytes;
}

class ArchiveWriterTest : public ::testing::Test
{
protected:
    // The bytes the writer leaves in a file after adding one member of `size` bytes, finished or
    // dropped unfinished.
    QByteArray written(qsizetype size, bool finish)
    {
        const QString path = dir.filePath(QStringLiteral("archive.tar.zst"));
        const FileDescriptor file{::open(QFile::encodeName(path).constData(),
                                         O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600)};
        EXPECT_GE(file.fd, 0);
        {
            ArchiveWriter writer(file.fd);
            EXPECT_TRUE(writer.add(QStringLiteral("messages/1.mms"), incompressible(size),
                                   QDateTime::currentDateTimeUtc()))
                << writer.error().toStdString();
            if (finish) {
                EXPECT_TRUE(writer.finish()) << writer.error().toStdString();
            }
        }
        return tavmms_test::readFileBytes(path);
    }

    QTemporaryDir dir;
};

TEST_F(ArchiveWriterTest, AFinishedArchiveIsOneWholeFrameWithAChecksum)
{
    const QByteArray archive = written(1000, true);
    ZSTD_frameHeader header{};
    ASSERT_EQ(ZSTD_getFrameHeader(&header, archive.constData(), size_t(archive.size())), 0u);
    EXPECT_EQ(header.checksumFlag, 1u);
    EXPECT_EQ(header.windowSize, 1ull << tavmms::store::kArchiveWindowLog);
    EXPECT_EQ(ZSTD_findFrameCompressedSize(archive.constData(), size_t(archive.size())),
              size_t(archive.size()));
}

TEST_F(ArchiveWriterTest, AWriterDroppedUnfinishedLeavesNoWholeFrame)
{
    const QByteArray archive = written(1024 * 1024, false);
    ASSERT_FALSE(archive.isEmpty());
    EXPECT_TRUE(
        ZSTD_isError(ZSTD_findFrameCompressedSize(archive.constData(), size_t(archive.size()))));
}

// Whether the bytes go out while a member is added or only when the archive is finished.
TEST_F(ArchiveWriterTest, AFullDiskFailsWithNoSpace)
{
    for (const qsizetype size : {qsizetype(1000), qsizetype(1024 * 1024)}) {
        const FileDescriptor full{::open("/dev/full", O_WRONLY | O_CLOEXEC)};
        ASSERT_GE(full.fd, 0);
        ArchiveWriter writer(full.fd);
        const bool added = writer.add(QStringLiteral("messages/1.mms"), incompressible(size),
                                      QDateTime::currentDateTimeUtc());
        EXPECT_FALSE(added && writer.finish()) << size;
        EXPECT_EQ(writer.errorNumber(), ENOSPC) << size << ": " << writer.error().toStdString();
    }
}

} // namespace
