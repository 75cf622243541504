#include "setup_set_manager.h"

#include "settings_service.h"

using tavplatform::settingsStoreService;

SETUP_SET_Manager::SETUP_SET_Manager(AM_Global::Apps app, bool forWriting)
{
    settingsStoreService().open(int(app), forWriting);
}

SETUP_SET_Manager::~SETUP_SET_Manager()
{
    settingsStoreService().close();
}

bool SETUP_SET_Manager::getSettingInfo(QString group, QString key, QString& value,
                                       QString defaultValue, bool option)
{
    return settingsStoreService().readText(group, key, value, defaultValue, option);
}

bool SETUP_SET_Manager::getSettingInfo(QString group, QString key, bool& value, bool defaultValue)
{
    return settingsStoreService().readBool(group, key, value, defaultValue);
}

bool SETUP_SET_Manager::getSettingInfo(QString group, QString key, int& value, int defaultValue)
{
    return settingsStoreService().readInt(group, key, value, defaultValue);
}

bool SETUP_SET_Manager::getSettingInfo(QString group, QString key, unsigned int& value,
                                       unsigned int defaultValue)
{
    return settingsStoreService().readUInt(group, key, value, defaultValue);
}

bool SETUP_SET_Manager::setSettingInfo(QString group, QString key, QString value, bool option)
{
    return settingsStoreService().writeText(group, key, value, option);
}

bool SETUP_SET_Manager::setSettingInfo(QString group, QString key, bool value)
{
    return settingsStoreService().writeBool(group, key, value);
}

bool SETUP_SET_Manager::setSettingInfo(QString group, QString key, int value)
{
    return settingsStoreService().writeInt(group, key, value);
}

bool SETUP_SET_Manager::setSettingInfo(QString group, QString key, unsigned int value)
{
    return settingsStoreService().writeUInt(group, key, value);
}

QMap<QString, QString> SETUP_SET_Manager::getEntryKeyList(QString group)
{
    return settingsStoreService().entries(group);
}

bool SETUP_SET_Manager::removeEntry(QString group, QString key)
{
    return settingsStoreService().removeEntry(group, key);
}

bool SETUP_SET_Manager::clearGroup(QString group)
{
    return settingsStoreService().clearGroup(group);
}

bool SETUP_SET_Manager::flush()
{
    return settingsStoreService().flush();
}
