#pragma once

#include <QByteArray>

// What support asks first, as text: the program's and Qt's versions, the OS, the screens with their DPI, whether a
// system tray is available, and where the robot runtime's programs were found. Needs the GUI application object.
QByteArray systemFacts();
