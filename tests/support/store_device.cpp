#include "support/store_device.h"

#include "backup_records.h"
#include "index_row_fields.h"
#include "message_store.h"

#include "mms_util_common.h"
#include <tavmmsutility.h>

#include "support/message_store.h"
#include "support/model_helpers.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QJsonDocument>

namespace tavmms_test
{

StoreDevice::StoreDevice()
    : platform("TAV_PLATFORM_DIR", dir.filePath(QStringLiteral("platform")).toUtf8()),
      download("TAV_LOCAL_DOWNLOAD_PATH", dir.filePath(QStringLiteral("download")).toUtf8()),
      databasePath(dir.filePath(QStringLiteral("platform/device.db"))), database(databasePath)
{
    EXPECT_TRUE(QDir(dir.path()).mkpath(QStringLiteral("platform")));
}

QString StoreDevice::mailFile(unsigned int id) const
{
    return dir.filePath(QStringLiteral("download/mms/mailfile/%1.mms").arg(id));
}

void StoreDevice::fillSettingsAndContacts()
{
    book.import("BEGIN:VCARD\r\nVERSION:3.0\r\nFN:Ann\r\nTEL;TYPE=CELL:+49 151 1\r\n"
                "EMAIL:ann@example.org\r\nEND:VCARD\r\n");
    ASSERT_TRUE(tavmms::store::setOwner(QStringLiteral("Me"), QStringLiteral("+4915550100")));
    tavplatform::SettingsStoreService& settings = tavplatform::settingsStoreService();
    ASSERT_TRUE(settings.writeInt(tavmms::settings::kProfileListGroup, QStringLiteral("Work"), 1));
    ASSERT_TRUE(settings.writeText(QStringLiteral("Work"), tavmms::settings::kServerAddress,
                                   QStringLiteral("http://mmsc.example"), false));
    ASSERT_TRUE(settings.writeText(tavmms::settings::kGlobalGroup, tavmms::settings::kBlockList,
                                   QStringLiteral("+4915550666"), false));
    ASSERT_TRUE(
        settings.writeInt(tavmms::settings::kGlobalGroup, tavmms::settings::kReadReport, 1));
}

tavmms::store::NewMessage messageWithAttachments(const QString& subject, const QDateTime& date)
{
    const tavmms::pdu::EncodedBody body = tavmms::pdu::composeBody(
        QStringLiteral("See the pictures"),
        {{"image/png", QStringLiteral("a.png"), QByteArray("\x89PNG\r\n\x1a\n\x00\x01", 10)},
         {"text/x-vcard", QStringLiteral("ann.vcf"), "BEGIN:VCARD\r\nEND:VCARD\r\n"}},
        tavmms::pdu::BodyKind::Mixed);
    tavmms::store::NewMessage message;
    message.from = makeEntry(QString(), MMS_UTIL_ADDR_PLMN, QStringLiteral("+4915550199"));
    message.to = {
        makeEntry(QStringLiteral("Bob"), MMS_UTIL_ADDR_PLMN, QStringLiteral("+4915550101"))};
    message.subject = subject;
    message.body = body.bytes;
    message.date = date;
    return message;
}

bool StoreState::operator==(const StoreState& other) const
{
    return rows == other.rows && mailFiles == other.mailFiles && settings == other.settings &&
           contacts == other.contacts && workNames == other.workNames;
}

void PrintTo(const StoreState& state, std::ostream* out)
{
    *out << "rows " << state.rows.keys().size() << ", mail files " << state.mailFiles.size()
         << ", working directory [" << state.workNames.join(QLatin1Char(' ')).toStdString()
         << "], settings "
         << QJsonDocument(state.settings).toJson(QJsonDocument::Compact).toStdString()
         << ", contacts "
         << QJsonDocument(state.contacts).toJson(QJsonDocument::Compact).toStdString();
}

QByteArray rowFieldBytes(const MMS_UTIL_DBStruct_T& record)
{
    QByteArray bytes;
    for (const DB_BIND_T& field : tavmms::store::rowFields())
        bytes += QByteArray(reinterpret_cast<const char*>(&record) + field.offset, field.size);
    return bytes;
}

StoreState storeState()
{
    StoreState state;
    const tavmms::store::Listed listed = tavmms::store::MessageStore().list();
    EXPECT_TRUE(listed.status.ok()) << listed.status.text.toStdString();
    for (const tavmms::store::MessageRow& row : listed.rows) {
        state.rows.insert(row.id, rowFieldBytes(row.record));
        QFile file(row.mailFile());
        if (file.open(QIODevice::ReadOnly))
            state.mailFiles.insert(row.id, file.readAll());
    }
    QString error;
    const std::optional<QJsonObject> settings = tavmms::store::settingsToJson(&error);
    qsizetype count = 0;
    const std::optional<QJsonObject> contacts = tavmms::store::contactsToJson(&count, &error);
    EXPECT_TRUE(settings && contacts) << error.toStdString();
    state.settings = settings.value_or(QJsonObject());
    state.contacts = contacts.value_or(QJsonObject());
    state.workNames = namesIn(MMS_UTIL_Common::getWorkDir());
    // The store's lock files stay once made.
    state.workNames.removeIf(
        [](const QString& name) { return name.startsWith(QLatin1String("store.lock")); });
    return state;
}

} // namespace tavmms_test
