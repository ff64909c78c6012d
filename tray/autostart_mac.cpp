#include "autostart.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>

// launchd starts every agent of ~/Library/LaunchAgents with RunAtLoad at log-on; the switch is on while ours exists.
namespace autostart {

namespace {

QString agentPath()
{
    return QDir::homePath() + QStringLiteral("/Library/LaunchAgents/cloud.oxmerel.tray.plist");
}

} // namespace

QSettings* openRunSettings()
{
    return nullptr;
}

bool isEnabled(QSettings*)
{
    return QFile::exists(agentPath());
}

void enable(QSettings*)
{
    QFile agentTemplate(QStringLiteral(":/resources/oxmerel.plist"));
    if (agentTemplate.open(QIODevice::ReadOnly)) {
        writeEntryFile(agentPath(), launchAgent(agentTemplate.readAll(), QCoreApplication::applicationFilePath()));
    }
}

void disable(QSettings*)
{
    QFile::remove(agentPath());
}

QByteArray entryText(QSettings*)
{
    return entryFileText(agentPath());
}

} // namespace autostart
