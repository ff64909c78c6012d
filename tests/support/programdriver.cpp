#include "programdriver.h"

#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>

#include <signal.h>

namespace testsupport {

namespace {

// A tray host embeds icons of at most its own height; the main window and menus are far larger.
constexpr int maximumTrayIconSide = 32;

int xwininfoValue(const QString& info, const QString& field)
{
    const QRegularExpression line(
        QStringLiteral("^\\s*") + QRegularExpression::escape(field) + QStringLiteral(":\\s*(-?\\d+)"),
        QRegularExpression::MultilineOption);
    return line.match(info).captured(1).toInt();
}

} // namespace

ProgramDriver::~ProgramDriver()
{
    for (QProcess* program : std::as_const(programs)) {
        if (program->state() != QProcess::NotRunning) {
            kill(program, SIGKILL);
            program->waitForFinished(5000);
        }
        delete program;
    }
}

QProcess* ProgramDriver::start(const QStringList& arguments)
{
    auto* program = new QProcess;
    program->setProcessChannelMode(QProcess::ForwardedChannels);
    program->start(qEnvironmentVariable("OXMEREL_TRAY_BIN"), arguments);
    programs.append(program);
    return program->waitForStarted(10000) ? program : nullptr;
}

int ProgramDriver::waitForExit(QProcess* program, int timeoutMs)
{
    const bool ended = program->state() == QProcess::NotRunning || program->waitForFinished(timeoutMs);
    if (!ended || program->exitStatus() != QProcess::NormalExit) {
        return -1;
    }
    return program->exitCode();
}

void ProgramDriver::kill(QProcess* program, int signal)
{
    if (program->processId() > 0) {
        ::kill(static_cast<pid_t>(program->processId()), signal);
    }
}

QString ProgramDriver::runTool(const QString& tool, const QStringList& arguments, int timeoutMs)
{
    QProcess process;
    process.start(tool, arguments);
    if (!process.waitForFinished(timeoutMs)) {
        process.kill();
        process.waitForFinished(1000);
        return {};
    }
    return QString::fromUtf8(process.readAllStandardOutput());
}

QStringList ProgramDriver::visibleWindows(qint64 pid)
{
    return runTool(QStringLiteral("xdotool"),
        { QStringLiteral("search"), QStringLiteral("--onlyvisible"), QStringLiteral("--pid"), QString::number(pid) })
        .split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

QString ProgramDriver::waitForWindow(qint64 pid, const QString& title, int timeoutMs)
{
    return waitForWindowWhere(
        pid, [&](const QString& window) { return windowTitle(window) == title; }, timeoutMs);
}

QString ProgramDriver::waitForWindowWhere(qint64 pid, const std::function<bool(const QString&)>& matches, int timeoutMs)
{
    QString found;
    const auto findOne = [&] {
        const QStringList windows = visibleWindows(pid);
        for (const QString& window : windows) {
            if (matches(window)) {
                found = window;
                return true;
            }
        }
        return false;
    };
    return QTest::qWaitFor(findOne, timeoutMs) ? found : QString();
}

bool ProgramDriver::waitForWindowGone(qint64 pid, const QString& title, int timeoutMs)
{
    const auto gone = [&] {
        const QStringList windows = visibleWindows(pid);
        return std::none_of(
            windows.begin(), windows.end(), [&](const QString& window) { return windowTitle(window) == title; });
    };
    return QTest::qWaitFor(gone, timeoutMs);
}

bool ProgramDriver::isViewable(const QString& window)
{
    return runTool(QStringLiteral("xwininfo"), { QStringLiteral("-id"), window })
        .contains(QStringLiteral("Map State: IsViewable"));
}

bool ProgramDriver::waitForViewable(const QString& window, bool viewable, int timeoutMs)
{
    return QTest::qWaitFor([&] { return isViewable(window) == viewable; }, timeoutMs);
}

QRect ProgramDriver::geometry(const QString& window)
{
    const QString info = runTool(QStringLiteral("xwininfo"), { QStringLiteral("-id"), window });
    return { xwininfoValue(info, QStringLiteral("Absolute upper-left X")),
        xwininfoValue(info, QStringLiteral("Absolute upper-left Y")), xwininfoValue(info, QStringLiteral("Width")),
        xwininfoValue(info, QStringLiteral("Height")) };
}

QString ProgramDriver::windowTitle(const QString& window)
{
    return runTool(QStringLiteral("xdotool"), { QStringLiteral("getwindowname"), window }).trimmed();
}

QString ProgramDriver::waitForTrayIcon(qint64 pid, int timeoutMs)
{
    const auto isSmall = [](const QString& window) {
        const QRect area = geometry(window);
        return area.width() <= maximumTrayIconSide && area.height() <= maximumTrayIconSide;
    };
    return waitForWindowWhere(pid, isSmall, timeoutMs);
}

QString ProgramDriver::waitForNewWindow(qint64 pid, const QStringList& before, int timeoutMs)
{
    return waitForWindowWhere(
        pid, [&](const QString& window) { return !before.contains(window); }, timeoutMs);
}

void ProgramDriver::click(const QString& window, int x, int y, int button)
{
    runTool(QStringLiteral("xdotool"),
        { QStringLiteral("mousemove"), QStringLiteral("--window"), window, QString::number(x), QString::number(y),
            QStringLiteral("click"), QString::number(button) });
}

void ProgramDriver::doubleClick(const QString& window, int x, int y)
{
    runTool(QStringLiteral("xdotool"),
        { QStringLiteral("mousemove"), QStringLiteral("--window"), window, QString::number(x), QString::number(y),
            QStringLiteral("click"), QStringLiteral("--repeat"), QStringLiteral("2"), QStringLiteral("--delay"),
            QStringLiteral("80"), QStringLiteral("1") });
}

void ProgramDriver::clickTrayIcon(const QString& icon, int button)
{
    const QRect area = geometry(icon);
    click(icon, area.width() / 2, area.height() / 2, button);
    parkPointer();
}

void ProgramDriver::doubleClickTrayIcon(const QString& icon)
{
    const QRect area = geometry(icon);
    doubleClick(icon, area.width() / 2, area.height() / 2);
    parkPointer();
}

void ProgramDriver::parkPointer()
{
    const QString screen = runTool(QStringLiteral("xdotool"), { QStringLiteral("getdisplaygeometry") });
    const int height = screen.section(QLatin1Char(' '), 1, 1).toInt();
    runTool(QStringLiteral("xdotool"),
        { QStringLiteral("mousemove"), QStringLiteral("0"), QString::number(std::max(0, height - 1)) });
}

void ProgramDriver::keys(const QString& window, const QStringList& names)
{
    runTool(QStringLiteral("xdotool"),
        QStringList { QStringLiteral("key"), QStringLiteral("--window"), window, QStringLiteral("--delay"),
            QStringLiteral("150") }
            + names);
    // To a focused window xdotool presses through the server like a real keyboard, and when the press closes that
    // window it fails before the release: the key would stay down and repeat into the next program's windows.
    runTool(QStringLiteral("xdotool"), QStringList { QStringLiteral("keyup") } + names);
}

QImage ProgramDriver::grab(const QString& window)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("window.png"));
    runTool(QStringLiteral("import"), { QStringLiteral("-window"), window, path }, 10000);
    return QImage(path);
}

} // namespace testsupport
