#pragma once

#include <QString>

// How a runtime program named without extension is started on this platform (one implementation per OS).
QString runtimeProgram(const QString& baseName);
