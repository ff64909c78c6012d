#include "programdriver.h"

#include "runtool.h"

#include <QRegularExpression>
#include <QSize>
#include <QTest>

#include <algorithm>

#include <signal.h>

using namespace Qt::StringLiterals;

namespace testsupport {

namespace {

// A tray host embeds icons of at most its own height; the main window and menus are far larger.
constexpr int maximumTrayIconSide = 32;

QString tool(const QString& name, const QStringList& arguments)
{
    return QString::fromUtf8(runTool(name, arguments, 5000).out);
}

QString windowTitle(const QString& window)
{
    return tool(u"xdotool"_s, { u"getwindowname"_s, window }).trimmed();
}

QSize windowSize(const QString& window)
{
    const QString info = tool(u"xwininfo"_s, { u"-id"_s, window });
    const auto value = [&](const QString& field) {
        const QRegularExpression line(u"^\\s*"_s + field + u":\\s*(-?\\d+)"_s, QRegularExpression::MultilineOption);
        return line.match(info).captured(1).toInt();
    };
    return { value(u"Width"_s), value(u"Height"_s) };
}

// Clicks inside a window at (x, y) of the window; button 1 left, 3 right.
void click(const QString& window, int x, int y, int button = 1)
{
    tool(u"xdotool"_s,
        { u"mousemove"_s, u"--window"_s, window, QString::number(x), QString::number(y), u"click"_s,
            QString::number(button) });
}

} // namespace

ProgramDriver::ProgramDriver(const QStringList& arguments)
{
    process.setProcessChannelMode(QProcess::ForwardedChannels);
    process.start(qEnvironmentVariable("OXMEREL_TRAY_BIN"), arguments);
    process.waitForStarted(10000);
}

ProgramDriver::~ProgramDriver()
{
    // Ended as a log-off would, so that it stops its runtimes and writes what it writes at exit; killed if it hangs.
    for (const int signal : { SIGTERM, SIGKILL }) {
        if (!running())
            return;
        kill(signal);
        process.waitForFinished(5000);
    }
}

int ProgramDriver::waitForExit(int timeoutMs)
{
    const bool ended = !running() || process.waitForFinished(timeoutMs);
    return ended && process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
}

void ProgramDriver::kill(int signal)
{
    if (process.processId() > 0)
        ::kill(static_cast<pid_t>(process.processId()), signal);
}

QStringList ProgramDriver::visibleWindows()
{
    return tool(u"xdotool"_s, { u"search"_s, u"--onlyvisible"_s, u"--pid"_s, QString::number(process.processId()) })
        .split(u'\n', Qt::SkipEmptyParts);
}

QString ProgramDriver::waitForWindowWhere(const std::function<bool(const QString&)>& matches, int timeoutMs)
{
    QString found;
    const auto findOne = [&] {
        const QStringList windows = visibleWindows();
        const auto match = std::find_if(windows.begin(), windows.end(), matches);
        found = match == windows.end() ? QString() : *match;
        return !found.isEmpty();
    };
    return QTest::qWaitFor(findOne, timeoutMs) ? found : QString();
}

QString ProgramDriver::waitForWindow(const QString& title, int timeoutMs)
{
    return waitForWindowWhere([&](const QString& window) { return windowTitle(window) == title; }, timeoutMs);
}

QString ProgramDriver::trayIcon()
{
    if (icon.isEmpty()) {
        icon = waitForWindowWhere([](const QString& window) {
            const QSize area = windowSize(window);
            return area.width() <= maximumTrayIconSide && area.height() <= maximumTrayIconSide;
        });
    }
    return icon;
}

bool ProgramDriver::closeMainWindow()
{
    const QString window = mainWindow();
    if (window.isEmpty())
        return false;
    // The close button sits at the right end of the title bar.
    click(window, windowSize(window).width() - 27, 28);
    // Qt may destroy a hidden window's X window, so the title is what must go.
    return QTest::qWaitFor([&] { return mainWindow(0).isEmpty(); }, waitMs);
}

QString ProgramDriver::openTrayMenu(const QStringList& keys)
{
    // A menu closed a moment ago may still be on screen and would not count as new.
    const auto noPopup = [&] {
        const QStringList windows = visibleWindows();
        return std::all_of(windows.begin(), windows.end(),
            [&](const QString& window) { return window == icon || windowTitle(window) == u"Oxmerel Connect"_s; });
    };
    if (trayIcon().isEmpty() || !QTest::qWaitFor(noPopup, waitMs))
        return {};
    QStringList before = visibleWindows();
    clickTrayIcon(icon, 3);
    const auto isNew = [&](const QString& window) { return !before.contains(window); };
    QString menu = waitForWindowWhere(isNew);
    if (menu.isEmpty() || keys.isEmpty())
        return menu;
    before = visibleWindows();
    ProgramDriver::keys(menu, keys);
    return waitForWindowWhere(isNew);
}

void ProgramDriver::clickTrayIcon(const QString& icon, int button)
{
    const QSize area = windowSize(icon);
    click(icon, area.width() / 2, area.height() / 2, button);
    const int height = tool(u"xdotool"_s, { u"getdisplaygeometry"_s }).section(u' ', 1, 1).toInt();
    tool(u"xdotool"_s, { u"mousemove"_s, u"0"_s, QString::number(std::max(0, height - 1)) });
}

void ProgramDriver::keys(const QString& window, const QStringList& names)
{
    tool(u"xdotool"_s, QStringList { u"key"_s, u"--window"_s, window, u"--delay"_s, u"150"_s } + names);
    // To a focused window xdotool presses through the server like a real keyboard, and when the press closes that
    // window it fails before the release: the key would stay down and repeat into the next program's windows.
    tool(u"xdotool"_s, QStringList { u"keyup"_s } + names);
}

} // namespace testsupport
