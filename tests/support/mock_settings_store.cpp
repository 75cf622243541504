#include "support/mock_settings_store.h"

#include <type_traits>

namespace tavmms_test
{

using tavplatform::SettingsStoreService;
using ::testing::_;
using ::testing::AnyNumber;
using ::testing::DoAll;
using ::testing::Invoke;
using ::testing::Return;
using ::testing::SetArgReferee;

// Out of line so that the mocks' large generated members are compiled once, here.
MockSettingsStore::MockSettingsStore() = default;
MockSettingsStore::~MockSettingsStore() = default;
MockFeatureFlags::MockFeatureFlags() = default;
MockFeatureFlags::~MockFeatureFlags() = default;

namespace
{

// Expects the read through the form of `fallback`, answered by `action`.
template <typename T, typename Action>
void expectTypedRead(MockSettingsStore& store, const QString& group, const QString& key,
                     const T& fallback, Action action)
{
    if constexpr (std::is_same_v<T, QString>)
        EXPECT_CALL(store, readText(group, key, _, fallback, false)).WillOnce(action);
    else if constexpr (std::is_same_v<T, bool>)
        EXPECT_CALL(store, readBool(group, key, _, fallback)).WillOnce(action);
    else if constexpr (std::is_same_v<T, int>)
        EXPECT_CALL(store, readInt(group, key, _, fallback)).WillOnce(action);
    else
        EXPECT_CALL(store, readUInt(group, key, _, fallback)).WillOnce(action);
}

} // namespace

void expectRead(MockSettingsStore& store, const QString& group, const QString& key,
                const StoreValue& defaultValue, const std::optional<StoreValue>& stored)
{
    std::visit(
        [&](const auto& fallback) {
            using T = std::decay_t<decltype(fallback)>;
            const T answer = stored ? std::get<T>(*stored) : fallback;
            expectTypedRead(store, group, key, fallback,
                            DoAll(SetArgReferee<2>(answer), Return(stored.has_value())));
        },
        defaultValue);
}

void expectUntouchedRead(MockSettingsStore& store, const QString& group, const QString& key,
                         const StoreValue& defaultValue)
{
    std::visit(
        [&](const auto& fallback) { expectTypedRead(store, group, key, fallback, Return(false)); },
        defaultValue);
}

void expectWrite(MockSettingsStore& store, const QString& group, const QString& key,
                 const StoreValue& value, int error)
{
    std::visit(
        [&](const auto& written) {
            using T = std::decay_t<decltype(written)>;
            if constexpr (std::is_same_v<T, QString>)
                EXPECT_CALL(store, writeText(group, key, written, false))
                    .WillOnce(storeOutcome(error));
            else if constexpr (std::is_same_v<T, bool>)
                EXPECT_CALL(store, writeBool(group, key, written)).WillOnce(storeOutcome(error));
            else if constexpr (std::is_same_v<T, int>)
                EXPECT_CALL(store, writeInt(group, key, written)).WillOnce(storeOutcome(error));
            else
                EXPECT_CALL(store, writeUInt(group, key, written)).WillOnce(storeOutcome(error));
        },
        value);
}

void delegateTo(MockSettingsStore& mock, SettingsStoreService& real)
{
    // Each method passes its calls on, and takes any number of them.
#define TAVMMS_PASS_ON(method)                                                                     \
    ON_CALL(mock, method).WillByDefault(Invoke(&real, &SettingsStoreService::method));             \
    EXPECT_CALL(mock, method).Times(AnyNumber())

    TAVMMS_PASS_ON(open);
    TAVMMS_PASS_ON(close);
    TAVMMS_PASS_ON(readText);
    TAVMMS_PASS_ON(readBool);
    TAVMMS_PASS_ON(readInt);
    TAVMMS_PASS_ON(readUInt);
    TAVMMS_PASS_ON(readError);
    TAVMMS_PASS_ON(writeText);
    TAVMMS_PASS_ON(writeBool);
    TAVMMS_PASS_ON(writeInt);
    TAVMMS_PASS_ON(writeUInt);
    TAVMMS_PASS_ON(entries);
    TAVMMS_PASS_ON(removeEntry);
    TAVMMS_PASS_ON(clearGroup);
    TAVMMS_PASS_ON(flush);
    TAVMMS_PASS_ON(beginBatch);
    TAVMMS_PASS_ON(commitBatch);
    TAVMMS_PASS_ON(abortBatch);
#undef TAVMMS_PASS_ON
}

} // namespace tavmms_test
