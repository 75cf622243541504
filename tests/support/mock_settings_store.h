#ifndef TAVMMS_TESTS_MOCK_SETTINGS_STORE_H
#define TAVMMS_TESTS_MOCK_SETTINGS_STORE_H

#include "settings_service.h"

#include <gmock/gmock.h>

namespace tavmms_test
{

// A GoogleMock double of the settings store: one mocked method per store operation, with the
// same arguments (open and close are the SETUP_SET_Manager constructor and destructor). Install
// it for a scope with tavplatform::ScopedSettingsStoreService.
class MockSettingsStore : public tavplatform::SettingsStoreService
{
public:
    MockSettingsStore();
    ~MockSettingsStore() override;

    MOCK_METHOD(void, open, (int app, bool forWriting), (override));
    MOCK_METHOD(void, close, (), (override));
    MOCK_METHOD(bool, readText,
                (const QString& group, const QString& key, QString& value,
                 const QString& defaultValue, bool option),
                (override));
    MOCK_METHOD(bool, readBool,
                (const QString& group, const QString& key, bool& value, bool defaultValue),
                (override));
    MOCK_METHOD(bool, readInt,
                (const QString& group, const QString& key, int& value, int defaultValue),
                (override));
    MOCK_METHOD(bool, readUInt,
                (const QString& group, const QString& key, unsigned int& value,
                 unsigned int defaultValue),
                (override));
    MOCK_METHOD(bool, writeText,
                (const QString& group, const QString& key, const QString& value, bool option),
                (override));
    MOCK_METHOD(bool, writeBool, (const QString& group, const QString& key, bool value),
                (override));
    MOCK_METHOD(bool, writeInt, (const QString& group, const QString& key, int value), (override));
    MOCK_METHOD(bool, writeUInt, (const QString& group, const QString& key, unsigned int value),
                (override));
    MOCK_METHOD((QMap<QString, QString>), entries, (const QString& group), (override));
    MOCK_METHOD(bool, removeEntry, (const QString& group, const QString& key), (override));
    MOCK_METHOD(bool, clearGroup, (const QString& group), (override));
    MOCK_METHOD(bool, flush, (), (override));
};

// A GoogleMock double of the feature flags. Install it for a scope with
// tavplatform::ScopedFeatureFlagService.
class MockFeatureFlags : public tavplatform::FeatureFlagService
{
public:
    MockFeatureFlags();
    ~MockFeatureFlags() override;

    MOCK_METHOD(bool, getFlexBit, (int id, bool& value), (override));
    MOCK_METHOD(bool, setFlexBit, (int id, bool value), (override));
};

} // namespace tavmms_test

#endif
