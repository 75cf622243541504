#ifndef TAVPLATFORM_SETTINGS_SERVICE_H
#define TAVPLATFORM_SETTINGS_SERVICE_H

#include "service_slot.h"
#include "tavplatform_global.h"

#include <QMap>
#include <QString>

namespace tavplatform
{

// The settings store behind SETUP_SET_Manager: grouped, typed key/value pairs shared by every
// application of the device. Group and key names are arbitrary text.
//
// Values are kept as text, so a value written through one typed form reads through another: an
// int 0 reads as false and any other int as true; text that is not a number reads as the
// default. Readers return true when the key was there (and `value` now holds it), false when the
// default was used. Writers return true once the value is stored durably; on failure they return
// false with errno set (ENOSPC when the storage is full).
class TAVPLATFORM_EXPORT SettingsStoreService
{
public:
    virtual ~SettingsStoreService();

    // Called as a SETUP_SET_Manager is made and destroyed: which application opens the store and
    // whether it means to write (a hint; writes are accepted either way).
    virtual void open(int app, bool forWriting) = 0;
    virtual void close() = 0;

    // `option` is reserved: callers pass false.
    virtual bool readText(const QString& group, const QString& key, QString& value,
                          const QString& defaultValue, bool option) = 0;
    virtual bool readBool(const QString& group, const QString& key, bool& value,
                          bool defaultValue) = 0;
    virtual bool readInt(const QString& group, const QString& key, int& value,
                         int defaultValue) = 0;
    virtual bool readUInt(const QString& group, const QString& key, unsigned int& value,
                          unsigned int defaultValue) = 0;

    virtual bool writeText(const QString& group, const QString& key, const QString& value,
                           bool option) = 0;
    virtual bool writeBool(const QString& group, const QString& key, bool value) = 0;
    virtual bool writeInt(const QString& group, const QString& key, int value) = 0;
    virtual bool writeUInt(const QString& group, const QString& key, unsigned int value) = 0;

    // Why the store could not be read, naming its file: a read since the outermost open() failed
    // for another reason than a missing key, or the store cannot be read now. Empty when it can,
    // and also when the store is not there yet, since a new device reads its defaults. Readers
    // give their defaults either way; a caller to which a default is no answer (an empty block
    // list lets every sender through) asks here after reading.
    virtual QString readError() = 0;

    // The group's entries, key to value text, in QMap order (by UTF-16 code units).
    virtual QMap<QString, QString> entries(const QString& group) = 0;
    // True when the key (the group) is gone afterwards, also when it was not there.
    virtual bool removeEntry(const QString& group, const QString& key) = 0;
    virtual bool clearGroup(const QString& group) = 0;
    // Forces everything written to permanent storage. False with errno set when that fails, and
    // also when a write since the store was opened (or last flushed) was refused, so that a caller
    // that writes several values and checks only the flush learns of it.
    virtual bool flush() = 0;

    // A batch: the writes made between beginBatch() and commitBatch() reach the store together or
    // not at all, and until the commit other processes read the values as they were before it.
    // Reads inside a batch see its writes. A write refused inside a batch leaves the batch's
    // earlier writes in it, as outside one it leaves the earlier values stored; a caller that
    // wants all or nothing drops the batch when a write fails.
    //
    // beginBatch(): true once the batch is open; false with errno set when it cannot be (EBUSY
    // when another process keeps the store too long), and no batch is open.
    // commitBatch(): ends the batch; true once its writes are stored durably, else false with
    // errno set (ENOSPC when the storage is full, EIO...) and none of them stored.
    // abortBatch(): ends the batch and drops its writes.
    //
    // A batch begun inside another joins it: its commit stores nothing yet (the outer commit
    // does), and its abort drops the whole batch, so that the outer commit then fails with
    // ECANCELED. Use ScopedSettingsBatch rather than these calls.
    virtual bool beginBatch() = 0;
    virtual bool commitBatch() = 0;
    virtual void abortBatch() = 0;
};

// The phone's feature flags behind SETUP_Utility.
class TAVPLATFORM_EXPORT FeatureFlagService
{
public:
    virtual ~FeatureFlagService();

    // True and `value` set when the flag is known; false, `value` untouched, when not.
    virtual bool getFlexBit(int id, bool& value) = 0;
    // Stores a flag; false with errno set on failure.
    virtual bool setFlexBit(int id, bool value) = 0;
};

// The services SETUP_SET_Manager and SETUP_Utility call: the ones installed, else the defaults
// (the settings store on SQLite in the platform directory; flags kept in its group
// "TAV_Feature_Flags").
// The setters install a service (not owned; null restores the default) and return the one it
// replaces.
TAVPLATFORM_EXPORT SettingsStoreService& settingsStoreService();
TAVPLATFORM_EXPORT SettingsStoreService* setSettingsStoreService(SettingsStoreService* service);
TAVPLATFORM_EXPORT FeatureFlagService& featureFlagService();
TAVPLATFORM_EXPORT FeatureFlagService* setFeatureFlagService(FeatureFlagService* service);

// A batch of the settings store for the life of a scope, dropped unless commit() ran: the writes
// made through SETUP_SET_Manager between begin() and commit() reach the store together or not at
// all (see SettingsStoreService::beginBatch).
class TAVPLATFORM_EXPORT ScopedSettingsBatch
{
public:
    // The batch will be on `store`, the store installed now unless another is given; it stays
    // on that store even when another is installed meanwhile.
    explicit ScopedSettingsBatch(SettingsStoreService& store = settingsStoreService());
    ~ScopedSettingsBatch();
    ScopedSettingsBatch(const ScopedSettingsBatch&) = delete;
    ScopedSettingsBatch& operator=(const ScopedSettingsBatch&) = delete;

    // True once the batch is open, else false with errno set.
    bool begin();
    // Ends the batch: true once its writes are stored, else false with errno set and none of
    // them stored (EINVAL when the batch was not open).
    bool commit();

private:
    SettingsStoreService& store_;
    bool open_ = false;
};

// Install a service (a test double) for the life of a scope.
using ScopedSettingsStoreService = ScopedService<SettingsStoreService, &setSettingsStoreService>;
using ScopedFeatureFlagService = ScopedService<FeatureFlagService, &setFeatureFlagService>;

} // namespace tavplatform

#endif
