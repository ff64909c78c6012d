#include "paths.h"
#include "processes.h"
#include "programdriver.h"
#include "tempfiles.h"

#include <QFile>
#include <QFileInfo>
#include <QScopeGuard>
#include <QStandardPaths>
#include <QTemporaryDir>
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
    void trayIconShowsTheClosedWindow();
    void autoStartSwitchSurvivesRestart();
    void endOfSessionStopsEveryRuntime_data();
    void endOfSessionStopsEveryRuntime();

private:
    struct Running {
        QProcess* program = nullptr;
        QString window;
        QString trayIcon;
    };
    // Starts the program and waits for its main window and tray icon.
    static Running startToWindow(ProgramDriver& driver, const QStringList& arguments = {});
    // Opens the tray menu and answers the menu window.
    static QString openTrayMenu(const Running& running);
    // The Settings submenu, opened from the tray menu; empty when it does not show.
    static QString openSettingsSubmenu(const Running& running);
    static bool quitFromTrayMenu(const Running& running);
    // The main window while it is shown; empty when it does not show within timeoutMs.
    static QString mainWindow(const Running& running, int timeoutMs = windowTimeoutMs);
    // Clicks the title bar's close button and waits for the window to go.
    static bool closeWindow(const Running& running);

    static constexpr int windowTimeoutMs = 45000;
    static constexpr int exitTimeoutMs = 30000;
    static constexpr int menuTimeoutMs = 15000;
};

TestProgram::Running TestProgram::startToWindow(ProgramDriver& driver, const QStringList& arguments)
{
    Running running;
    running.program = driver.start(arguments);
    if (running.program) {
        running.window = mainWindow(running);
        running.trayIcon = ProgramDriver::waitForTrayIcon(running.program->processId(), windowTimeoutMs);
    }
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

QString TestProgram::openSettingsSubmenu(const Running& running)
{
    const QString menu = openTrayMenu(running);
    if (menu.isEmpty()) {
        return {};
    }
    const QStringList before = ProgramDriver::visibleWindows(running.program->processId());
    // Settings is the menu's first entry.
    ProgramDriver::keys(menu, { QStringLiteral("Down"), QStringLiteral("Right") });
    return ProgramDriver::waitForNewWindow(running.program->processId(), before, menuTimeoutMs);
}

// Quits with "&Quit" and answers whether the program then ended with 0.
bool TestProgram::quitFromTrayMenu(const Running& running)
{
    const QString menu = openTrayMenu(running);
    if (menu.isEmpty()) {
        return false;
    }
    ProgramDriver::keys(menu, { QStringLiteral("q") });
    return ProgramDriver::waitForExit(running.program, exitTimeoutMs) == 0;
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

    // Exactly one of the two ends at once, with 0.
    QVERIFY(QTest::qWaitFor(
        [&] { return first->state() == QProcess::NotRunning || second->state() == QProcess::NotRunning; },
        exitTimeoutMs));
    QProcess* loser = first->state() == QProcess::NotRunning ? first : second;
    QProcess* survivor = loser == first ? second : first;
    QCOMPARE(ProgramDriver::waitForExit(loser, 0), 0);
    QVERIFY(!mainWindow({ survivor, {}, {} }).isEmpty());

    // A killed instance leaves its segment behind; the next start must recover it rather than give way to it.
    ProgramDriver::kill(survivor, SIGKILL);
    QVERIFY(survivor->waitForFinished(exitTimeoutMs));
    const Running next = startToWindow(driver);
    QVERIFY(!next.window.isEmpty());
    QVERIFY(!next.trayIcon.isEmpty());
    QVERIFY(quitFromTrayMenu(next));
}

void TestProgram::trayIconShowsTheClosedWindow()
{
    ProgramDriver driver;
    const Running running = startToWindow(driver);
    QVERIFY(!running.trayIcon.isEmpty());
    // Closing only hides: the tray icon brings the window back.
    QVERIFY(closeWindow(running));
    ProgramDriver::clickTrayIcon(running.trayIcon);
    QVERIFY(!mainWindow(running).isEmpty());
    QVERIFY(closeWindow(running));
    ProgramDriver::doubleClickTrayIcon(running.trayIcon);
    QVERIFY(!mainWindow(running).isEmpty());

    // A right click only opens the menu. Quitting from it works with the window closed: the tray is what keeps the
    // program alive.
    QVERIFY(closeWindow(running));
    const QString menu = openTrayMenu(running);
    QVERIFY(!menu.isEmpty());
    QVERIFY(mainWindow(running, 1000).isEmpty());
    ProgramDriver::keys(menu, { QStringLiteral("q") });
    QCOMPARE(ProgramDriver::waitForExit(running.program, exitTimeoutMs), 0);
}

void TestProgram::autoStartSwitchSurvivesRestart()
{
    const QString entry = QStandardPaths::writableLocation(QStandardPaths::ConfigLocation)
        + QStringLiteral("/autostart/oxmerel.desktop");
    QFile::remove(entry);
    const QString expectedExec = QStringLiteral("Exec=\"")
        + QFileInfo(qEnvironmentVariable("OXMEREL_TRAY_BIN")).canonicalFilePath() + QStringLiteral("\" --auto-start");

    ProgramDriver driver;
    Running running = startToWindow(driver);
    QVERIFY(!running.trayIcon.isEmpty());
    QString settings = openSettingsSubmenu(running);
    QVERIFY(!settings.isEmpty());
    ProgramDriver::keys(settings, { QStringLiteral("a") });
    QVERIFY(QTest::qWaitFor([&] { return QFile::exists(entry); }, menuTimeoutMs));
    QFile file(entry);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QVERIFY2(QString::fromUtf8(file.readAll()).split(QLatin1Char('\n')).contains(expectedExec), qPrintable(entry));
    QVERIFY(quitFromTrayMenu(running));

    // The entry outlives the program; the next session turns it off.
    running = startToWindow(driver, { QStringLiteral("--auto-start") });
    QVERIFY(!running.trayIcon.isEmpty());
    QVERIFY(QFile::exists(entry));
    settings = openSettingsSubmenu(running);
    QVERIFY(!settings.isEmpty());
    ProgramDriver::keys(settings, { QStringLiteral("d") });
    QVERIFY(QTest::qWaitFor([&] { return !QFile::exists(entry); }, menuTimeoutMs));
    QVERIFY(quitFromTrayMenu(running));
}

void TestProgram::endOfSessionStopsEveryRuntime_data()
{
    QTest::addColumn<int>("signal");
    QTest::addColumn<bool>("orderly");
    QTest::newRow("SIGTERM") << int(SIGTERM) << true;
    QTest::newRow("SIGINT") << int(SIGINT) << true;
    QTest::newRow("SIGHUP") << int(SIGHUP) << true;
    // No chance to clean up: the runtimes go with the program, their own children stay theirs.
    QTest::newRow("SIGKILL") << int(SIGKILL) << false;
}

void TestProgram::endOfSessionStopsEveryRuntime()
{
    QFETCH(int, signal);
    QFETCH(bool, orderly);
    const QByteArray credentials = "credentials:\n  acme.oxmerel.cloud: {identity: a, password: cHc=, robots: [r1]}\n";
    QVERIFY(testsupport::writeFile(credentialsYamlPath(), credentials));
    QTemporaryDir dir;
    const QString record = dir.filePath(QStringLiteral("record.jsonl"));
    qputenv("OXMEREL_SIM_SCENARIO", TEST_DATA_DIR "/session-end.scenario");
    qputenv("OXMEREL_SIM_RECORD", QFile::encodeName(record));
    const QByteArray simulatorFirst = qgetenv("OXMEREL_SIM_DIR") + ':';
    if (!qgetenv("PATH").startsWith(simulatorFirst))
        qputenv("PATH", simulatorFirst + qgetenv("PATH"));
    const auto runtimes = [&] { return testsupport::simulatorPids(record, QStringLiteral("pid")); };
    // Whatever the program leaves behind is ended here, by the groups the runtimes lead.
    const auto cleanup = qScopeGuard([&] {
        for (const qint64 group : runtimes())
            ::kill(-static_cast<pid_t>(group), SIGKILL);
    });

    ProgramDriver driver;
    QProcess* program = driver.start({ QStringLiteral("--auto-start") });
    QVERIFY(program);
    QVERIFY(QTest::qWaitFor(
        [&] { return testsupport::simulatorPids(record, QStringLiteral("child")).size() == 2; }, windowTimeoutMs));
    ProgramDriver::kill(program, signal);
    QVERIFY(program->waitForFinished(exitTimeoutMs));
    QCOMPARE(ProgramDriver::waitForExit(program, 0), orderly ? 0 : -1);
    const auto noneLeft = [&](bool (*isAlive)(qint64)) {
        return QTest::qWaitFor(
            [&] {
                const QList<qint64> pids = runtimes();
                return std::none_of(pids.begin(), pids.end(), isAlive);
            },
            5000);
    };
    QVERIFY(noneLeft(testsupport::alive));
    if (orderly) {
        QVERIFY(noneLeft(testsupport::groupAlive));
        QCOMPARE(testsupport::readFile(credentialsYamlPath()), credentials);
    }
}

QTEST_GUILESS_MAIN(TestProgram)
#include "test_program.moc"
