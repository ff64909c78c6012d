#include "appglobals.h"
#include "bundlemaker.h"
#include "commandline.h"
#include "guiplatform.h"
#include "statusreport.h"

#include <QApplication>
#include <QTextStream>

#include <cstdio>
#include <cstring>
#include <memory>

int main(int argc, char* argv[])
{
    QTextStream out(stdout);
    QTextStream err(stderr);

    // Only the bundle asks about screens and the tray, which needs a GUI application; status stays light.
    const bool bundle = argc > 1 && std::strcmp(argv[1], "bundle") == 0;
    std::unique_ptr<QCoreApplication> app;
    if (bundle) {
        chooseGuiPlatform();
        app = std::make_unique<QApplication>(argc, argv);
    } else {
        app = std::make_unique<QCoreApplication>(argc, argv);
    }
    // The auto-start entry is named after the tray program's application name.
    QCoreApplication::setApplicationName(QStringLiteral("Oxmerel"));

    const CommandLine line = CommandLine::parse(QCoreApplication::arguments().mid(1));
    if (!line.error.isEmpty()) {
        err << "oxmerel-connect-diag: " << line.error << "\nTry 'oxmerel-connect-diag --help'.\n";
        return StatusReport::Unreadable;
    }
    switch (line.command) {
    case CommandLine::Command::Help:
        out << CommandLine::helpText();
        return 0;
    case CommandLine::Command::Version:
        out << "oxmerel-connect-diag " << appVersion << '\n';
        return 0;
    case CommandLine::Command::Bundle:
        return BundleMaker(line.bundle).run(out, err);
    case CommandLine::Command::Status: {
        const StatusReport report;
        report.print(out, line.json);
        out.flush();
        return report.exitCode(err);
    }
    }
    return 0;
}
