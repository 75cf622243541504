// The fields of an index row by their database names: read and set from text.

#include "index_row_fields.h"
#include "index_row_text.h"

#include "support/index_table_helpers.h"

#include <gtest/gtest.h>

namespace
{

using namespace tavmms::store;

TEST(RowFieldsTest, SetsTextsCutToFitAndNumbersThatFitTheField)
{
    MMS_UTIL_DBStruct_T record{};
    QString error;
    ASSERT_TRUE(setRowField(&record, QStringLiteral("cmn_fld_subject"),
                            QString(50, QLatin1Char('s')), &error));
    EXPECT_EQ(tavmms_test::text16(record.cmn_fld_subject), QString(39, QLatin1Char('s')));
    ASSERT_TRUE(
        setRowField(&record, QStringLiteral("mms_fld_msgid_name"), QStringLiteral("id-1"), &error));
    EXPECT_EQ(tavmms_test::text8(record.mms_fld_msgid_name), QByteArray("id-1"));
    ASSERT_TRUE(
        setRowField(&record, QStringLiteral("cmn_fld_priority"), QStringLiteral("65535"), &error));
    EXPECT_EQ(record.cmn_fld_priority, 65535);
    ASSERT_TRUE(setRowField(&record, QStringLiteral("cmn_fld_folder_id"),
                            QStringLiteral("4294967295"), &error));
    EXPECT_EQ(record.cmn_fld_folder_id, 4294967295u);
    EXPECT_TRUE(error.isEmpty()) << error.toStdString();
}

TEST(RowTextTest, ACutTextEndsAtACharacterBoundary)
{
    // A surrogate pair, and a letter with its combining accent, are never parted.
    const QString smile = QString::fromUtf8("\xF0\x9F\x98\x80");
    EXPECT_EQ(cut16(QString(38, QLatin1Char('s')) + smile, 39), QString(38, QLatin1Char('s')));
    const QString accented = QStringLiteral("e") + QChar(0x0301);
    EXPECT_EQ(cut16(QString(38, QLatin1Char('s')) + accented, 39), QString(38, QLatin1Char('s')));
    EXPECT_EQ(cut16(QString(37, QLatin1Char('s')) + accented, 39),
              QString(37, QLatin1Char('s')) + accented);
    EXPECT_EQ(cut16(QStringLiteral("short"), 39), QStringLiteral("short"));
    EXPECT_EQ(cut8(QByteArray(7, 's') + "e\xCC\x81", 8), QByteArray(7, 's'));
    EXPECT_EQ(cut8(QByteArray(7, 's') + "\xC3\xA9", 8), QByteArray(7, 's'));
    EXPECT_EQ(cut8(QByteArray("abc"), 8), QByteArray("abc"));

    MMS_UTIL_DBStruct_T record{};
    setText16(record.cmn_fld_subject,
              QString(38, QLatin1Char('s')) + accented + QStringLiteral("x"));
    EXPECT_EQ(tavmms_test::text16(record.cmn_fld_subject), QString(38, QLatin1Char('s')));
}

TEST(RowFieldsTest, RefusesAnUnknownNameAndANumberThatDoesNotFitAndKeepsTheOtherFields)
{
    MMS_UTIL_DBStruct_T record{};
    record.cmn_fld_folder_id = 7;
    record.cmn_fld_msg_attr_read = 1;
    record.cmn_fld_mms_type = 3;
    QString error;
    EXPECT_FALSE(setRowField(&record, QStringLiteral("padding"), QStringLiteral("1"), &error));
    EXPECT_EQ(error, QStringLiteral("unknown field 'padding'"));
    EXPECT_FALSE(
        setRowField(&record, QStringLiteral("cmn_fld_priority"), QStringLiteral("65536"), &error));
    EXPECT_EQ(error, QStringLiteral("cmn_fld_priority: '65536' is not a number from 0 to 65535"));
    EXPECT_FALSE(
        setRowField(&record, QStringLiteral("cmn_fld_time"), QStringLiteral("-1"), &error));
    EXPECT_EQ(record.cmn_fld_folder_id, 7u);
    EXPECT_EQ(record.cmn_fld_msg_attr_read, 1);
    EXPECT_EQ(record.cmn_fld_mms_type, 3);
}

TEST(RowFieldsTest, KnowsEveryFieldOfTheRecordByItsDatabaseName)
{
    for (const DB_BIND_T& field : rowFields()) {
        SCOPED_TRACE(field.name);
        MMS_UTIL_DBStruct_T record{};
        QString error;
        EXPECT_TRUE(setRowField(&record, QLatin1String(field.name), QStringLiteral("1"), &error))
            << error.toStdString();
    }
}

TEST(RowFieldsTest, GivesTextsAsStringsAndOtherFieldsAsNumbers)
{
    MMS_UTIL_DBStruct_T record{};
    QString error;
    ASSERT_TRUE(
        setRowField(&record, QStringLiteral("cmn_fld_subject"), QStringLiteral("Hi"), &error));
    ASSERT_TRUE(
        setRowField(&record, QStringLiteral("cmn_fld_priority"), QStringLiteral("130"), &error));
    for (const DB_BIND_T& field : rowFields()) {
        SCOPED_TRACE(field.name);
        const QVariant value = rowFieldValue(record, field);
        const bool isText = field.code == DB_BIND_UCS2_TEXT || field.code == DB_BIND_CHAR_TEXT;
        EXPECT_EQ(value.typeId(), isText ? QMetaType::QString : QMetaType::LongLong);
        if (QLatin1String(field.name) == QLatin1String("cmn_fld_subject")) {
            EXPECT_EQ(value.toString(), QStringLiteral("Hi"));
        }
        if (QLatin1String(field.name) == QLatin1String("cmn_fld_priority")) {
            EXPECT_EQ(value.toLongLong(), 130);
        }
    }
}

} // namespace
