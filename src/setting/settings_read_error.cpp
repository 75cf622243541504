#include "settings_read_error.h"

#include "settings_service.h"

namespace tavmms
{

QString settingsReadError()
{
    return tavplatform::settingsStoreService().readError();
}

} // namespace tavmms
