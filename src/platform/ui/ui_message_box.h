#ifndef TAVPLATFORM_UI_MESSAGE_BOX_H
#define TAVPLATFORM_UI_MESSAGE_BOX_H

#include <QPixmap>
#include <QString>

class QWidget;

// The platform's message boxes; they need a QApplication and run on its thread.
class UI_MessageBox
{
public:
    // Shows a modal box over `parent` (null: over the whole application) with `icon`, `text` and
    // a button for each of the three texts that is not null or empty, and waits until it is
    // closed. `defaultButton` is the number (1 to 3) of the button that Enter presses; Escape
    // presses the last button shown. Returns the number of the button pressed, 0 when the box
    // was closed without one.
    static int information(QWidget* parent, const QPixmap& icon, const QString& text,
                           const QString& button1, const QString& button2, const QString& button3,
                           int defaultButton);
};

#endif
