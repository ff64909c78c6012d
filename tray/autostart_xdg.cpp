#include "autostart.h"

#include <QCoreApplication>
#include <QFile>
#include <QStandardPaths>

// XDG desktops start every entry of $XDG_CONFIG_HOME/autostart at log-on; the switch is on while our entry exists.
namespace autostart {

namespace {

QString entryPath()
{
    return QStandardPaths::writableLocation(QStandardPaths::ConfigLocation)
        + QStringLiteral("/autostart/oxmerel.desktop");
}

} // namespace

QSettings* openRunSettings()
{
    return nullptr;
}

bool isEnabled(QSettings*)
{
    return QFile::exists(entryPath());
}

void enable(QSettings*)
{
    QFile entryTemplate(QStringLiteral(":/resources/oxmerel.desktop"));
    if (entryTemplate.open(QIODevice::ReadOnly)) {
        writeEntryFile(entryPath(), desktopEntry(entryTemplate.readAll(), QCoreApplication::applicationFilePath()));
    }
}

void disable(QSettings*)
{
    QFile::remove(entryPath());
}

QByteArray entryText(QSettings*)
{
    return entryFileText(entryPath());
}

} // namespace autostart
