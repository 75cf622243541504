// The JSON forms of a backup's rows, settings and contacts, and the way back: a row made again to
// the byte, or refused with what is wrong; the settings' groups written exactly as given, those
// not named emptied, all in one batch; the contacts as they were.

#include "backup_records.h"

#include <tavmmsutility.h>

#include "index_row_fields.h"

#include "support/index_table_helpers.h"
#include "support/store_device.h"

#include <gtest/gtest.h>

#include <QJsonArray>

#include <cstring>

namespace
{

using namespace tavmms::store;

QJsonObject rowObject(const MMS_UTIL_DBStruct_T& record)
{
    return rowToJson({3, record}, true);
}

TEST(BackupRecordsTest, ARowComesBackToTheByteAlsoWithTextsThatAreNoText)
{
    MMS_UTIL_DBStruct_T odd = tavmms_test::sampleRecord("mms://odd", 7);
    std::memcpy(odd.mms_fld_msgid_name, "\xff\xfe id", 6);
    odd.cmn_fld_subject[0] = 0xD8; // a lone high surrogate

    const QJsonObject object = rowObject(odd);
    MMS_UTIL_DBStruct_T back;
    QString error;

    ASSERT_TRUE(rowFromJson(object, &back, &error)) << error.toStdString();
    EXPECT_TRUE(tavmms_test::sameRecord(back, odd));
    EXPECT_EQ(object.value(QStringLiteral("id")), 3);
    EXPECT_EQ(object.value(QStringLiteral("mailFile")), true);
}

TEST(BackupRecordsTest, ARowWithAFieldMissingOrOfTheWrongKindIsRefused)
{
    const QJsonObject good = rowObject(tavmms_test::sampleRecord("mms://a", 1));
    const auto withFields = [&good](const std::function<void(QJsonObject*)>& change) {
        QJsonObject object = good;
        QJsonObject fields = object.value(QStringLiteral("fields")).toObject();
        change(&fields);
        object.insert(QStringLiteral("fields"), fields);
        return object;
    };
    const struct {
        QJsonObject object;
        const char* error;
    } cases[] = {
        {withFields([](QJsonObject* f) { f->remove(QStringLiteral("mms_fld_msguri_name")); }),
         "the field 'mms_fld_msguri_name' is missing or not a text"},
        {withFields([](QJsonObject* f) { f->insert(QStringLiteral("cmn_fld_time"), "soon"); }),
         "the field 'cmn_fld_time' is missing or not a number"},
        {withFields([](QJsonObject* f) { f->insert(QStringLiteral("cmn_fld_time"), -1); }),
         "cmn_fld_time: '-1' is not a number from 0 to 4294967295"},
        {[&good] {
             QJsonObject object = good;
             object.insert(QStringLiteral("exact"),
                           QJsonObject{{QStringLiteral("mms_fld_msgid_name"), "AAAA"}});
             return object;
         }(),
         "the exact bytes of 'mms_fld_msgid_name' are not the"},
    };
    for (const auto& c : cases) {
        MMS_UTIL_DBStruct_T back;
        QString error;
        EXPECT_FALSE(rowFromJson(c.object, &back, &error)) << c.error;
        EXPECT_TRUE(error.startsWith(QLatin1String(c.error))) << error.toStdString();
    }
}

class BackupSettingsTest : public ::testing::Test, protected tavmms_test::StoreDevice
{
};

TEST_F(BackupSettingsTest, WrittenSettingsAreExactlyThoseGivenAndTheBlockListAfterThem)
{
    tavplatform::SettingsStoreService& store = tavplatform::settingsStoreService();
    ASSERT_TRUE(store.writeInt(tavmms::settings::kProfileListGroup, QStringLiteral("Old"), 1));
    ASSERT_TRUE(store.writeText(QStringLiteral("Old"), tavmms::settings::kServerAddress,
                                QStringLiteral("http://old"), false));
    ASSERT_TRUE(store.writeInt(tavmms::settings::kGlobalGroup, tavmms::settings::kReadReport, 1));
    const QJsonObject settings{
        {QStringLiteral("groups"),
         QJsonObject{
             {QStringLiteral("MMS_Profile_List"), QJsonObject{{QStringLiteral("New"), "1"}}},
             {QStringLiteral("New"),
              QJsonObject{{QStringLiteral("MMS_Server_Address"), "http://new"}}},
             {QStringLiteral("MMS_GRP"),
              QJsonObject{{QStringLiteral("MMS_Block_List"), "+1555"}}}}}};

    ASSERT_TRUE(writeSettings(settings, QStringLiteral("+1555,+1666")).ok());

    EXPECT_EQ(store.entries(QStringLiteral("Old")), (QMap<QString, QString>{}));
    EXPECT_EQ(store.entries(tavmms::settings::kGlobalGroup),
              (QMap<QString, QString>{{QStringLiteral("MMS_Block_List"), "+1555,+1666"}}));
    EXPECT_EQ(MMS_UTIL_Setting::getMMSProfiles(), QStringList{QStringLiteral("New")});
    QString error;
    const std::optional<QJsonObject> read = settingsToJson(&error);
    ASSERT_TRUE(read) << error.toStdString();
    EXPECT_EQ(read->value(QStringLiteral("groups")).toObject().value(QStringLiteral("New")),
              settings.value(QStringLiteral("groups")).toObject().value(QStringLiteral("New")));
}

TEST_F(BackupSettingsTest, ContactsComeBackAsTheyWere)
{
    book.import("BEGIN:VCARD\r\nVERSION:3.0\r\nUID:u1\r\nFN:Ann\r\nORG:Acme\r\n"
                "TEL;TYPE=CELL:+49 151 1\r\nEMAIL:ann@example.org\r\nEND:VCARD\r\n"
                "BEGIN:VCARD\r\nVERSION:3.0\r\nFN:Bob\r\nTEL:+49 151 2\r\nEND:VCARD\r\n");
    QString error;
    const std::optional<QList<Contact>> contacts = listContacts(&error);
    ASSERT_TRUE(contacts) << error.toStdString();
    qsizetype count = 0;
    const std::optional<QJsonObject> object = contactsToJson(&count, &error);
    ASSERT_TRUE(object) << error.toStdString();

    EXPECT_EQ(count, 2);
    EXPECT_EQ(contactsFromJson(*object), *contacts);
    EXPECT_EQ(contactsFromJson(contactListToJson(*contacts)), *contacts);
}

} // namespace
