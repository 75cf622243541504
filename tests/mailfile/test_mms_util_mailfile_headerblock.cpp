// The header text block of a mail file: writing it (serializeMsgHeaderTo), reading it back
// (readMsgHeaderFrom) and recognising its keys (judgeString).

#include "mms_util_mailfile.h"
#include "support/mailfile_helpers.h"
#include "support/model_helpers.h"

#include <QBuffer>
#include <QTextStream>

#include <gtest/gtest.h>

#include <memory>

using namespace tavmms_test;

namespace
{

const char* const kKeys[MMS_UTIL_MAILFILE_KEY_COUNT] = {
    "From:",
    "To:",
    "CC:",
    "BCC:",
    "Subject:",
    "Send_Date:",
    "Delivery:",
    "Expiry:",
    "Message_ID:",
    "Content_Type:",
    "Priority:",
    "Sender_Visibility:",
    "DeliveryReport:",
    "ReadReplyReport:",
    "Message_Size:",
};

// Accepts the first `limit` bytes written to it and then behaves like a full disk: the write that
// crosses the limit is cut short and every later one fails. Everything offered is recorded.
class FillingDevice : public QIODevice
{
public:
    explicit FillingDevice(qint64 limit) : limit_(limit) { open(QIODevice::WriteOnly); }

    const QByteArray& stored() const { return stored_; }
    const QByteArray& offered() const { return offered_; }

protected:
    qint64 readData(char*, qint64) override { return -1; }
    qint64 writeData(const char* data, qint64 size) override
    {
        offered_.append(data, size);
        const qint64 accepted = qMin(size, limit_ - stored_.size());
        if (accepted <= 0)
            return -1;
        stored_.append(data, accepted);
        return accepted;
    }

private:
    qint64 limit_;
    QByteArray stored_;
    QByteArray offered_;
};

// Cuts the one write that crosses byte `cut` short, without any error, and takes every other
// write whole: the short count is the only sign that bytes were lost.
class ShortWriteDevice : public QIODevice
{
public:
    explicit ShortWriteDevice(qint64 cut) : cut_(cut) { open(QIODevice::WriteOnly); }

    const QByteArray& stored() const { return stored_; }

protected:
    qint64 readData(char*, qint64) override { return -1; }
    qint64 writeData(const char* data, qint64 size) override
    {
        const bool crosses = stored_.size() < cut_ && stored_.size() + size > cut_;
        const qint64 accepted = crosses ? cut_ - stored_.size() : size;
        stored_.append(data, accepted);
        return accepted;
    }

private:
    qint64 cut_;
    QByteArray stored_;
};

// The end of each key line of `block` (past its "\n"); the leading empty line belongs to the
// first.
QList<qint64> keyLineEnds(const QByteArray& block)
{
    QList<qint64> ends;
    for (qint64 end = block.indexOf('\n', 1); end >= 0; end = block.indexOf('\n', end + 1))
        ends.append(end + 1);
    return ends;
}

class HeaderBlockTest : public ::testing::Test
{
protected:
    // Writes the block of `header` with the test's object into a buffer.
    QByteArray write(MMS_UTIL_MsgHeaderBase& header)
    {
        QBuffer buffer;
        buffer.open(QIODevice::WriteOnly);
        QTextStream stream(&buffer);
        mailFile.header = &header;
        EXPECT_TRUE(mailFile.serializeMsgHeaderTo(stream));
        stream.flush();
        return buffer.data();
    }

    // Reads `block` with the test's object into `header`.
    void readInto(const QByteArray& block, MMS_UTIL_MsgHeaderBase* header)
    {
        QByteArray bytes = block;
        QBuffer buffer(&bytes);
        buffer.open(QIODevice::ReadOnly);
        QTextStream stream(&buffer);
        stream.setEncoding(QStringConverter::Utf8);
        mailFile.readMsgHeaderFrom(stream, header);
    }

    // Reads `block` with the test's object into a new default header.
    std::unique_ptr<MMS_UTIL_MsgHeaderBase> read(const QByteArray& block)
    {
        auto header = std::make_unique<MMS_UTIL_MsgHeaderBase>();
        readInto(block, header.get());
        return header;
    }

    MMS_UTIL_MailFile mailFile{QStringLiteral("block.mms")};
};

// --- judgeString ---

TEST_F(HeaderBlockTest, JudgeStringGivesTheIndexOfEachKey)
{
    for (int i = 0; i < MMS_UTIL_MAILFILE_KEY_COUNT; ++i)
        EXPECT_EQ(mailFile.judgeString(QLatin1String(kKeys[i])), i) << kKeys[i];
}

TEST_F(HeaderBlockTest, JudgeStringComparesWholeKeysExactly)
{
    for (const char* text : {"subject:", "SUBJECT:", "Subject", "Subject :", "Subject: ",
                             " Subject:", "Cc:", "Bcc:", "SendDate:", "Delivery_Report:", ""})
        EXPECT_EQ(mailFile.judgeString(QLatin1String(text)), MMS_UTIL_MAILFILE_KEY_COUNT) << text;
    EXPECT_EQ(mailFile.judgeString(QString()), MMS_UTIL_MAILFILE_KEY_COUNT);
}

// --- writing ---

TEST_F(HeaderBlockTest, DefaultHeaderWritesSixteenLinesByteExact)
{
    MMS_UTIL_MsgHeaderBase header;
    const QByteArray block = write(header);
    EXPECT_EQ(block, QByteArray(kDefaultHeaderBlock));
    EXPECT_EQ(block.count('\n'), 16);
}

TEST_F(HeaderBlockTest, DefaultContentTypeIsCutAtItsZeroCharacter)
{
    // The default type is one U+0000 character: the line ends where it stands, so neither the
    // "/" nor the blank before the parameters is written.
    MMS_UTIL_MsgHeaderBase header;
    ASSERT_EQ(header.contentType.type.size(), 1);
    EXPECT_TRUE(write(header).contains("\nContent_Type: \nPriority: Normal\n"));
}

TEST_F(HeaderBlockTest, ZeroCharacterInAValueDropsTheRestOfThatLineOnly)
{
    MMS_UTIL_MsgHeaderBase header;
    header.messageId = QStringLiteral("abc") + QChar(u'\0') + QStringLiteral("def");
    const QByteArray block = write(header);
    EXPECT_TRUE(block.contains("\nMessage_ID: abc\nContent_Type: \n"));
    EXPECT_FALSE(block.contains("def"));
    EXPECT_EQ(block.count('\n'), 16);
}

TEST_F(HeaderBlockTest, SampleHeaderWritesEveryFieldInKeyOrder)
{
    const auto header = sampleHeader();
    EXPECT_EQ(write(*header), QByteArray(kSampleHeaderBlock));
}

TEST_F(HeaderBlockTest, LinesAreUtf8WhateverTheStreamEncoding)
{
    const auto header = sampleHeader();
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    QTextStream stream(&buffer);
    stream.setEncoding(QStringConverter::Latin1);
    mailFile.header = header.get();
    ASSERT_TRUE(mailFile.serializeMsgHeaderTo(stream));
    stream.flush();
    EXPECT_EQ(buffer.data(), QByteArray(kSampleHeaderBlock));
}

TEST_F(HeaderBlockTest, TwoLineSubjectIsWrittenAsAKeyLineAndAPlainLine)
{
    MMS_UTIL_MsgHeaderBase header;
    header.subject = QStringLiteral("first\nsecond");
    EXPECT_TRUE(write(header).contains("\nSubject: first\nsecond\nSend_Date: \n"));
}

TEST_F(HeaderBlockTest, UsableDatesAreWrittenInTextForm)
{
    MMS_UTIL_MsgHeaderBase header;
    header.sendDate = QDateTime(QDate(1998, 5, 2), QTime(3, 40, 13));
    header.deliveryTime = QDateTime(QDate(2031, 12, 31), QTime(0, 0, 0));
    const QByteArray block = write(header);
    EXPECT_TRUE(block.contains("\nSend_Date: Sat May 2 03:40:13 1998\n"));
    EXPECT_TRUE(block.contains("\nDelivery: Wed Dec 31 00:00:00 2031\n"));
}

TEST_F(HeaderBlockTest, NullAndInvalidDatesAreWrittenEmpty)
{
    MMS_UTIL_MsgHeaderBase header;
    header.sendDate = QDateTime(QDate(2023, 2, 30), QTime(10, 0, 0));
    header.deliveryTime = QDateTime(QDate(), QTime(10, 0, 0));
    EXPECT_TRUE(write(header).contains("\nSend_Date: \nDelivery: \n"));
}

TEST_F(HeaderBlockTest, DateGivenWithoutTimeIsWrittenAtMidnight)
{
    // Qt 6 keeps no date-time with a valid date and an invalid time: it takes the start of the
    // day instead, so such a date is usable and written.
    MMS_UTIL_MsgHeaderBase header;
    header.sendDate = QDateTime(QDate(1998, 5, 2), QTime());
    EXPECT_TRUE(write(header).contains("\nSend_Date: Sat May 2 00:00:00 1998\n"));
}

TEST_F(HeaderBlockTest, NumbersAreWrittenInFullDecimal)
{
    MMS_UTIL_MsgHeaderBase header;
    header.expiry = 4294967295u;
    header.messageSize = 4294967295u;
    const QByteArray block = write(header);
    EXPECT_TRUE(block.contains("\nExpiry: 4294967295\n"));
    EXPECT_TRUE(block.endsWith("\nMessage_Size: 4294967295\n"));
}

TEST_F(HeaderBlockTest, UnknownPriorityCodeIsWrittenAsInvalid)
{
    MMS_UTIL_MsgHeaderBase header;
    header.priority = 7;
    EXPECT_TRUE(write(header).contains("\nPriority: Invalid_Priority\n"));
}

TEST_F(HeaderBlockTest, ReadOnlyDeviceFailsTheBlock)
{
    MMS_UTIL_MsgHeaderBase header;
    QBuffer buffer;
    buffer.open(QIODevice::ReadOnly);
    QTextStream stream(&buffer);
    mailFile.header = &header;
    EXPECT_FALSE(mailFile.serializeMsgHeaderTo(stream));
    EXPECT_TRUE(buffer.data().isEmpty());
}

TEST_F(HeaderBlockTest, FullDeviceStopsTheBlockAtTheLineItHits)
{
    MMS_UTIL_MsgHeaderBase header;
    const QByteArray full(kDefaultHeaderBlock);
    const QList<qint64> lineEnds = keyLineEnds(full);
    ASSERT_EQ(lineEnds.size(), MMS_UTIL_MAILFILE_KEY_COUNT);

    qint64 lineStart = 0;
    for (int line = 0; line < MMS_UTIL_MAILFILE_KEY_COUNT; ++line) {
        const qint64 lineEnd = lineEnds.at(line);
        for (qint64 limit : {lineStart, (lineStart + lineEnd) / 2, lineEnd - 1}) {
            SCOPED_TRACE(testing::Message() << "key line " << line << ", limit " << limit);
            FillingDevice device(limit);
            QTextStream stream(&device);
            mailFile.header = &header;
            EXPECT_FALSE(mailFile.serializeMsgHeaderTo(stream));
            EXPECT_EQ(device.stored(), full.left(limit));
            // Nothing of a later line was tried.
            EXPECT_TRUE(full.startsWith(device.offered()));
            EXPECT_LE(device.offered().size(), lineEnd);
        }
        lineStart = lineEnd;
    }

    FillingDevice roomy(full.size());
    QTextStream stream(&roomy);
    EXPECT_TRUE(mailFile.serializeMsgHeaderTo(stream));
    EXPECT_EQ(roomy.stored(), full);
}

TEST_F(HeaderBlockTest, ShortWriteFailsTheBlockAtThatLine)
{
    MMS_UTIL_MsgHeaderBase header;
    const QByteArray full(kDefaultHeaderBlock);
    const QList<qint64> lineEnds = keyLineEnds(full);
    qint64 lineStart = 1;
    for (int line = 0; line < MMS_UTIL_MAILFILE_KEY_COUNT; ++line) {
        const qint64 cut = lineStart + (lineEnds.at(line) - 1 - lineStart) / 2;
        SCOPED_TRACE(testing::Message() << "key line " << line << ", cut at " << cut);
        ShortWriteDevice device(cut);
        QTextStream stream(&device);
        mailFile.header = &header;
        EXPECT_FALSE(mailFile.serializeMsgHeaderTo(stream));
        // A line and its line end are one write: the block stops where the device cut it.
        EXPECT_EQ(device.stored(), full.left(cut));
        lineStart = lineEnds.at(line);
    }
}

TEST_F(HeaderBlockTest, WritingKeepsTheValueTextsForLaterReads)
{
    const auto written = sampleHeader();
    write(*written);
    const auto header = read("\nPriority: Low\n");
    EXPECT_EQ(header->priority, MMS_UTIL_PRIORITY_LOW);
    header->priority = MMS_UTIL_PRIORITY_HIGH;
    EXPECT_EQ(headerBlockOf(*header), QByteArray(kSampleHeaderBlock));
}

// --- reading ---

TEST_F(HeaderBlockTest, SampleBlockReadsBackEveryField)
{
    const auto header = read(kSampleHeaderBlock);
    EXPECT_EQ(header->from.name, QString::fromUtf8("Zoë Ångström"));
    EXPECT_EQ(header->from.type, MMS_UTIL_ADDR_PLMN);
    EXPECT_EQ(header->from.address, QStringLiteral("+491701234567"));
    ASSERT_EQ(header->toList.count(), 2u);
    EXPECT_EQ(header->toList.at(0)->name, QStringLiteral("Ann"));
    EXPECT_EQ(header->toList.at(1)->name, QString::fromUtf8("Bob Ü"));
    EXPECT_EQ(header->toList.at(1)->type, MMS_UTIL_ADDR_EMAIL);
    EXPECT_EQ(header->toList.at(1)->address, QStringLiteral("bob@example.org"));
    ASSERT_EQ(header->ccList.count(), 1u);
    EXPECT_EQ(header->ccList.at(0)->address, QStringLiteral("carol@example.org"));
    ASSERT_EQ(header->bccList.count(), 1u);
    EXPECT_EQ(header->bccList.at(0)->type, MMS_UTIL_ADDR_UNKNOWN);
    EXPECT_EQ(header->subject, QString::fromUtf8("Grüße aus Köln\n第二行 😀"));
    EXPECT_EQ(header->sendDate, QDateTime(QDate(2024, 2, 29), QTime(23, 59, 58)));
    EXPECT_EQ(header->deliveryTime, QDateTime(QDate(2025, 1, 5), QTime(7, 8, 9)));
    EXPECT_EQ(header->expiry, 604800u);
    EXPECT_EQ(header->messageId, QString::fromUtf8("msg-äöü-1"));
    EXPECT_EQ(header->contentType.type, QStringLiteral("application"));
    EXPECT_EQ(header->contentType.subtype, QStringLiteral("vnd.wap.multipart.related"));
    EXPECT_EQ(header->contentType.params, QStringLiteral("type=application/smil"));
    EXPECT_EQ(header->priority, MMS_UTIL_PRIORITY_HIGH);
    EXPECT_TRUE(header->senderVisibility);
    EXPECT_FALSE(header->deliveryReport);
    EXPECT_TRUE(header->readReplyReport);
    EXPECT_EQ(header->messageSize, 123456u);
    EXPECT_EQ(headerBlockOf(*header), QByteArray(kSampleHeaderBlock));
}

// The lines are matched to their keys in any order, not only in the order they are written in.
TEST_F(HeaderBlockTest, SampleBlockInAnotherLineOrderReadsBackTheSameFields)
{
    QList<QByteArray> lines = QByteArray(kSampleHeaderBlock).split('\n');
    lines.removeLast(); // what follows the final line end
    // After the empty line the block opens with: From, To, CC and BCC go last.
    const QList<QByteArray> recipients = lines.mid(1, 4);
    lines.remove(1, 4);
    const auto header = read((lines + recipients).join('\n') + '\n');
    EXPECT_EQ(headerBlockOf(*header), QByteArray(kSampleHeaderBlock));
}

TEST_F(HeaderBlockTest, DefaultBlockReadsBackAnEmptyContentType)
{
    const auto header = read(kDefaultHeaderBlock);
    EXPECT_TRUE(header->contentType.type.isEmpty());
    EXPECT_TRUE(header->contentType.subtype.isEmpty());
    EXPECT_TRUE(header->contentType.params.isEmpty());
    EXPECT_EQ(header->subject, QLatin1String(""));
    EXPECT_FALSE(header->subject.isNull());
    EXPECT_TRUE(header->sendDate.isNull());
    EXPECT_TRUE(header->toList.isEmpty());
    EXPECT_EQ(header->expiry, 65535u);
    EXPECT_EQ(header->priority, MMS_UTIL_PRIORITY_NORMAL);
}

TEST_F(HeaderBlockTest, NonAsciiSubjectAndNamesRoundTrip)
{
    MMS_UTIL_MsgHeaderBase header;
    header.subject = QString::fromUtf8("Ωμέγα — ðæ 日本語 🎉");
    header.setFrom(tavmms_test::makeEntry(QString::fromUtf8("Łukasz Żółć"), MMS_UTIL_ADDR_EMAIL,
                                          QString::fromUtf8("łukasz@przykład.pl")));
    const auto back = read(write(header));
    EXPECT_EQ(back->subject, header.subject);
    EXPECT_EQ(back->from.name, header.from.name);
    EXPECT_EQ(back->from.address, header.from.address);
}

TEST_F(HeaderBlockTest, TwoLineSubjectReadsBackWithItsLineBreak)
{
    const auto header = read("\nSubject: first\nsecond\nthird line\nMessage_ID: m\n");
    EXPECT_EQ(header->subject, QStringLiteral("first\nsecond\nthird line"));
    EXPECT_EQ(header->messageId, QStringLiteral("m"));
}

TEST_F(HeaderBlockTest, SubjectEndingInALineBreakKeepsIt)
{
    MMS_UTIL_MsgHeaderBase header;
    header.subject = QStringLiteral("ends here\n");
    const QByteArray block = write(header);
    EXPECT_TRUE(block.contains("\nSubject: ends here\n\nSend_Date: \n"));
    EXPECT_EQ(read(block)->subject, QStringLiteral("ends here\n"));
}

TEST_F(HeaderBlockTest, SubjectLineThatBeginsWithAKeyTakesThatKeyAndEndsTheSubject)
{
    MMS_UTIL_MsgHeaderBase header;
    header.subject = QStringLiteral("first\nTo: <X>[PLMN]9,\nafter");
    header.addToRecipient(makeEntry(QStringLiteral("A"), MMS_UTIL_ADDR_PLMN, QStringLiteral("1")));
    const auto back = read(write(header));
    EXPECT_EQ(back->subject, QStringLiteral("first"));
    ASSERT_EQ(back->toList.count(), 1u);
    EXPECT_EQ(back->toList.at(0)->name, QStringLiteral("X"));
    EXPECT_EQ(back->toList.at(0)->address, QStringLiteral("9"));
}

TEST_F(HeaderBlockTest, LineBreakInAnyOtherValueLosesTheTextAfterIt)
{
    MMS_UTIL_MsgHeaderBase header;
    header.messageId = QStringLiteral("first\nsecond");
    header.contentType = {QStringLiteral("text"), QStringLiteral("plain"),
                          QStringLiteral("charset=utf-8\nformat=flowed")};
    const auto back = read(write(header));
    EXPECT_EQ(back->messageId, QStringLiteral("first"));
    EXPECT_EQ(back->contentType.params, QStringLiteral("charset=utf-8"));
}

TEST_F(HeaderBlockTest, KeyAloneWithoutBlankTakesTheWholeLineAsValue)
{
    const auto header = read("\nSubject:\nMessage_ID:\nExpiry:\n");
    EXPECT_EQ(header->subject, QStringLiteral("Subject:"));
    EXPECT_EQ(header->messageId, QStringLiteral("Message_ID:"));
    EXPECT_EQ(header->expiry, 0u);
}

TEST_F(HeaderBlockTest, KeyWithBlankAndNothingElseGivesAnEmptyValue)
{
    const auto header = read("\nMessage_ID: \n");
    EXPECT_EQ(header->messageId, QLatin1String(""));
    EXPECT_FALSE(header->messageId.isNull());
}

TEST_F(HeaderBlockTest, LinesWithOtherLetterCaseOrSpacingAreUnknown)
{
    const auto header = read("\nSubject: real\nMessage_ID: id\nsubject: lower\nSUBJECT: upper\n"
                             "Subject : spaced\nMessage_IDx\n message_ID: x\n");
    EXPECT_EQ(header->subject, QStringLiteral("real"));
    EXPECT_EQ(header->messageId, QStringLiteral("id"));
}

TEST_F(HeaderBlockTest, UnknownLinesAfterTheSubjectContinueIt)
{
    const auto header = read("\nSubject: a\nX-Extra: b\nsubject: c\nSubjectx\n\nPriority: Low\n");
    EXPECT_EQ(header->subject, QStringLiteral("a\nX-Extra: b\nsubject: c\nSubjectx\n"));
    EXPECT_EQ(header->priority, MMS_UTIL_PRIORITY_LOW);
}

TEST_F(HeaderBlockTest, LaterLineOfADuplicateKeyWins)
{
    const auto header =
        read("\nMessage_ID: one\nSubject: s1\nMessage_ID: two\nSubject: s2\nExpiry: 5\n");
    EXPECT_EQ(header->messageId, QStringLiteral("two"));
    EXPECT_EQ(header->subject, QStringLiteral("s2"));
    EXPECT_EQ(header->expiry, 5u);
}

TEST_F(HeaderBlockTest, MissingKeysKeepTheTextOfThePreviousRead)
{
    read("\nSubject: kept\nMessage_ID: kept-id\nExpiry: 77\nPriority: High\n");
    const auto header = read("\nExpiry: 9\n");
    EXPECT_EQ(header->subject, QStringLiteral("kept"));
    EXPECT_EQ(header->messageId, QStringLiteral("kept-id"));
    EXPECT_EQ(header->priority, MMS_UTIL_PRIORITY_HIGH);
    EXPECT_EQ(header->expiry, 9u);
}

TEST_F(HeaderBlockTest, FreshObjectConvertsNullTextsForMissingKeys)
{
    MMS_UTIL_MsgHeaderBase header;
    header.priority = MMS_UTIL_PRIORITY_HIGH;
    header.senderVisibility = true;
    header.subject = QStringLiteral("old");
    header.sendDate = QDateTime(QDate(2020, 1, 1), QTime(1, 2, 3));
    header.addCcRecipient(makeEntry(QStringLiteral("C"), MMS_UTIL_ADDR_PLMN, QStringLiteral("3")));
    readInto("\n", &header);
    EXPECT_TRUE(header.subject.isNull());
    EXPECT_TRUE(header.messageId.isNull());
    EXPECT_TRUE(header.from.name.isNull());
    EXPECT_TRUE(header.from.address.isNull());
    EXPECT_EQ(header.from.type, MMS_UTIL_ADDR_UNKNOWN);
    EXPECT_TRUE(header.ccList.isEmpty());
    EXPECT_TRUE(header.sendDate.isNull());
    EXPECT_EQ(header.expiry, 0u);
    EXPECT_EQ(header.messageSize, 0u);
    EXPECT_FALSE(header.senderVisibility);
    // A text that names no priority leaves the field as it was.
    EXPECT_EQ(header.priority, MMS_UTIL_PRIORITY_HIGH);
}

TEST_F(HeaderBlockTest, UnusablePriorityTextLeavesThePriority)
{
    MMS_UTIL_MsgHeaderBase header;
    header.priority = MMS_UTIL_PRIORITY_LOW;
    readInto("\nPriority: high\n", &header);
    EXPECT_EQ(header.priority, MMS_UTIL_PRIORITY_LOW);
    readInto("\nPriority: Invalid_Priority\n", &header);
    EXPECT_EQ(header.priority, MMS_UTIL_PRIORITY_LOW);
    readInto("\nPriority: Normal\n", &header);
    EXPECT_EQ(header.priority, MMS_UTIL_PRIORITY_NORMAL);
}

TEST_F(HeaderBlockTest, NumbersThatAreNotDecimalReadAsZero)
{
    const auto header = read("\nExpiry: 12abc\nMessage_Size: -5\n");
    EXPECT_EQ(header->expiry, 0u);
    EXPECT_EQ(header->messageSize, 0u);
    EXPECT_EQ(read("\nExpiry: 4294967295\n")->expiry, 4294967295u);
}

TEST_F(HeaderBlockTest, FlagsAreTrueOnlyForTheExactWord)
{
    const auto header =
        read("\nSender_Visibility: true\nDeliveryReport: True\nReadReplyReport: TRUE\n");
    EXPECT_FALSE(header->senderVisibility);
    EXPECT_TRUE(header->deliveryReport);
    EXPECT_FALSE(header->readReplyReport);
}

TEST_F(HeaderBlockTest, ReadingReplacesTheRecipientLists)
{
    MMS_UTIL_MsgHeaderBase header;
    header.addToRecipient(
        makeEntry(QStringLiteral("Old"), MMS_UTIL_ADDR_PLMN, QStringLiteral("0")));
    readInto("\nTo: <N1>[PLMN]1, <N2>[EMAIL]n2@x,\nBCC: \n", &header);
    ASSERT_EQ(header.toList.count(), 2u);
    EXPECT_EQ(header.toList.at(0)->name, QStringLiteral("N1"));
    EXPECT_EQ(header.toList.at(1)->address, QStringLiteral("n2@x"));
    EXPECT_TRUE(header.toList.autoDelete());
    EXPECT_TRUE(header.bccList.isEmpty());
}

TEST_F(HeaderBlockTest, ReadingDeletesTheEntriesAListHeldWithoutOwningThem)
{
    // As setTo() does: the lists' earlier entries go even where auto-delete was off.
    const EntryProbe probe("held");
    MMS_UTIL_MsgHeaderBase header;
    for (MMS_UTIL_EntryList* list : {&header.toList, &header.ccList, &header.bccList})
        list->append(probe.newEntry());
    ASSERT_TRUE(probe.anyEntryAlive());
    readInto("\nTo: <N1>[PLMN]1,\nCC: \nBCC: <N2>[EMAIL]n2@x,\n", &header);
    EXPECT_FALSE(probe.anyEntryAlive());
    for (const MMS_UTIL_EntryList* list : {&header.toList, &header.ccList, &header.bccList})
        EXPECT_TRUE(list->autoDelete());
    ASSERT_EQ(header.toList.count(), 1u);
    EXPECT_EQ(header.toList.at(0)->name, QStringLiteral("N1"));
    EXPECT_TRUE(header.ccList.isEmpty());
    ASSERT_EQ(header.bccList.count(), 1u);
    EXPECT_EQ(header.bccList.at(0)->address, QStringLiteral("n2@x"));
}

TEST_F(HeaderBlockTest, ReadingStartsAtTheStreamPosition)
{
    QByteArray bytes = "Message_ID: skipped\n\nSubject: taken\n";
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    buffer.seek(bytes.indexOf("\n\n") + 1);
    QTextStream stream(&buffer);
    MMS_UTIL_MsgHeaderBase header;
    mailFile.readMsgHeaderFrom(stream, &header);
    EXPECT_EQ(header.subject, QStringLiteral("taken"));
    EXPECT_TRUE(header.messageId.isNull());
    EXPECT_TRUE(stream.atEnd());
}

} // namespace
