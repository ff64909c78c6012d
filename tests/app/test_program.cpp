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

using namespace Qt::StringLiterals;
using testsupport::ProgramDriver;

// The real program on a private X server with a tray host, driven as a user would: clicks on the tray icon and the
// title bar, the tray menu from the keyboard.
class TestProgram final : public QObject
{
    Q_OBJECT

private slots:
    void secondStartLeavesOneInstance()
    {
        ProgramDriver first;
        ProgramDriver second;
        QVERIFY(first.started() && second.started());
        // Exactly one of the two ends at once, with 0.
        QVERIFY(QTest::qWaitFor([&] { return !first.running() || !second.running(); }, ProgramDriver::waitMs));
        ProgramDriver& survivor = first.running() ? first : second;
        QCOMPARE((first.running() ? second : first).waitForExit(0), 0);
        QVERIFY(!survivor.mainWindow().isEmpty());

        // A killed instance leaves its segment behind; the next start must recover it rather than give way to it.
        survivor.kill(SIGKILL);
        QCOMPARE(survivor.waitForExit(), -1);
        ProgramDriver next;
        QVERIFY(!next.mainWindow().isEmpty());
        QVERIFY(next.quitFromTrayMenu());
    }

    void trayIconShowsTheClosedWindow()
    {
        ProgramDriver program;
        QVERIFY(!program.trayIcon().isEmpty());
        // Closing only hides: a click on the tray icon brings the window back.
        QVERIFY(program.closeMainWindow());
        ProgramDriver::clickTrayIcon(program.trayIcon());
        QVERIFY(!program.mainWindow().isEmpty());
        // A right click only opens the menu. Quitting from it works with the window closed: the tray is what keeps the
        // program alive.
        QVERIFY(program.closeMainWindow());
        const QString menu = program.openTrayMenu();
        QVERIFY(!menu.isEmpty());
        QVERIFY(program.mainWindow(1000).isEmpty());
        ProgramDriver::keys(menu, { u"q"_s });
        QCOMPARE(program.waitForExit(), 0);
    }

    void autoStartSwitchSurvivesRestart()
    {
        const QString entry
            = QStandardPaths::writableLocation(QStandardPaths::ConfigLocation) + u"/autostart/oxmerel.desktop"_s;
        QFile::remove(entry);
        const QString exec = u"Exec=\"%1\" --auto-start"_s.arg(
            QFileInfo(qEnvironmentVariable("OXMEREL_TRAY_BIN")).canonicalFilePath());
        // Settings is the tray menu's first entry; the entry outlives the program and the next session turns it off.
        for (const bool on : { true, false }) {
            QCOMPARE(QFile::exists(entry), !on);
            ProgramDriver program(on ? QStringList() : QStringList { u"--auto-start"_s });
            const QString settings = program.openTrayMenu({ u"Down"_s, u"Right"_s });
            QVERIFY(!settings.isEmpty());
            ProgramDriver::keys(settings, { on ? u"a"_s : u"d"_s });
            QVERIFY(QTest::qWaitFor([&] { return QFile::exists(entry) == on; }, ProgramDriver::waitMs));
            if (on)
                QVERIFY2(
                    QString::fromUtf8(testsupport::readFile(entry)).split(u'\n').contains(exec), qPrintable(entry));
            QVERIFY(program.quitFromTrayMenu());
        }
    }

    void endOfSessionStopsEveryRuntime_data()
    {
        QTest::addColumn<int>("signal");
        QTest::addColumn<bool>("orderly");
        QTest::newRow("SIGTERM") << int(SIGTERM) << true;
        QTest::newRow("SIGINT") << int(SIGINT) << true;
        QTest::newRow("SIGHUP") << int(SIGHUP) << true;
        // No chance to clean up: the runtimes go with the program, their own children stay theirs.
        QTest::newRow("SIGKILL") << int(SIGKILL) << false;
    }

    void endOfSessionStopsEveryRuntime()
    {
        QFETCH(int, signal);
        QFETCH(bool, orderly);
        const QByteArray credentials
            = "credentials:\n  acme.oxmerel.cloud: {identity: a, password: cHc=, robots: [r1]}\n";
        QVERIFY(testsupport::writeFile(credentialsYamlPath(), credentials));
        QTemporaryDir dir;
        const QString record = testsupport::useSimulator(dir.path());
        qputenv("OXMEREL_SIM_SCENARIO", TEST_DATA_DIR "/session-end.scenario");
        const auto runtimes = [&] { return testsupport::simulatorPids(record, u"pid"_s); };
        // Whatever the program leaves behind is ended here, by the groups the runtimes lead.
        const auto cleanup = qScopeGuard([&] {
            for (const qint64 group : runtimes())
                ::kill(-static_cast<pid_t>(group), SIGKILL);
        });

        ProgramDriver program({ u"--auto-start"_s });
        QVERIFY(QTest::qWaitFor(
            [&] { return testsupport::simulatorPids(record, u"child"_s).size() == 2; }, ProgramDriver::waitMs));
        program.kill(signal);
        QCOMPARE(program.waitForExit(), orderly ? 0 : -1);
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
};

QTEST_GUILESS_MAIN(TestProgram)
#include "test_program.moc"
