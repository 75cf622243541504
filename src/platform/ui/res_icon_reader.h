#ifndef TAVPLATFORM_RES_ICON_READER_H
#define TAVPLATFORM_RES_ICON_READER_H

#include <QPixmap>

// Reads the platform's icons. Needs a QGuiApplication, as every picture does.
class RES_ICON_Reader
{
public:
    // The reader holds nothing; make one where it is needed.
    RES_ICON_Reader();
    ~RES_ICON_Reader();
    RES_ICON_Reader(const RES_ICON_Reader&) = delete;
    RES_ICON_Reader& operator=(const RES_ICON_Reader&) = delete;

    // The icon `name` (its file name, e.g. "Dialog_Error.gif"); a null pixmap for an icon the
    // platform does not have.
    QPixmap getIcon(const char* name);
};

#endif
