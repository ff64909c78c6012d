#pragma once

#include <QImage>
#include <QList>
#include <QProcess>
#include <QRect>
#include <QString>
#include <QStringList>

#include <functional>

namespace testsupport {

// Starts the real program (OXMEREL_TRAY_BIN) on the test's X display and drives it from outside with xdotool,
// xwininfo and ImageMagick's import, as a user would. Every wait is bounded. The destructor kills, by pid, every
// program it started that is still running.
class ProgramDriver
{
public:
    ProgramDriver() = default;
    ~ProgramDriver();
    ProgramDriver(const ProgramDriver&) = delete;
    ProgramDriver& operator=(const ProgramDriver&) = delete;

    // Starts the program with arguments and waits until it runs; null when it could not be started.
    QProcess* start(const QStringList& arguments = {});
    // Waits for the program to end by itself; answers its exit code, or -1 after timeoutMs.
    static int waitForExit(QProcess* program, int timeoutMs);
    static void kill(QProcess* program, int signal);

    // Runs an X tool and answers its standard output (empty on failure or after timeoutMs).
    static QString runTool(const QString& tool, const QStringList& arguments, int timeoutMs = 5000);

    // Visible top-level windows of a process, as X window ids.
    static QStringList visibleWindows(qint64 pid);
    // Waits for a visible window of the process whose title is exactly title; empty after timeoutMs.
    static QString waitForWindow(qint64 pid, const QString& title, int timeoutMs);
    // Waits until the process shows no window titled title (Qt may destroy a hidden window's X window).
    static bool waitForWindowGone(qint64 pid, const QString& title, int timeoutMs);
    static bool isViewable(const QString& window);
    static bool waitForViewable(const QString& window, bool viewable, int timeoutMs);
    // The window's size and its position on the screen.
    static QRect geometry(const QString& window);
    static QString windowTitle(const QString& window);
    // The process's icon in the tray host: its small visible window. Empty when none shows within timeoutMs.
    static QString waitForTrayIcon(qint64 pid, int timeoutMs);
    // Waits for a window of the process that was not in before (a popup menu, a message box).
    static QString waitForNewWindow(qint64 pid, const QStringList& before, int timeoutMs);
    // Waits for a visible window of the process that matches; empty after timeoutMs.
    static QString waitForWindowWhere(qint64 pid, const std::function<bool(const QString&)>& matches, int timeoutMs);

    // Clicks inside a window at (x, y) of the window; button 1 left, 3 right.
    static void click(const QString& window, int x, int y, int button = 1);
    static void doubleClick(const QString& window, int x, int y);
    // Clicks (or double-clicks) the middle of the tray icon, then parks the pointer in the screen's bottom-left corner
    // so that no tool tip shows and an open menu keeps its keyboard highlight.
    static void clickTrayIcon(const QString& icon, int button = 1);
    static void doubleClickTrayIcon(const QString& icon);
    // Presses keys (xdotool key names) in a window. They are sent to it directly, so that neither the keyboard focus
    // nor a grab still held by the tray host on a busy machine decides where they land.
    static void keys(const QString& window, const QStringList& names);
    static QImage grab(const QString& window);

private:
    static void parkPointer();

    QList<QProcess*> programs;
};

} // namespace testsupport
