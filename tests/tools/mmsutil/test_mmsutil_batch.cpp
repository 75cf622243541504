// mmsutil's commands that write settings, run in-process over a double of the settings store:
// each holds one batch around all that it reads and writes, commits it only when every write was
// taken, drops it when one was refused, and ends with the commit's result.

#include "commands.h"

#include "support/mock_settings_store.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <functional>
#include <optional>
#include <string>

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

// How a command's batch ends.
enum class Outcome {
    Committed,     // every write taken, and the commit
    WriteRefused,  // one write refused: the batch is dropped
    CommitRefused, // every write taken, the commit not
};

class MmsutilBatchTest : public ::testing::TestWithParam<Outcome>
{
protected:
    // The command's batch: begun, then what `inside` expects (given the errno that refuses its
    // write, 0 for none), then the end that the outcome makes.
    void expectBatch(const std::function<void(int refusal)>& inside)
    {
        EXPECT_CALL(store, beginBatch()).WillOnce(Return(true));
        if (GetParam() == Outcome::WriteRefused) {
            inside(EIO);
            EXPECT_CALL(store, abortBatch());
        } else {
            inside(0);
            EXPECT_CALL(store, commitBatch())
                .WillOnce(storeOutcome(GetParam() == Outcome::CommitRefused ? ENOSPC : 0));
        }
    }
    // The command's exit status for the outcome.
    int expectedExit() const
    {
        return GetParam() == Outcome::Committed ? cli::ExitOk : cli::ExitFailed;
    }

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

    // The sending options written, up to the read report when it is refused.
    void expectSendingOptionsWritten(int refusal)
    {
        EXPECT_CALL(store, open(3, true));
        expectWrite(store, kGlobal, QStringLiteral("MMS_Delivery_Report"), true);
        expectWrite(store, kGlobal, QStringLiteral("MMS_Read_Report"), false, refusal);
        if (refusal == 0) {
            expectWrite(store, kGlobal, QStringLiteral("MMS_Expire_After_Sec"), 300u);
            expectWrite(store, kGlobal, QStringLiteral("MMS_Send_Priority"), 129);
        }
        EXPECT_CALL(store, close());
    }

    // The check that the profile is listed.
    void expectProfileListed()
    {
        EXPECT_CALL(store, open(3, false));
        EXPECT_CALL(store, entries(kProfileList))
            .WillOnce(Return(QMap<QString, QString>{{kProfile, QStringLiteral("1")}}));
        EXPECT_CALL(store, close());
    }

    // The default profile read, as `name`.
    void expectDefaultProfileRead(const QString& name)
    {
        EXPECT_CALL(store, open(3, false));
        expectRead(store, kGlobal, QStringLiteral("MMS_Default_MMS_Profile"), QStringLiteral(""),
                   name);
        EXPECT_CALL(store, close());
    }

    // The profile's name and values removed, the values refused with `refusal` unless it is 0.
    void expectProfileRemoved(int refusal)
    {
        EXPECT_CALL(store, open(3, true));
        EXPECT_CALL(store, removeEntry(kProfileList, kProfile)).WillOnce(Return(true));
        EXPECT_CALL(store, clearGroup(kProfile)).WillOnce(storeOutcome(refusal));
        EXPECT_CALL(store, close());
    }

    // One value of the profile written through its own writer, in a batch that joins the
    // command's; refused with `refusal` unless it is 0.
    void expectProfileValueWritten(const QString& key, const tavmms_test::StoreValue& value,
                                   int refusal = 0)
    {
        EXPECT_CALL(store, beginBatch()).WillOnce(Return(true));
        EXPECT_CALL(store, open(3, true));
        expectWrite(store, kProfile, key, value, refusal);
        EXPECT_CALL(store, close());
        if (refusal == 0)
            EXPECT_CALL(store, commitBatch()).WillOnce(Return(true));
        else
            EXPECT_CALL(store, abortBatch());
    }

    StrictMock<MockSettingsStore> store;
    ScopedSettingsStoreService installed{&store};
};

TEST_P(MmsutilBatchTest, SendingSetReadsAndWritesTheOptionsInOneBatchCommittedWhenAllAreTaken)
{
    InSequence order;
    expectBatch([&](int refusal) {
        expectSendingOptionsRead();
        expectSendingOptionsWritten(refusal);
    });

    EXPECT_EQ(runCommand(sendingCommands(), QStringLiteral("sending set"),
                         {QStringLiteral("--delivery-report"), QStringLiteral("on"),
                          QStringLiteral("--expiry"), QStringLiteral("300")}),
              expectedExit());
}

TEST_P(MmsutilBatchTest, ProfileSetWritesEveryValueInOneBatchCommittedWhenAllAreTaken)
{
    InSequence order;
    expectBatch([&](int refusal) {
        expectProfileListed();
        expectProfileValueWritten(QStringLiteral("MMS_Server_Address"), QStringLiteral("http://a"));
        expectProfileValueWritten(QStringLiteral("MMS_WAP_Gateway"), 7u, refusal);
        if (refusal == 0)
            expectProfileValueWritten(QStringLiteral("MMS_Secure_Connection_Type"), 2u);
    });

    EXPECT_EQ(runCommand(profileCommands(), QStringLiteral("profile set"),
                         {kProfile, QStringLiteral("--server-uri"), QStringLiteral("http://a"),
                          QStringLiteral("--wap-gateway"), QStringLiteral("7"),
                          QStringLiteral("--secure-type"), QStringLiteral("2")}),
              expectedExit());
}

TEST_P(MmsutilBatchTest, ProfileDelTakesTheNameAndTheValuesAwayInOneBatch)
{
    InSequence order;
    expectBatch([&](int refusal) {
        expectProfileListed();
        expectDefaultProfileRead(QStringLiteral("Other"));
        expectProfileRemoved(refusal);
    });

    EXPECT_EQ(runCommand(profileCommands(), QStringLiteral("profile del"), {kProfile}),
              expectedExit());
}

TEST_P(MmsutilBatchTest, ProfileDelOfTheDefaultClearsTheDefaultInTheSameBatch)
{
    InSequence order;
    expectBatch([&](int refusal) {
        expectProfileListed();
        expectDefaultProfileRead(kProfile);
        EXPECT_CALL(store, open(3, true));
        expectWrite(store, kGlobal, QStringLiteral("MMS_Default_MMS_Profile"), QString());
        EXPECT_CALL(store, close());
        expectProfileRemoved(refusal);
    });

    EXPECT_EQ(runCommand(profileCommands(), QStringLiteral("profile del"), {kProfile}),
              expectedExit());
}

TEST_P(MmsutilBatchTest, SettingsSetWritesItsValueInABatchOfItsOwn)
{
    InSequence order;
    expectBatch([&](int refusal) {
        EXPECT_CALL(store, open(3, true));
        expectWrite(store, kGlobal, QStringLiteral("MMS_MT_Size_Limitation"), 300, refusal);
        EXPECT_CALL(store, close());
    });

    EXPECT_EQ(runCommand(settingsCommands(), QStringLiteral("settings set"),
                         {QStringLiteral("max-mt-size"), QStringLiteral("300")}),
              expectedExit());
}

std::string outcomeName(const ::testing::TestParamInfo<Outcome>& info)
{
    switch (info.param) {
    case Outcome::Committed:
        return "Committed";
    case Outcome::WriteRefused:
        return "WriteRefused";
    case Outcome::CommitRefused:
        break;
    }
    return "CommitRefused";
}

INSTANTIATE_TEST_SUITE_P(Outcomes, MmsutilBatchTest,
                         ::testing::Values(Outcome::Committed, Outcome::WriteRefused,
                                           Outcome::CommitRefused),
                         outcomeName);

TEST(MmsutilBatchBeginTest, CommandWhoseBatchCannotBeginReadsAndWritesNothing)
{
    StrictMock<MockSettingsStore> store;
    const ScopedSettingsStoreService installed(&store);
    EXPECT_CALL(store, beginBatch()).WillOnce(storeOutcome(EBUSY));

    EXPECT_EQ(runCommand(sendingCommands(), QStringLiteral("sending set"),
                         {QStringLiteral("--expiry"), QStringLiteral("300")}),
              cli::ExitFailed);
}

} // namespace
