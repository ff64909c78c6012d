#include "systemfacts.h"

#include "appglobals.h"
#include "runtimeprogram.h"

#include <QFileInfo>
#include <QGuiApplication>
#include <QScreen>
#include <QStringList>
#include <QSysInfo>
#include <QSystemTrayIcon>

namespace {

QString screenLine(const QScreen* screen)
{
    const QRect geometry = screen->geometry();
    return QStringLiteral("  %1: %2x%3 at %4,%5; logical DPI %6; physical DPI %7; device pixel ratio %8")
        .arg(screen->name())
        .arg(geometry.width())
        .arg(geometry.height())
        .arg(geometry.x())
        .arg(geometry.y())
        .arg(screen->logicalDotsPerInch())
        .arg(screen->physicalDotsPerInch(), 0, 'f', 1)
        .arg(screen->devicePixelRatio());
}

QString runtimeLine(const QString& baseName)
{
    // The launcher falls back to the bare name when it finds nothing.
    const QString program = runtimeProgram(baseName);
    return QStringLiteral("  %1: %2")
        .arg(baseName,
            QFileInfo(program).isAbsolute() ? program : QStringLiteral("not found beside the program or on PATH"));
}

} // namespace

QByteArray systemFacts()
{
    QStringList facts {
        QStringLiteral("Oxmerel Connect %1").arg(appVersion),
        QStringLiteral("OS: %1 (%2 %3, %4)")
            .arg(QSysInfo::prettyProductName(), QSysInfo::kernelType(), QSysInfo::kernelVersion(),
                QSysInfo::currentCpuArchitecture()),
        QStringLiteral("Qt: %1 (built with %2)").arg(QString::fromLatin1(qVersion()), QStringLiteral(QT_VERSION_STR)),
        QStringLiteral("Display platform: %1").arg(QGuiApplication::platformName()),
        QStringLiteral("Screens:"),
    };
    const QList<QScreen*> screens = QGuiApplication::screens();
    for (const QScreen* screen : screens) {
        facts.append(screenLine(screen));
    }
    facts.append(QStringLiteral("System tray available: %1")
                     .arg(QSystemTrayIcon::isSystemTrayAvailable() ? QStringLiteral("yes") : QStringLiteral("no")));
    facts.append(QStringLiteral("Runtime programs:"));
    facts.append(runtimeLine(QStringLiteral("oxmerel-runner")));
    facts.append(runtimeLine(QStringLiteral("oxmerel-agent")));
    return facts.join(QLatin1Char('\n')).toUtf8() + '\n';
}
