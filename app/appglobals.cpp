#include "appglobals.h"

#include "paths.h"

#include <QSettings>

QSettings* const traySettings = new QSettings(settingsFilePath(), QSettings::IniFormat);

const QString appVersion = QStringLiteral("v25.4.2");

// Placeholders %16 and %17 do not exist: QString::arg fills the 17 values in ascending placeholder order.
const QString buttonStyleTemplate
    = QStringLiteral("QPushButton { background-color: %0; font-weight: bold; font-size: 1em; outline: 0; color: %4; "
                     "border-radius: %9; margin: %13; padding: %14; min-width: %15; min-height: %18; } "
                     "QPushButton:disabled { background-color: %1; color: %5; border-radius: %10; } "
                     "QPushButton:hover { background-color: %2; color: %6; border-radius: %11; } "
                     "QPushButton:focus { background-color: %3; color: %7; border: 1px solid %8; border-radius: %12; } "
                     "QPushButton:checked { background-color: #8e9297 } "
                     "QToolTip { background: #2f3136; color: #ecf2f5; padding: 2px; border: 1px solid #202225; }");

const QString applicationKey = QStringLiteral("Qm7TzR4wXc2LpN8vHs5JdK0bYe3FgA9u");
