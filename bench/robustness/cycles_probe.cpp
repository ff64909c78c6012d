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
#include <QThread>

#include <cstdio>
#include <functional>
#include <unistd.h>

namespace {

constexpr int warmUpCycles = 20;

bool waitFor(const std::function<bool()>& done)
{
    const QDeadlineTimer deadline(20000);
    while (!done()) {
        if (deadline.hasExpired())
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        QThread::msleep(1);
    }
    return true;
}

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
    TreeItem* row = nullptr;
    // Signed in once the runner has been replaced by the agent alone.
    if (!waitFor([&] { return (row = robotRow(window)) && childCount() == 1; })) {
        std::fprintf(stderr, "no robot listed\n");
        return 1;
    }

    long warm = 0;
    for (int cycle = 1; cycle <= cycles; ++cycle) {
        row->connectAct->activate(QAction::Trigger);
        if (!waitFor([row] { return isConnected(row); })) {
            std::fprintf(stderr, "cycle %d: no connection\n", cycle);
            return 1;
        }
        row->disconnectAct->activate(QAction::Trigger);
        if (!waitFor([] { return childCount() == 1; })) {
            std::fprintf(stderr, "cycle %d: the runner did not end\n", cycle);
            return 1;
        }
        if (cycle == warmUpCycles)
            warm = residentKiB();
    }
    // Deferred deletions run once the loop turns.
    waitFor([] { return true; });
    QCoreApplication::processEvents();
    std::printf("%d %ld %ld\n", cycles, warm, residentKiB());
    window.exit();
    return 0;
}
