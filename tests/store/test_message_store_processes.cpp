// The message store with several programs at once: writers adding while a repair runs in a loop,
// and an index that was reset under mail files that are still there. Every program is a forked
// child or a run of mmsutil; the parent opens the database only after its children are gone,
// since an SQLite connection must never cross fork().

#include "message_store.h"
#include "message_store_check.h"

#include "support/child_process.h"
#include "support/mailfile_helpers.h"
#include "support/message_store.h"
#include "support/scoped_environment.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QTemporaryDir>

#include <chrono>
#include <string>

namespace
{

using namespace std::chrono_literals;
using tavmms::store::Added;
using tavmms::store::MessageStore;
using tavmms::store::NewMessage;
using tavmms_test::ChildProcess;
using tavmms_test::ChildVerdict;

const int kMessagesPerWriter = 300;

NewMessage messageOf(const std::string& writer, int index)
{
    NewMessage message;
    message.to = {MMS_UTIL_Entry()};
    message.to[0].address = QStringLiteral("+4915550101");
    message.to[0].type = MMS_UTIL_ADDR_PLMN;
    message.subject = QString::fromStdString(writer) + QString::number(index);
    message.body = tavmms_test::patternBytes(2000 + index, unsigned(index));
    return message;
}

class MessageStoreProcessesTest : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(dir.isValid()); }

    QString mailFileDir() const { return dir.filePath(QStringLiteral("download/mms/mailfile/")); }
    QString databasePath() const { return dir.filePath(QStringLiteral("platform/device.db")); }

    QTemporaryDir dir;
    tavmms_test::ScopedEnvironment download{"TAV_LOCAL_DOWNLOAD_PATH",
                                            dir.filePath(QStringLiteral("download")).toUtf8()};
    tavmms_test::ScopedEnvironment platform{"TAV_PLATFORM_DIR",
                                            dir.filePath(QStringLiteral("platform")).toUtf8()};
};

// Adds its messages one by one and tells the parent the id of each the store reported as kept.
ChildVerdict addMessages(ChildProcess& self, const std::string& writer)
{
    MessageStore store;
    for (int i = 0; i < kMessagesPerWriter; ++i) {
        const Added added = store.compose(messageOf(writer, i));
        if (!added.status.ok())
            return ChildVerdict::fail(writer + " could not add message " + std::to_string(i) +
                                      ": " + added.status.text.toStdString());
        self.send(writer + ' ' + std::to_string(i) + ' ' + std::to_string(added.id));
    }
    return ChildVerdict::pass();
}

TEST_F(MessageStoreProcessesTest, WritersAddingWhileARepairRunsInALoopLoseNoMessage)
{
    // The repair runs until both writers are done, which it learns from a file the parent makes.
    const QString done = dir.filePath(QStringLiteral("writers-done"));
    ChildProcess repair([&](ChildProcess& self) {
        tavmms::store::CheckOptions options;
        options.repair = true;
        options.force = true;
        int rounds = 0;
        while (!QFile::exists(done)) {
            const tavmms::store::CheckReport report = tavmms::store::checkStore(options);
            if (!report.status.ok())
                return ChildVerdict::fail("the repair failed: " + report.status.text.toStdString());
            for (const tavmms::store::CheckProblem& problem : report.problems)
                self.send("problem: " + problem.text.toStdString());
            ++rounds;
        }
        self.send("rounds " + std::to_string(rounds));
        return ChildVerdict::pass();
    });
    ChildProcess first([](ChildProcess& self) { return addMessages(self, "first"); });
    ChildProcess second([](ChildProcess& self) { return addMessages(self, "second"); });
    const tavmms_test::ChildVerdict firstVerdict = first.finish(300s);
    const tavmms_test::ChildVerdict secondVerdict = second.finish(300s);
    ASSERT_TRUE(tavmms_test::writeFileBytes(done, QByteArray()));
    const tavmms_test::ChildVerdict repairVerdict = repair.finish(300s);
    ASSERT_EQ(firstVerdict.kind, ChildVerdict::Passed) << firstVerdict.message;
    ASSERT_EQ(secondVerdict.kind, ChildVerdict::Passed) << secondVerdict.message;
    ASSERT_EQ(repairVerdict.kind, ChildVerdict::Passed) << repairVerdict.message;
    // The repair found nothing to judge: no message was half kept while it looked.
    EXPECT_EQ(repair.transcript().find("problem:"), std::string::npos) << repair.transcript();
    // ... and it ran while they added.
    const std::string::size_type rounds = repair.transcript().find("rounds ");
    ASSERT_NE(rounds, std::string::npos);
    EXPECT_GT(std::stoi(repair.transcript().substr(rounds + 7)), 0);

    const QList<QByteArray> ids = tavmms_test::rowIds(databasePath());
    EXPECT_EQ(ids.size(), 2 * kMessagesPerWriter);
    for (const ChildProcess* writer : {&first, &second}) {
        int kept = 0;
        for (const QByteArray& line : QByteArray::fromStdString(writer->transcript()).split('\n')) {
            const QList<QByteArray> words = line.split(' ');
            if (words.size() != 3)
                continue;
            ++kept;
            SCOPED_TRACE(line.toStdString());
            EXPECT_TRUE(ids.contains(words.at(2)));
            const NewMessage message = messageOf(words.at(0).toStdString(), words.at(1).toInt());
            const tavmms::store::ReadMessage read = MessageStore().read(words.at(2).toUInt());
            ASSERT_TRUE(read.header) << read.mailFileError.toStdString();
            EXPECT_EQ(read.body, message.body);
            EXPECT_EQ(read.header->subject, message.subject);
        }
        EXPECT_EQ(kept, kMessagesPerWriter);
    }
    const tavmms::store::CheckReport report = tavmms::store::checkStore({});
    EXPECT_TRUE(report.status.ok()) << report.status.text.toStdString();
    EXPECT_EQ(report.problems.size(), 0);
    EXPECT_EQ(report.mailFiles, 2 * kMessagesPerWriter);
}

TEST_F(MessageStoreProcessesTest, AddsAfterTheIndexWasResetChangeNoEarlierFile)
{
    const QString body = dir.filePath(QStringLiteral("body.bin"));
    ASSERT_TRUE(tavmms_test::writeFileBytes(body, tavmms_test::patternBytes(500)));
    const auto compose = [&](const QString& subject) {
        return tavmms_test::runOnStore(TAVMMS_MMSUTIL_PATH, dir.path(),
                                       {QStringLiteral("compose"), QStringLiteral("--to"),
                                        QStringLiteral("+15550101"), QStringLiteral("--subject"),
                                        subject, QStringLiteral("--body"), body});
    };
    for (const char* subject : {"one", "two", "three"})
        ASSERT_EQ(compose(QLatin1String(subject)).exitCode, 0);
    QList<QByteArray> before;
    for (int id = 1; id <= 3; ++id)
        before.append(tavmms_test::readFileBytes(mailFileDir() + QStringLiteral("%1.mms").arg(id)));
    // As a person empties the database file by hand.
    QFile index(databasePath());
    ASSERT_TRUE(index.open(QIODevice::WriteOnly | QIODevice::Truncate));
    index.close();

    const tavmms_test::ToolResult four = compose(QStringLiteral("four"));
    const tavmms_test::ToolResult five = compose(QStringLiteral("five"));

    ASSERT_EQ(four.exitCode, 0) << four.err.toStdString();
    ASSERT_EQ(five.exitCode, 0) << five.err.toStdString();
    EXPECT_TRUE(four.out.startsWith("4 ")) << four.out.toStdString();
    EXPECT_TRUE(five.out.startsWith("5 ")) << five.out.toStdString();
    for (int id = 1; id <= 3; ++id)
        EXPECT_EQ(tavmms_test::readFileBytes(mailFileDir() + QStringLiteral("%1.mms").arg(id)),
                  before.at(id - 1));
    EXPECT_EQ(tavmms_test::rowIds(databasePath()), (QList<QByteArray>{"4", "5"}));
}

} // namespace
