// The parts of a kept message: read from the body of its mail file by the content type its header
// keeps, summed up part by part, or a clear reason why there are none.

#include "message_parts.h"

#include "message_body.h"
#include "message_content_type.h"
#include "message_store.h"
#include "mms_util_msgheaderbase.h"

#include "support/model_helpers.h"
#include "support/scoped_environment.h"
#include "support/temp_database.h"
#include "support/temp_settings_store.h"

#include <gtest/gtest.h>

#include <QTemporaryDir>

namespace
{

using tavmms::pdu::Attachment;
using tavmms::pdu::BodyKind;
using tavmms::pdu::EncodedBody;
using tavmms::store::ErrorCode;
using tavmms::store::MessageParts;
using tavmms::store::messageParts;
using tavmms::store::PartSummary;
using tavmms::store::ReadMessage;

const Attachment kPhoto{"image/jpeg", QStringLiteral("photo.jpg"), "\xff\xd8 jpeg"};

ReadMessage readMessage(const tavmms::pdu::ContentType& type, const QByteArray& body)
{
    ReadMessage message;
    message.row.id = 7;
    message.header = std::make_shared<MMS_UTIL_MsgHeaderBase>();
    message.header->contentType = tavmms::store::headerContentType(type);
    message.body = body;
    message.bodyLength = body.size();
    return message;
}

TEST(MessagePartsTest, AMultipartBodyGivesItsPartsAndItsStartPart)
{
    const EncodedBody body =
        tavmms::pdu::composeBody(QStringLiteral("Hello"), {kPhoto}, BodyKind::Related);

    const MessageParts parts = messageParts(readMessage(body.contentType, body.bytes));

    ASSERT_TRUE(parts.status.ok()) << parts.status.text.toStdString();
    ASSERT_EQ(parts.parts.size(), 3);
    EXPECT_EQ(parts.start, 0);
    const QList<PartSummary> summaries = tavmms::store::partSummaries(parts);
    ASSERT_EQ(summaries.size(), 3);
    EXPECT_EQ(summaries.at(0).number, 1);
    EXPECT_EQ(summaries.at(0).contentType, QStringLiteral("application/smil"));
    EXPECT_TRUE(summaries.at(0).isStart);
    EXPECT_EQ(summaries.at(1).contentType, QStringLiteral("text/plain"));
    EXPECT_EQ(summaries.at(1).charset, QStringLiteral("utf-8"));
    EXPECT_EQ(summaries.at(1).size, 5);
    EXPECT_FALSE(summaries.at(1).isStart);
    EXPECT_EQ(summaries.at(2).number, 3);
    EXPECT_EQ(summaries.at(2).name, QStringLiteral("photo.jpg"));
    EXPECT_FALSE(summaries.at(2).contentId.isEmpty());
    EXPECT_FALSE(summaries.at(2).contentLocation.isEmpty());
    EXPECT_EQ(summaries.at(2).size, kPhoto.data.size());
}

TEST(MessagePartsTest, ABodyOfAnotherTypeIsOnePartOfThatType)
{
    tavmms::pdu::ContentType type;
    type.mediaType = "text/plain";
    type.parameters = {{"charset", "utf-8"}};

    const MessageParts parts = messageParts(readMessage(type, "just text"));

    ASSERT_TRUE(parts.status.ok());
    ASSERT_EQ(parts.parts.size(), 1);
    EXPECT_EQ(parts.parts.at(0).data, "just text");
    EXPECT_EQ(tavmms::store::partSummaries(parts).at(0).charset, QStringLiteral("utf-8"));
}

TEST(MessagePartsTest, ABodyThatDoesNotReadSaysWhereAndWhatWasExpected)
{
    tavmms::pdu::ContentType type;
    type.mediaType = "application/vnd.wap.multipart.mixed";

    const MessageParts parts = messageParts(readMessage(type, "\x02\x05"));

    EXPECT_EQ(parts.status.code, ErrorCode::Failed);
    EXPECT_TRUE(parts.status.text.startsWith(
        QStringLiteral("the body of message 7 does not read: offset ")))
        << parts.status.text.toStdString();
    EXPECT_TRUE(parts.status.text.contains(QStringLiteral(": expected ")));
    EXPECT_TRUE(parts.parts.isEmpty());
}

TEST(MessagePartsTest, AMailFileThatDoesNotLoadGivesItsReason)
{
    ReadMessage message;
    message.mailFileError = QStringLiteral("no such file '/x/7.mms'");
    const MessageParts parts = messageParts(message);
    EXPECT_EQ(parts.status.code, ErrorCode::Failed);
    EXPECT_EQ(parts.status.text, QStringLiteral("no such file '/x/7.mms'"));
}

TEST(MessagePartsTest, AKeptMessageIsReadByItsIdAndAMissingOneIsNotFound)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const tavmms_test::ScopedEnvironment download(
        "TAV_LOCAL_DOWNLOAD_PATH", dir.filePath(QStringLiteral("download")).toUtf8());
    const tavmms_test::ScopedEnvironment platform("TAV_PLATFORM_DIR", dir.path().toUtf8());
    tavmms_test::TempDatabase database;
    tavmms_test::TempSettingsStore settings;
    const EncodedBody body =
        tavmms::pdu::composeBody(QStringLiteral("Hello"), {kPhoto}, BodyKind::Mixed);
    tavmms::store::NewMessage message;
    message.from =
        tavmms_test::makeEntry(QString(), MMS_UTIL_ADDR_PLMN, QStringLiteral("+15550101"));
    message.contentType = tavmms::store::headerContentType(body.contentType);
    message.body = body.bytes;
    tavmms::store::MessageStore store;
    const tavmms::store::Added added = store.receive(message);
    ASSERT_TRUE(added.status.ok()) << added.status.text.toStdString();

    const MessageParts parts = messageParts(store, added.id);
    ASSERT_TRUE(parts.status.ok()) << parts.status.text.toStdString();
    EXPECT_EQ(parts.parts.size(), 2);
    EXPECT_EQ(parts.parts.at(1).data, kPhoto.data);

    EXPECT_EQ(messageParts(store, added.id + 1).status.code, ErrorCode::NotFound);
}

} // namespace
