// mmsutil's commands that write several settings, run in-process over a double of the settings
// store: each holds one batch around all that it reads and writes, commits it only when every
// write was taken, drops it when one was refused, and ends with the commit's result.

#include "commands.h"

#include "support/mock_settings_store.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <optional>

namespace
{

using tavmms_test::expectRead;
using tavmms_test::expectWrite;
using tavmms_test::MockSettingsStore;
using tavmms_test::storeOutcome;
using tavplatform::ScopedSettingsStoreService;
using ::testing::InSequence;
using ::testing::Return;
using ::testing::StrictMock;

const QString kGlobal = QStringLiteral("MMS_GRP");
const QString kProfileList = QStringLiteral("MMS_Profile_List");
const QString kProfile = QStringLiteral("Operator MMS");

// Runs the command `name` of `commands` with `arguments`; its exit status.
int runCommand(const QList<cli::Command>& commands, const QString& name,
               const QStringList& arguments)
{
    for (const cli::Command& command : commands) {
        if (command.name == name)
            return command.run(command, arguments);
    }
    ADD_FAILURE() << "no command " << name.toStdString();
    return -1;
}

class MmsutilBatchTest : public ::testing::Test
{
protected:
    // The sending options read as the command starts: none is stored.
    void expectSendingOptionsRead()
    {
        EXPECT_CALL(store, open(3, false));
        expectRead(store, kGlobal, QStringLiteral("MMS_Delivery_Report"), false, std::nullopt);
        expectRead(store, kGlobal, QStringLiteral("MMS_Read_Report"), false, std::nullopt);
        expectRead(store, kGlobal, QStringLiteral("MMS_Expire_After_Sec"), 65535u, std::nullopt);
        expectRead(store, kGlobal, QStringLiteral("MMS_Send_Priority"), 129, std::nullopt);
        EXPECT_CALL(store, close());
    }

    // The sending options written, the read report refused with `error` unless it is 0.
    void expectSendingOptionsWritten(int readReportError = 0)
    {
        EXPECT_CALL(store, open(3, true));
        expectWrite(store, kGlobal, QStringLiteral("MMS_Delivery_Report"), true);
        expectWrite(store, kGlobal, QStringLiteral("MMS_Read_Report"), false, readReportError);
        if (readReportError == 0) {
            expectWrite(store, kGlobal, QStringLiteral("MMS_Expire_After_Sec"), 300u);
            expectWrite(store, kGlobal, QStringLiteral("MMS_Send_Priority"), 129);
        }
        EXPECT_CALL(store, close());
    }

    int sendingSet()
    {
        return runCommand(sendingCommands(), QStringLiteral("sending set"),
                          {QStringLiteral("--delivery-report"), QStringLiteral("on"),
                           QStringLiteral("--expiry"), QStringLiteral("300")});
    }

    // The check that the profile is listed.
    void expectProfileListed()
    {
        EXPECT_CALL(store, open(3, false));
        EXPECT_CALL(store, entries(kProfileList))
            .WillOnce(Return(QMap<QString, QString>{{kProfile, QStringLiteral("1")}}));
        EXPECT_CALL(store, close());
    }

    // One value of the profile written through its own writer, in a batch that joins the
    // command's; refused with `error` unless it is 0.
    void expectProfileValueWritten(const QString& key, const tavmms_test::StoreValue& value,
                                   int error = 0)
    {
        EXPECT_CALL(store, beginBatch()).WillOnce(Return(true));
        EXPECT_CALL(store, open(3, true));
        expectWrite(store, kProfile, key, value, error);
        EXPECT_CALL(store, close());
        if (error == 0)
            EXPECT_CALL(store, commitBatch()).WillOnce(Return(true));
        else
            EXPECT_CALL(store, abortBatch());
    }

    int profileSet()
    {
        return runCommand(profileCommands(), QStringLiteral("profile set"),
                          {kProfile, QStringLiteral("--server-uri"), QStringLiteral("http://a"),
                           QStringLiteral("--wap-gateway"), QStringLiteral("7"),
                           QStringLiteral("--secure-type"), QStringLiteral("2")});
    }

    // The profile's name taken off the list, then its values removed, the latter refused with
    // `error` unless it is 0.
    void expectProfileDeleted(int error = 0)
    {
        EXPECT_CALL(store, open(3, true));
        EXPECT_CALL(store, removeEntry(kProfileList, kProfile)).WillOnce(Return(true));
        EXPECT_CALL(store, clearGroup(kProfile)).WillOnce(storeOutcome(error));
        EXPECT_CALL(store, close());
    }

    int profileDel()
    {
        return runCommand(profileCommands(), QStringLiteral("profile del"), {kProfile});
    }

    StrictMock<MockSettingsStore> store;
    ScopedSettingsStoreService installed{&store};
};

// ---- sending set

TEST_F(MmsutilBatchTest, SendingSetReadsAndWritesTheOptionsInOneBatchAndCommitsIt)
{
    InSequence order;
    EXPECT_CALL(store, beginBatch()).WillOnce(Return(true));
    expectSendingOptionsRead();
    expectSendingOptionsWritten();
    EXPECT_CALL(store, commitBatch()).WillOnce(Return(true));

    EXPECT_EQ(sendingSet(), cli::ExitOk);
}

TEST_F(MmsutilBatchTest, SendingSetDropsTheBatchWhenAWriteIsRefused)
{
    InSequence order;
    EXPECT_CALL(store, beginBatch()).WillOnce(Return(true));
    expectSendingOptionsRead();
    expectSendingOptionsWritten(EIO);
    EXPECT_CALL(store, abortBatch());

    EXPECT_EQ(sendingSet(), cli::ExitFailed);
}

TEST_F(MmsutilBatchTest, SendingSetFailsWhenTheCommitFails)
{
    InSequence order;
    EXPECT_CALL(store, beginBatch()).WillOnce(Return(true));
    expectSendingOptionsRead();
    expectSendingOptionsWritten();
    EXPECT_CALL(store, commitBatch()).WillOnce(storeOutcome(ENOSPC));

    EXPECT_EQ(sendingSet(), cli::ExitFailed);
}

TEST_F(MmsutilBatchTest, SendingSetWhoseBatchCannotBeginReadsAndWritesNothing)
{
    EXPECT_CALL(store, beginBatch()).WillOnce(storeOutcome(EBUSY));

    EXPECT_EQ(sendingSet(), cli::ExitFailed);
}

// ---- profile set

TEST_F(MmsutilBatchTest, ProfileSetWritesEveryValueInOneBatchAndCommitsIt)
{
    InSequence order;
    EXPECT_CALL(store, beginBatch()).WillOnce(Return(true));
    expectProfileListed();
    expectProfileValueWritten(QStringLiteral("MMS_Server_Address"), QStringLiteral("http://a"));
    expectProfileValueWritten(QStringLiteral("MMS_WAP_Gateway"), 7u);
    expectProfileValueWritten(QStringLiteral("MMS_Secure_Connection_Type"), 2u);
    EXPECT_CALL(store, commitBatch()).WillOnce(Return(true));

    EXPECT_EQ(profileSet(), cli::ExitOk);
}

TEST_F(MmsutilBatchTest, ProfileSetDropsEveryValueWhenOneIsRefused)
{
    InSequence order;
    EXPECT_CALL(store, beginBatch()).WillOnce(Return(true));
    expectProfileListed();
    expectProfileValueWritten(QStringLiteral("MMS_Server_Address"), QStringLiteral("http://a"));
    expectProfileValueWritten(QStringLiteral("MMS_WAP_Gateway"), 7u, ENOSPC);
    EXPECT_CALL(store, abortBatch());

    EXPECT_EQ(profileSet(), cli::ExitFailed);
}

TEST_F(MmsutilBatchTest, ProfileSetFailsWhenTheCommitFails)
{
    InSequence order;
    EXPECT_CALL(store, beginBatch()).WillOnce(Return(true));
    expectProfileListed();
    expectProfileValueWritten(QStringLiteral("MMS_Server_Address"), QStringLiteral("http://a"));
    expectProfileValueWritten(QStringLiteral("MMS_WAP_Gateway"), 7u);
    expectProfileValueWritten(QStringLiteral("MMS_Secure_Connection_Type"), 2u);
    EXPECT_CALL(store, commitBatch()).WillOnce(storeOutcome(EIO));

    EXPECT_EQ(profileSet(), cli::ExitFailed);
}

// ---- profile del

TEST_F(MmsutilBatchTest, ProfileDelTakesTheNameAndTheValuesAwayInOneBatch)
{
    InSequence order;
    EXPECT_CALL(store, beginBatch()).WillOnce(Return(true));
    expectProfileListed();
    expectProfileDeleted();
    EXPECT_CALL(store, commitBatch()).WillOnce(Return(true));

    EXPECT_EQ(profileDel(), cli::ExitOk);
}

TEST_F(MmsutilBatchTest, ProfileDelKeepsTheNameListedWhenItsValuesCannotGo)
{
    InSequence order;
    EXPECT_CALL(store, beginBatch()).WillOnce(Return(true));
    expectProfileListed();
    expectProfileDeleted(EIO);
    EXPECT_CALL(store, abortBatch());

    EXPECT_EQ(profileDel(), cli::ExitFailed);
}

// ---- settings set

TEST_F(MmsutilBatchTest, SettingsSetWritesItsValueInABatchOfItsOwn)
{
    InSequence order;
    EXPECT_CALL(store, beginBatch()).WillOnce(Return(true));
    EXPECT_CALL(store, open(3, true));
    expectWrite(store, kGlobal, QStringLiteral("MMS_MT_Size_Limitation"), 300);
    EXPECT_CALL(store, close());
    EXPECT_CALL(store, commitBatch()).WillOnce(storeOutcome(ENOSPC));

    EXPECT_EQ(runCommand(settingsCommands(), QStringLiteral("settings set"),
                         {QStringLiteral("max-mt-size"), QStringLiteral("300")}),
              cli::ExitFailed);
}

} // namespace
