#include "runtimeprogram.h"

#include <QCoreApplication>
#include <QStandardPaths>

QString runtimeProgram(const QString& baseName)
{
    const QString besideUs = QStandardPaths::findExecutable(baseName, { QCoreApplication::applicationDirPath() });
    if (!besideUs.isEmpty())
        return besideUs;
    const QString onPath = QStandardPaths::findExecutable(baseName);
    return onPath.isEmpty() ? baseName : onPath;
}
