#include "runtimeprogram.h"

// The system's own program search finds the runtime beside our executable.
QString runtimeProgram(const QString& baseName)
{
    return baseName + QStringLiteral(".exe");
}
