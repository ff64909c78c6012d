// Connects and disconnects one robot many times in the real main window and prints how resident memory moved:
// "<cycles> <RSS KiB after the warm-up> <RSS KiB at the end>". Run it through run-output.sh, which gives it a HOME
// with one remembered workspace, the runtime simulator on PATH and a scenario whose runner connects robot r1.
// Usage: cycles_probe <cycles>
#include "connectdialog.h"
#include "qloadingbutton.h"
#include "recordtypes.h"
#include "treeitem.h"

#include <QAction>
#include <QApplication>
#include <QDeadlineTimer>
#include <QFile>
#include <QLabel>
#include <QTimer>

#include <cstdio>
#include <unistd.h>

namespace {

constexpr int warmUpCycles = 20;

long residentKiB()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    const QList<QByteArray> lines = status.readAll().split('\n');
    for (const QByteArray& line : lines) {
        if (line.startsWith("VmRSS:"))
            return line.mid(6).simplified().split(' ').value(0).toLong();
    }
    return 0;
}

// The runtimes that this process started and has not reaped yet.
qsizetype childCount()
{
    QFile children(QStringLiteral("/proc/self/task/%1/children").arg(::getpid()));
    if (!children.open(QIODevice::ReadOnly))
        return 0;
    const QByteArray pids = children.readAll().simplified();
    return pids.isEmpty() ? 0 : pids.count(' ') + 1;
}

TreeItem* robotRow(const ConnectDialog& window)
{
    const QList<TreeItem*> rows = window.findChildren<TreeItem*>();
    for (TreeItem* row : rows) {
        if (row->nameLabel->text() == QLatin1String("Invoices"))
            return row;
    }
    return nullptr;
}

bool isConnected(TreeItem* row)
{
    return row->nameLabel->property("connected").toBool();
}

} // namespace

int main(int argc, char* argv[])
{
    QApplication app(argc, argv);
    registerRecordMetaTypes();
    const int cycles = argc > 1 ? QByteArray(argv[1]).toInt() : 1000;

    ConnectDialog window(nullptr);
    const QList<QLoadingButton*> buttons = window.findChildren<QLoadingButton*>();
    if (buttons.size() != 1) {
        std::fprintf(stderr, "expected one sign-in form\n");
        return 1;
    }
    buttons.first()->click();

    // Every step runs from the event loop and returns to it, as a user's clicks do: deferred deletions happen only
    // there.
    enum class Step { SigningIn, Connecting, Disconnecting };
    Step step = Step::SigningIn;
    TreeItem* row = nullptr;
    int cycle = 0;
    long warm = 0;
    QDeadlineTimer deadline(20000);
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, &app, [&] {
        if (deadline.hasExpired()) {
            std::fprintf(stderr, "stuck in cycle %d\n", cycle);
            QCoreApplication::exit(1);
            return;
        }
        switch (step) {
        case Step::SigningIn:
            // Signed in once the agent alone runs.
            if (!(row = robotRow(window)) || childCount() != 1)
                return;
            break;
        case Step::Connecting:
            if (!isConnected(row))
                return;
            row->disconnectAct->activate(QAction::Trigger);
            step = Step::Disconnecting;
            return;
        case Step::Disconnecting:
            if (childCount() != 1)
                return;
            if (cycle == warmUpCycles)
                warm = residentKiB();
            break;
        }
        if (cycle == cycles) {
            QCoreApplication::exit(0);
            return;
        }
        ++cycle;
        deadline.setRemainingTime(20000);
        row->connectAct->activate(QAction::Trigger);
        step = Step::Connecting;
    });
    poll.start(1);
    if (QApplication::exec() != 0)
        return 1;
    std::printf("%d %ld %ld\n", cycles, warm, residentKiB());
    window.exit();
    return 0;
}
