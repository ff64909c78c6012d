#pragma once

#include <QStringList>

// Whether the process was started at log-on: the first argument after the program path is exactly "--auto-start".
bool isAutoStartLaunch(const QStringList& arguments);
