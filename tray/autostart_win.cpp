#include "autostart.h"

#include <QCoreApplication>
#include <QSettings>

// The per-user Run key of the registry: Windows starts every value's command line at log-on.
namespace autostart {

QSettings* openRunSettings()
{
    return new QSettings(QStringLiteral("HKEY_CURRENT_USER\\SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Run"),
        QSettings::NativeFormat);
}

bool isEnabled(QSettings* runSettings)
{
    return runSettings->contains(QCoreApplication::applicationName());
}

void enable(QSettings* runSettings)
{
    runSettings->setValue(QCoreApplication::applicationName(), runValue(QCoreApplication::applicationFilePath()));
}

void disable(QSettings* runSettings)
{
    runSettings->remove(QCoreApplication::applicationName());
}

QByteArray entryText(QSettings* runSettings)
{
    if (!isEnabled(runSettings)) {
        return {};
    }
    return (runSettings->fileName() + QLatin1Char('\n') + QCoreApplication::applicationName() + QStringLiteral(" = ")
        + runSettings->value(QCoreApplication::applicationName()).toString() + QLatin1Char('\n'))
        .toUtf8();
}

} // namespace autostart
