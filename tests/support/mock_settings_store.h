#ifndef TAVMMS_TESTS_MOCK_SETTINGS_STORE_H
#define TAVMMS_TESTS_MOCK_SETTINGS_STORE_H

#include "settings_service.h"
#include "support/model_helpers.h" // messages show texts

#include <gmock/gmock.h>

#include <cerrno>
#include <optional>
#include <variant>

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
    MOCK_METHOD(QString, readError, (), (override));
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
    MOCK_METHOD(bool, beginBatch, (), (override));
    MOCK_METHOD(bool, commitBatch, (), (override));
    MOCK_METHOD(void, abortBatch, (), (override));
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

// A value in one of the store's typed forms; the alternative held names the form (text, bool,
// int, unsigned int), so that an expectation is met only by a call through that form.
using StoreValue = std::variant<QString, bool, int, unsigned int>;

// Expects one read of `key` in `group` through the form of `defaultValue`, with that default
// (text with the option false). The double answers as a store does: with `stored` and true when
// it is given, else with the default and false.
void expectRead(MockSettingsStore& store, const QString& group, const QString& key,
                const StoreValue& defaultValue, const std::optional<StoreValue>& stored);
// The same read failing without touching the caller's variable.
void expectUntouchedRead(MockSettingsStore& store, const QString& group, const QString& key,
                         const StoreValue& defaultValue);
// Expects one write of `value` through its form (text with the option false). It succeeds when
// `error` is 0, else fails with errno set to `error`.
void expectWrite(MockSettingsStore& store, const QString& group, const QString& key,
                 const StoreValue& value, int error = 0);

// An action for the store's other operations that return bool: true when `error` is 0, else
// false with errno set to `error`.
inline auto storeOutcome(int error)
{
    return [error](auto&&...) {
        if (error != 0)
            errno = error;
        return error == 0;
    };
}

// Passes every call on to `real` and allows any number of them, so that a test can make chosen
// calls of an otherwise real store fail: expectations set afterwards take precedence.
void delegateTo(MockSettingsStore& mock, tavplatform::SettingsStoreService& real);

} // namespace tavmms_test

#endif
