#include "guiplatform.h"

#include <QByteArray>

// X11 and Wayland need a display named in the environment; without one Qt would end the process.
void chooseGuiPlatform()
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM") && qEnvironmentVariableIsEmpty("DISPLAY")
        && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY")) {
        qputenv("QT_QPA_PLATFORM", QByteArrayLiteral("offscreen"));
    }
}
