#ifndef TAVMMS_TESTS_SCOPED_ENVIRONMENT_H
#define TAVMMS_TESTS_SCOPED_ENVIRONMENT_H

#include <QByteArray>

#include <optional>

namespace tavmms_test
{

// Sets (or, given no value, removes) one environment variable while the object lives, then puts
// back whatever was there before.
class ScopedEnvironment
{
public:
    ScopedEnvironment(const char* name, const std::optional<QByteArray>& value);
    ~ScopedEnvironment();
    ScopedEnvironment(const ScopedEnvironment&) = delete;
    ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

private:
    const char* name_;
    std::optional<QByteArray> saved_;
};

} // namespace tavmms_test

#endif
