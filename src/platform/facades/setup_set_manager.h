#ifndef TAVPLATFORM_SETUP_SET_MANAGER_H
#define TAVPLATFORM_SETUP_SET_MANAGER_H

#include "tavplatform_global.h"

#include <QMap>
#include <QString>

namespace AM_Global
{
// The applications of the phone, as the settings store knows them.
enum Apps {
    APP_MMS = 3,
};
} // namespace AM_Global

// The phone's settings store, opened for one application. Making one is cheap: the connection
// behind it is kept for the process. Every value written is visible to the next read through a
// new object in this process and, once written, in every other process; inside a batch
// (tavplatform::ScopedSettingsBatch), other processes see the batch's values only once it is
// committed. See tavplatform::SettingsStoreService for how typed forms convert.
class TAVPLATFORM_EXPORT SETUP_SET_Manager
{
public:
    // `forWriting` tells the store that the caller means to write; writes are accepted either way.
    SETUP_SET_Manager(AM_Global::Apps app, bool forWriting);
    ~SETUP_SET_Manager();
    SETUP_SET_Manager(const SETUP_SET_Manager&) = delete;
    SETUP_SET_Manager& operator=(const SETUP_SET_Manager&) = delete;

    // Set `value` to the stored value, or to `defaultValue` when the key is missing (or its text
    // does not fit the form). True when the stored value was used. `option` is reserved: pass
    // false.
    bool getSettingInfo(QString group, QString key, QString& value, QString defaultValue,
                        bool option);
    bool getSettingInfo(QString group, QString key, bool& value, bool defaultValue);
    bool getSettingInfo(QString group, QString key, int& value, int defaultValue);
    bool getSettingInfo(QString group, QString key, unsigned int& value, unsigned int defaultValue);

    // Store a value; true once it is stored, else false with errno set (ENOSPC: storage full).
    bool setSettingInfo(QString group, QString key, QString value, bool option);
    bool setSettingInfo(QString group, QString key, bool value);
    bool setSettingInfo(QString group, QString key, int value);
    bool setSettingInfo(QString group, QString key, unsigned int value);
    // A text given without the option would otherwise be taken as a bool.
    bool setSettingInfo(QString group, QString key, const char* value) = delete;

    // The group's entries, key to value text, ordered by key.
    QMap<QString, QString> getEntryKeyList(QString group);
    // Remove one key, or every key of a group: true when it is gone afterwards (also when it was
    // not there), else false with errno set.
    bool removeEntry(QString group, QString key);
    bool clearGroup(QString group);
    // Makes everything written durable. False with errno set when that fails, and also when a
    // write since the store was opened (or last flushed) was refused, so that a caller that
    // checks only the flush learns of it. Inside a batch, what it writes becomes durable at the
    // batch's commit; the flush then only reports a refused write.
    bool flush();
};

#endif
