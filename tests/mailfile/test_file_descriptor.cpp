// The plain reads the mail file readers make: at an offset, whole unless the file ends or fails.

#include "file_descriptor.h"

#include <gtest/gtest.h>

#include <QTemporaryFile>

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace
{

// A file holding "0123456789", open for reading with a descriptor of its own.
class DigitsFile : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(file.open());
        ASSERT_EQ(file.write("0123456789"), 10);
        ASSERT_TRUE(file.flush());
        ASSERT_GE(fd.fd =
                      ::open(QFile::encodeName(file.fileName()).constData(), O_RDONLY | O_CLOEXEC),
                  0);
    }

    QTemporaryFile file;
    tavmms::FileDescriptor fd{-1};
};

TEST_F(DigitsFile, ReadsAtAnOffsetAndShortOnlyAtTheEnd)
{
    char bytes[8] = {};
    EXPECT_EQ(tavmms::readAt(fd.fd, 2, bytes, 4), 4);
    EXPECT_EQ(QByteArray(bytes, 4), QByteArray("2345"));
    EXPECT_EQ(tavmms::readAt(fd.fd, 7, bytes, 8), 3);
    EXPECT_EQ(QByteArray(bytes, 3), QByteArray("789"));
    EXPECT_EQ(tavmms::readAt(fd.fd, 10, bytes, 8), 0);
}

TEST_F(DigitsFile, ASplitReadFillsTheHeadThenTheTail)
{
    char head[4] = {};
    char tail[8] = {};
    EXPECT_EQ(tavmms::readSplitAt(fd.fd, 1, head, 3, tail, 4), 7);
    EXPECT_EQ(QByteArray(head, 3), QByteArray("123"));
    EXPECT_EQ(QByteArray(tail, 4), QByteArray("4567"));
    // Short at the end of the file: in the tail, then within the head itself.
    EXPECT_EQ(tavmms::readSplitAt(fd.fd, 4, head, 4, tail, 8), 6);
    EXPECT_EQ(QByteArray(head, 4), QByteArray("4567"));
    EXPECT_EQ(QByteArray(tail, 2), QByteArray("89"));
    EXPECT_EQ(tavmms::readSplitAt(fd.fd, 8, head, 4, tail, 8), 2);
    EXPECT_EQ(QByteArray(head, 2), QByteArray("89"));
    EXPECT_EQ(tavmms::readSplitAt(fd.fd, 10, head, 4, tail, 8), 0);
}

TEST(FileDescriptorTest, AFailedSplitReadGivesNothingWithErrnoSet)
{
    int pipeEnds[2];
    ASSERT_EQ(::pipe(pipeEnds), 0);
    const tavmms::FileDescriptor in{pipeEnds[0]};
    const tavmms::FileDescriptor out{pipeEnds[1]};
    char head = 0;
    char tail = 0;
    errno = 0;
    EXPECT_EQ(tavmms::readSplitAt(in.fd, 0, &head, 1, &tail, 1), 0);
    EXPECT_EQ(errno, ESPIPE);
}

TEST(FileDescriptorTest, AFailedReadGivesWhatWasReadWithErrnoSet)
{
    int pipeEnds[2];
    ASSERT_EQ(::pipe(pipeEnds), 0);
    const tavmms::FileDescriptor in{pipeEnds[0]};
    const tavmms::FileDescriptor out{pipeEnds[1]};
    char byte = 0;
    errno = 0;
    EXPECT_EQ(tavmms::readAt(in.fd, 0, &byte, 1), 0);
    EXPECT_EQ(errno, ESPIPE);
}

TEST(FileDescriptorTest, ClosesItsDescriptorWhenItGoes)
{
    int pipeEnds[2];
    ASSERT_EQ(::pipe(pipeEnds), 0);
    const tavmms::FileDescriptor out{pipeEnds[1]};
    {
        const tavmms::FileDescriptor in{pipeEnds[0]};
    }
    EXPECT_EQ(::fcntl(pipeEnds[0], F_GETFD), -1);
    EXPECT_EQ(errno, EBADF);
}

} // namespace
