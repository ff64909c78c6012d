#include "appglobals.h"
#include "recordtypes.h"
#include "runguard.h"
#include "tray.h"

#include <QApplication>
#include <QDir>
#include <QMessageBox>
#include <QSystemTrayIcon>

#include <cstdio>
#include <memory>

int main(int argc, char* argv[])
{
    QGuiApplication::setHighDpiScaleFactorRoundingPolicy(Qt::HighDpiScaleFactorRoundingPolicy::Round);

    RunGuard guard(applicationKey);
    if (!guard.tryClaimInstance()) {
        // The exit code stays that of a running instance; only a real failure says why. On Unix the guard's names
        // are files in the temporary folder, so the message names it.
        if (!guard.errorString().isEmpty())
            std::fprintf(stderr, "Oxmerel Connect: cannot create the single-instance guard (temporary folder %s): %s\n",
                qUtf8Printable(QDir::toNativeSeparators(QDir::tempPath())), qUtf8Printable(guard.errorString()));
        return 0;
    }

    // The bundle's own static initialiser registers it as well; registering twice is harmless.
    Q_INIT_RESOURCE(resources);

    auto app = std::make_unique<QApplication>(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("Oxmerel"));
    registerRecordMetaTypes();

    if (!QSystemTrayIcon::isSystemTrayAvailable()) {
        QMessageBox::critical(nullptr, QObject::tr("Oxmerel"),
            QObject::tr("Oxmerel couldn't detect any system tray on this system."), QMessageBox::Ok,
            QMessageBox::NoButton);
        app.reset();
        return 1;
    }
    QGuiApplication::setQuitOnLastWindowClosed(false);

    int result = 0;
    {
        Tray tray;
        tray.hide();
        result = QApplication::exec();
    }
    app.reset();
    return result;
}
