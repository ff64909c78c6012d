#pragma once

#include <QString>

class QSettings;

// Process-wide objects, made by static initialisers before main() runs and never destroyed explicitly.
extern QSettings* const traySettings;
extern const QString appVersion;
extern const QString buttonStyleTemplate;

// The single-instance key every copy of the program shares.
extern const QString applicationKey;
