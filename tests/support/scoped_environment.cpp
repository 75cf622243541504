#include "support/scoped_environment.h"

#include <QtGlobal>

namespace tavmms_test
{

namespace
{

void setVariable(const char* name, const std::optional<QByteArray>& value)
{
    if (value)
        qputenv(name, *value);
    else
        qunsetenv(name);
}

} // namespace

ScopedEnvironment::ScopedEnvironment(const char* name, const std::optional<QByteArray>& value)
    : name_(name)
{
    if (qEnvironmentVariableIsSet(name))
        saved_ = qgetenv(name);
    setVariable(name, value);
}

ScopedEnvironment::~ScopedEnvironment()
{
    setVariable(name_, saved_);
}

} // namespace tavmms_test
