#pragma once

#include <QProcess>
#include <QStringList>

#include <functional>

namespace testsupport {

// One run of the real program (OXMEREL_TRAY_BIN) on the test's X display, driven from outside with xdotool and
// xwininfo as a user would. Every wait is bounded; the destructor ends the program, by pid, if it still runs.
class ProgramDriver
{
public:
    // Starts the program with arguments and waits until it runs.
    explicit ProgramDriver(const QStringList& arguments = {});
    ~ProgramDriver();
    ProgramDriver(const ProgramDriver&) = delete;
    ProgramDriver& operator=(const ProgramDriver&) = delete;

    qint64 pid() const { return process.processId(); }
    bool running() const { return process.state() != QProcess::NotRunning; }
    // Waits for the program to end by itself; answers its exit code, or -1 after a crash or timeoutMs.
    int waitForExit(int timeoutMs = waitMs);
    void kill(int signal);

    QStringList visibleWindows();
    // A visible window of the program titled exactly title; empty when none shows within timeoutMs.
    QString waitForWindow(const QString& title, int timeoutMs = waitMs);
    QString mainWindow(int timeoutMs = waitMs) { return waitForWindow(QStringLiteral("Oxmerel Connect"), timeoutMs); }
    // The program's icon in the tray host, its small window; empty when none shows.
    QString trayIcon();
    // Clicks the main window's close button and waits until it is gone.
    bool closeMainWindow();
    // Opens the tray menu and answers its window; with keys, presses them in it and answers the submenu they open.
    QString openTrayMenu(const QStringList& keys = {});

    // Clicks the middle of the tray icon, then parks the pointer in the screen's bottom-left corner so that no tool
    // tip shows and an open menu keeps its keyboard highlight.
    static void clickTrayIcon(const QString& icon, int button = 1);
    // Presses keys (xdotool key names) in a window. They are sent to it directly, so that neither the keyboard focus
    // nor a grab still held by the tray host on a busy machine decides where they land.
    static void keys(const QString& window, const QStringList& names);

    static constexpr int waitMs = 45000;

private:
    QString waitForWindowWhere(const std::function<bool(const QString&)>& matches, int timeoutMs = waitMs);

    QProcess process;
    QString icon;
};

} // namespace testsupport
