#include "backup_records.h"

#include "file_status.h"
#include "index_row_fields.h"

#include "address_book_service.h"
#include "address_book_settings.h"
#include "mms_util_setting.h"
#include "settings_service.h"
#include "settings_store.h"

#include <QJsonArray>

#include <cerrno>
#include <cstring>

namespace tavmms::store
{

namespace
{

// The platform's own groups that the messaging applications depend on: the address book's
// settings (its owner and region) and the feature flags (the block list is used only while its
// flag is set).
const QString kAddressBookGroup = QStringLiteral("TAV_Address_Book");
const QString kFeatureFlagGroup = QStringLiteral("TAV_Feature_Flags");

const QString kFields = QStringLiteral("fields");
const QString kExact = QStringLiteral("exact");
const QString kGroups = QStringLiteral("groups");
const QString kContacts = QStringLiteral("contacts");

bool isText(const DB_BIND_T& field)
{
    return field.code == DB_BIND_UCS2_TEXT || field.code == DB_BIND_CHAR_TEXT;
}

// The groups the messaging applications keep in the settings store now.
QStringList messagingGroups(tavplatform::SettingsStoreService& store)
{
    QStringList groups{settings::kGlobalGroup, settings::kProfileListGroup};
    groups += store.entries(settings::kProfileListGroup).keys();
    groups += {kAddressBookGroup, kFeatureFlagGroup};
    return groups;
}

QJsonArray addressesToJson(const QList<ContactAddress>& addresses)
{
    QJsonArray array;
    for (const ContactAddress& address : addresses)
        array.append(QJsonObject{{QStringLiteral("value"), address.value},
                                 {QStringLiteral("label"), address.label}});
    return array;
}

QList<ContactAddress> addressesFromJson(const QJsonValue& value)
{
    QList<ContactAddress> addresses;
    for (const QJsonValue& item : value.toArray()) {
        const QJsonObject object = item.toObject();
        addresses.append({object.value(QStringLiteral("value")).toString(),
                          object.value(QStringLiteral("label")).toString()});
    }
    return addresses;
}

Status settingsFailure(const QString& what)
{
    return fileFailure(QStringLiteral("cannot write the settings: %1").arg(what), errno);
}

} // namespace

QJsonObject rowToJson(const MessageRow& row, bool hasMailFile)
{
    QJsonObject fields;
    QJsonObject exact;
    const auto* bytes = reinterpret_cast<const char*>(&row.record);
    for (const DB_BIND_T& field : rowFields()) {
        const QString name = QLatin1String(field.name);
        const QVariant value = rowFieldValue(row.record, field);
        fields.insert(name, QJsonValue::fromVariant(value));
        if (!isText(field))
            continue;
        MMS_UTIL_DBStruct_T rebuilt{};
        QString error;
        setRowField(&rebuilt, name, value.toString(), &error);
        const auto* again = reinterpret_cast<const char*>(&rebuilt);
        if (std::memcmp(bytes + field.offset, again + field.offset, field.size) != 0)
            exact.insert(
                name, QString::fromLatin1(QByteArray(bytes + field.offset, field.size).toBase64()));
    }
    QJsonObject object{{QStringLiteral("id"), qint64(row.id)},
                       {QStringLiteral("mailFile"), hasMailFile},
                       {kFields, fields}};
    if (!exact.isEmpty())
        object.insert(kExact, exact);
    return object;
}

bool rowFromJson(const QJsonObject& object, MMS_UTIL_DBStruct_T* record, QString* error)
{
    *record = MMS_UTIL_DBStruct_T{};
    const QJsonObject fields = object.value(kFields).toObject();
    const QJsonObject exact = object.value(kExact).toObject();
    auto* bytes = reinterpret_cast<char*>(record);
    for (const DB_BIND_T& field : rowFields()) {
        const QString name = QLatin1String(field.name);
        const QJsonValue value = fields.value(name);
        if (isText(field) ? !value.isString() : !value.isDouble()) {
            *error = QStringLiteral("the field '%1' is missing or not a %2")
                         .arg(name, QLatin1String(isText(field) ? "text" : "number"));
            return false;
        }
        const QString text = isText(field) ? value.toString() : QString::number(value.toInteger());
        if (!setRowField(record, name, text, error))
            return false;
        if (!exact.contains(name))
            continue;
        const QByteArray kept = QByteArray::fromBase64(exact.value(name).toString().toLatin1(),
                                                       QByteArray::AbortOnBase64DecodingErrors);
        if (kept.size() != qsizetype(field.size)) {
            *error = QStringLiteral("the exact bytes of '%1' are not the %2 bytes of the field")
                         .arg(name)
                         .arg(field.size);
            return false;
        }
        std::memcpy(bytes + field.offset, kept.constData(), field.size);
    }
    return true;
}

std::optional<QJsonObject> settingsToJson(QString* error)
{
    tavplatform::SettingsStoreService& store = tavplatform::settingsStoreService();
    QJsonObject all;
    for (const QString& group : messagingGroups(store)) {
        const QMap<QString, QString> entries = store.entries(group);
        QJsonObject values;
        for (auto it = entries.cbegin(); it != entries.cend(); ++it)
            values.insert(it.key(), it.value());
        all.insert(group, values);
    }
    *error = store.readError();
    if (!error->isEmpty())
        return std::nullopt;
    return QJsonObject{{kGroups, all}};
}

Status writeSettings(const std::optional<QJsonObject>& settings, const QString& blockList)
{
    tavplatform::SettingsStoreService& store = tavplatform::settingsStoreService();
    tavplatform::ScopedSettingsBatch batch(store);
    if (!batch.begin())
        return settingsFailure(QStringLiteral("cannot begin a batch"));
    if (settings) {
        const QJsonObject groups = settings->value(kGroups).toObject();
        QStringList emptied = messagingGroups(store);
        for (const QString& group : groups.keys()) {
            if (!emptied.contains(group))
                emptied.append(group);
        }
        for (const QString& group : std::as_const(emptied)) {
            if (!store.clearGroup(group))
                return settingsFailure(group);
        }
        for (auto group = groups.constBegin(); group != groups.constEnd(); ++group) {
            const QJsonObject values = group.value().toObject();
            for (auto it = values.constBegin(); it != values.constEnd(); ++it) {
                if (!store.writeText(group.key(), it.key(), it.value().toString(), false))
                    return settingsFailure(group.key());
            }
        }
    }
    if (MMS_UTIL_Setting::getBlockList() != blockList &&
        MMS_UTIL_Setting::setBlockList(blockList) != 0)
        return settingsFailure(QStringLiteral("the block list"));
    if (!batch.commit())
        return settingsFailure(QStringLiteral("cannot commit them"));
    return {};
}

QJsonObject contactListToJson(const QList<Contact>& contacts)
{
    QJsonArray array;
    for (const Contact& contact : contacts)
        array.append(QJsonObject{{QStringLiteral("uid"), contact.uid},
                                 {QStringLiteral("name"), contact.name},
                                 {QStringLiteral("organization"), contact.organization},
                                 {QStringLiteral("numbers"), addressesToJson(contact.numbers)},
                                 {QStringLiteral("emails"), addressesToJson(contact.emails)}});
    return QJsonObject{{kContacts, array}};
}

std::optional<QJsonObject> contactsToJson(qsizetype* count, QString* error)
{
    const std::optional<QList<Contact>> contacts = listContacts(error);
    if (!contacts)
        return std::nullopt;
    *count = contacts->size();
    QJsonObject object = contactListToJson(*contacts);
    const tavplatform::AddressBookOwner owner = tavplatform::addressBookOwner();
    object.insert(QStringLiteral("owner"), QJsonObject{{QStringLiteral("name"), owner.name},
                                                       {QStringLiteral("number"), owner.number}});
    object.insert(QStringLiteral("region"), contactRegion());
    return object;
}

QList<Contact> contactsFromJson(const QJsonObject& object)
{
    QList<Contact> contacts;
    for (const QJsonValue& value : object.value(kContacts).toArray()) {
        const QJsonObject item = value.toObject();
        Contact contact;
        contact.uid = item.value(QStringLiteral("uid")).toString();
        contact.name = item.value(QStringLiteral("name")).toString();
        contact.organization = item.value(QStringLiteral("organization")).toString();
        contact.numbers = addressesFromJson(item.value(QStringLiteral("numbers")));
        contact.emails = addressesFromJson(item.value(QStringLiteral("emails")));
        contacts.append(contact);
    }
    return contacts;
}

} // namespace tavmms::store
