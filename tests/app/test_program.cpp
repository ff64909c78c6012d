#include "programdriver.h"

#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <QTest>

#include <algorithm>

#include <signal.h>

using testsupport::ProgramDriver;

// The real program on a private X server with a tray host, driven as a user would: clicks on the tray icon and the
// title bar, the tray menu from the keyboard.
class TestProgram final : public QObject
{
    Q_OBJECT

private slots:
    void secondStartLeavesOneInstance();
    void startAfterKillSucceeds();
    void trayIconShowsTheClosedWindow();
    void quitFromTrayMenuEndsWithZero();
    void autoStartSwitchSurvivesRestart();

private:
    struct Running {
        QProcess* program = nullptr;
        QString window;
        QString trayIcon;
    };
    // Starts the program and waits for its main window and tray icon.
    Running startToWindow(ProgramDriver& driver, const QStringList& arguments = {});
    // Opens the tray menu and answers the menu window.
    QString openTrayMenu(const Running& running);
    // Opens the Settings submenu of the tray menu and answers its picture.
    QImage settingsSubmenu(const Running& running);
    void quitFromTrayMenu(const Running& running);
    static QString autoStartEntryPath();
    // The main window while it is shown; empty when it does not show within timeoutMs.
    static QString mainWindow(const Running& running, int timeoutMs = windowTimeoutMs);
    // Clicks the title bar's close button and waits for the window to go.
    static bool closeWindow(const Running& running);

    static constexpr int windowTimeoutMs = 20000;
    static constexpr int exitTimeoutMs = 15000;
    static constexpr int menuTimeoutMs = 5000;
};

TestProgram::Running TestProgram::startToWindow(ProgramDriver& driver, const QStringList& arguments)
{
    Running running;
    running.program = driver.start(arguments);
    if (!running.program) {
        return running;
    }
    running.window = ProgramDriver::waitForWindow(
        running.program->processId(), QStringLiteral("Oxmerel Connect"), windowTimeoutMs);
    running.trayIcon = ProgramDriver::waitForTrayIcon(running.program->processId(), windowTimeoutMs);
    return running;
}

QString TestProgram::openTrayMenu(const Running& running)
{
    // A menu closed a moment ago may still be on screen and would not count as new.
    const auto noPopup = [&] {
        const QStringList windows = ProgramDriver::visibleWindows(running.program->processId());
        return std::all_of(windows.begin(), windows.end(), [&](const QString& window) {
            return window == running.trayIcon
                || ProgramDriver::windowTitle(window) == QStringLiteral("Oxmerel Connect");
        });
    };
    if (!QTest::qWaitFor(noPopup, menuTimeoutMs)) {
        return {};
    }
    const QStringList before = ProgramDriver::visibleWindows(running.program->processId());
    ProgramDriver::clickTrayIcon(running.trayIcon, 3);
    return ProgramDriver::waitForNewWindow(running.program->processId(), before, menuTimeoutMs);
}

QImage TestProgram::settingsSubmenu(const Running& running)
{
    const QString menu = openTrayMenu(running);
    if (menu.isEmpty()) {
        return {};
    }
    const QStringList before = ProgramDriver::visibleWindows(running.program->processId());
    // Settings is the menu's first entry; Right opens it with its first entry highlighted, as every time.
    ProgramDriver::keys({ QStringLiteral("Down"), QStringLiteral("Right") });
    const QString submenu = ProgramDriver::waitForNewWindow(running.program->processId(), before, menuTimeoutMs);
    return submenu.isEmpty() ? QImage() : ProgramDriver::grab(submenu);
}

void TestProgram::quitFromTrayMenu(const Running& running)
{
    QVERIFY(!openTrayMenu(running).isEmpty());
    ProgramDriver::keys({ QStringLiteral("q") });
}

QString TestProgram::autoStartEntryPath()
{
    return QStandardPaths::writableLocation(QStandardPaths::ConfigLocation)
        + QStringLiteral("/autostart/oxmerel.desktop");
}

QString TestProgram::mainWindow(const Running& running, int timeoutMs)
{
    return ProgramDriver::waitForWindow(running.program->processId(), QStringLiteral("Oxmerel Connect"), timeoutMs);
}

bool TestProgram::closeWindow(const Running& running)
{
    const QString window = mainWindow(running);
    if (window.isEmpty()) {
        return false;
    }
    // The close button sits at the right end of the title bar.
    ProgramDriver::click(window, ProgramDriver::geometry(window).width() - 27, 28);
    return ProgramDriver::waitForWindowGone(
        running.program->processId(), QStringLiteral("Oxmerel Connect"), windowTimeoutMs);
}

void TestProgram::secondStartLeavesOneInstance()
{
    ProgramDriver driver;
    QProcess* first = driver.start();
    QProcess* second = driver.start();
    QVERIFY(first && second);

    // Exactly one of the two ends at once, with 0, and shows nothing.
    QVERIFY(QTest::qWaitFor(
        [&] { return first->state() == QProcess::NotRunning || second->state() == QProcess::NotRunning; },
        exitTimeoutMs));
    QProcess* loser = first->state() == QProcess::NotRunning ? first : second;
    QProcess* survivor = loser == first ? second : first;
    QCOMPARE(ProgramDriver::waitForExit(loser, 0), 0);
    QVERIFY(!ProgramDriver::waitForWindow(survivor->processId(), QStringLiteral("Oxmerel Connect"), windowTimeoutMs)
                 .isEmpty());
    QCOMPARE(survivor->state(), QProcess::Running);

    // A later start while the survivor runs is turned away as well.
    QProcess* third = driver.start();
    QVERIFY(third);
    QCOMPARE(ProgramDriver::waitForExit(third, exitTimeoutMs), 0);
    QCOMPARE(survivor->state(), QProcess::Running);
}

void TestProgram::startAfterKillSucceeds()
{
    ProgramDriver driver;
    const Running killed = startToWindow(driver);
    QVERIFY(!killed.window.isEmpty());
    ProgramDriver::kill(killed.program, SIGKILL);
    QVERIFY(killed.program->waitForFinished(exitTimeoutMs));

    // The killed instance's segment is left behind; the next start must recover it rather than give way to it.
    const Running next = startToWindow(driver);
    QVERIFY(!next.window.isEmpty());
    QVERIFY(!next.trayIcon.isEmpty());
    quitFromTrayMenu(next);
    QCOMPARE(ProgramDriver::waitForExit(next.program, exitTimeoutMs), 0);
}

void TestProgram::trayIconShowsTheClosedWindow()
{
    ProgramDriver driver;
    const Running running = startToWindow(driver);
    QVERIFY(!running.window.isEmpty());
    QVERIFY(!running.trayIcon.isEmpty());

    // Frameless: the Motif hints (flags, functions, decorations, ...) set the decorations flag and ask for none.
    const QString hints = ProgramDriver::runTool(
        QStringLiteral("xprop"), { QStringLiteral("-id"), running.window, QStringLiteral("_MOTIF_WM_HINTS") });
    const QStringList fields = hints.section(QLatin1Char('='), 1).trimmed().split(QStringLiteral(", "));
    QVERIFY2(fields.size() >= 3, qPrintable(hints));
    QVERIFY(fields[0].toUInt(nullptr, 16) & 0x2);
    QCOMPARE(fields[2], QStringLiteral("0x0"));

    QVERIFY(closeWindow(running));
    QTest::qWait(300);
    QCOMPARE(running.program->state(), QProcess::Running);
    ProgramDriver::clickTrayIcon(running.trayIcon);
    QVERIFY(!mainWindow(running).isEmpty());

    QVERIFY(closeWindow(running));
    ProgramDriver::doubleClickTrayIcon(running.trayIcon);
    QVERIFY(!mainWindow(running).isEmpty());

    // A right click only opens the menu.
    QVERIFY(closeWindow(running));
    const QString menu = openTrayMenu(running);
    QVERIFY(!menu.isEmpty());
    QVERIFY(mainWindow(running, 1000).isEmpty());
    ProgramDriver::keys({ QStringLiteral("Escape") });
    QVERIFY(ProgramDriver::waitForViewable(menu, false, menuTimeoutMs));

    // "&Open" shows it too.
    QVERIFY(!openTrayMenu(running).isEmpty());
    ProgramDriver::keys({ QStringLiteral("o") });
    QVERIFY(!mainWindow(running).isEmpty());
    quitFromTrayMenu(running);
    QCOMPARE(ProgramDriver::waitForExit(running.program, exitTimeoutMs), 0);
}

void TestProgram::quitFromTrayMenuEndsWithZero()
{
    ProgramDriver driver;
    const Running running = startToWindow(driver);
    QVERIFY(!running.trayIcon.isEmpty());
    // Quitting works with the window closed too: the tray is what keeps the program alive.
    QVERIFY(closeWindow(running));
    quitFromTrayMenu(running);
    QCOMPARE(ProgramDriver::waitForExit(running.program, exitTimeoutMs), 0);
}

void TestProgram::autoStartSwitchSurvivesRestart()
{
    const QString entry = autoStartEntryPath();
    QFile::remove(entry);
    const QString expectedExec = QStringLiteral("Exec=\"")
        + QFileInfo(qEnvironmentVariable("OXMEREL_TRAY_BIN")).canonicalFilePath() + QStringLiteral("\" --auto-start");

    ProgramDriver driver;
    Running running = startToWindow(driver);
    QVERIFY(!running.trayIcon.isEmpty());
    const QImage offAtStart = settingsSubmenu(running);
    QVERIFY(!offAtStart.isNull());
    ProgramDriver::keys({ QStringLiteral("a") });
    QVERIFY(QTest::qWaitFor([&] { return QFile::exists(entry); }, menuTimeoutMs));
    QFile file(entry);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QVERIFY2(QString::fromUtf8(file.readAll()).split(QLatin1Char('\n')).contains(expectedExec), qPrintable(entry));

    const QImage onInSession = settingsSubmenu(running);
    QVERIFY(!onInSession.isNull());
    QVERIFY(onInSession != offAtStart);
    ProgramDriver::keys({ QStringLiteral("Escape"), QStringLiteral("Escape") });
    quitFromTrayMenu(running);
    QCOMPARE(ProgramDriver::waitForExit(running.program, exitTimeoutMs), 0);

    // The check at start follows the entry on disk.
    running = startToWindow(driver, { QStringLiteral("--auto-start") });
    QVERIFY(!running.trayIcon.isEmpty());
    QCOMPARE(settingsSubmenu(running), onInSession);
    ProgramDriver::keys({ QStringLiteral("d") });
    QVERIFY(QTest::qWaitFor([&] { return !QFile::exists(entry); }, menuTimeoutMs));
    quitFromTrayMenu(running);
    QCOMPARE(ProgramDriver::waitForExit(running.program, exitTimeoutMs), 0);

    running = startToWindow(driver);
    QVERIFY(!running.trayIcon.isEmpty());
    QCOMPARE(settingsSubmenu(running), offAtStart);
    ProgramDriver::keys({ QStringLiteral("Escape"), QStringLiteral("Escape") });
    quitFromTrayMenu(running);
    QCOMPARE(ProgramDriver::waitForExit(running.program, exitTimeoutMs), 0);
}

QTEST_GUILESS_MAIN(TestProgram)
#include "test_program.moc"
