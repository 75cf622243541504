#include "res_icon_reader.h"

#include "icon_service.h"

RES_ICON_Reader::RES_ICON_Reader() = default;

RES_ICON_Reader::~RES_ICON_Reader() = default;

QPixmap RES_ICON_Reader::getIcon(const char* name)
{
    return tavplatform::iconResourceService().icon(QString::fromUtf8(name));
}
