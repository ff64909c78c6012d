#include "paths.h"
#include "processes.h"
#include "programdriver.h"
#include "runtool.h"
#include "tempfiles.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocalSocket>
#include <QScopeGuard>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>

#include <signal.h>

using namespace Qt::StringLiterals;
using testsupport::ProgramDriver;

namespace {

// The diagnostics program's status of the running program, as JSON; its exit code goes to exitCode.
QJsonObject diagStatus(int& exitCode)
{
    const auto result = testsupport::runDiag({ u"status"_s, u"--json"_s });
    exitCode = result.exitCode;
    return QJsonDocument::fromJson(result.out).object();
}

// The live record of a robot in a status answer, or an empty object.
QJsonObject liveRobot(const QJsonObject& status, const QString& id)
{
    const QJsonArray workspaces = status.value(u"live"_s).toArray();
    for (const QJsonValue& ws : workspaces) {
        const QJsonArray robots = ws.toObject().value(u"robots"_s).toArray();
        for (const QJsonValue& robot : robots) {
            if (robot.toObject().value(u"id"_s).toString() == id)
                return robot.toObject();
        }
    }
    return {};
}

// Sends bytes on a fresh connection to the status socket; answers what came back before the program closed it, or
// "(open)" when it stayed open.
QByteArray exchange(const QByteArray& request)
{
    QLocalSocket socket;
    socket.connectToServer(statusSocketName());
    if (!socket.waitForConnected(5000))
        return "(no connection)";
    socket.write(request);
    socket.waitForBytesWritten(5000);
    QByteArray answer;
    while (socket.state() == QLocalSocket::ConnectedState && socket.waitForReadyRead(10000))
        answer += socket.readAll();
    answer += socket.readAll();
    return socket.state() == QLocalSocket::ConnectedState ? QByteArray("(open)") : answer;
}

} // namespace

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

    // Signed in with the simulator's demo workspace, asked through the status socket.
    void statusSocketAnswersAndOutlivesGarbage()
    {
        const QByteArray password = QByteArray("Pw-acme-7781!").toBase64();
        QVERIFY(testsupport::writeFile(credentialsYamlPath(),
            "credentials:\n  acme.oxmerel.cloud:\n    identity: ada@example.com\n    password: " + password
                + "\n    robots: [rb-invoices]\n"));
        QVERIFY(testsupport::writeFile(robotLocksDir() + u"/rb-reports.lock"_s, {}));
        QTemporaryDir dir;
        testsupport::useSimulator(dir.path());
        qunsetenv("OXMEREL_SIM_SCENARIO");
        ProgramDriver program({ u"--auto-start"_s });

        // The remembered robot reconnects at start. Its log is the one on screen, so its lines count as read.
        int exitCode = -1;
        QJsonObject running;
        const bool connected = QTest::qWaitFor(
            [&] {
                running = diagStatus(exitCode);
                const QJsonObject robot = liveRobot(running, u"rb-invoices"_s);
                return robot.value(u"state"_s) == u"connected"_s && robot.value(u"unread"_s).isDouble();
            },
            ProgramDriver::waitMs);
        QVERIFY2(connected, QJsonDocument(running).toJson().constData());
        QCOMPARE(exitCode, 0);
        QCOMPARE(running.value(u"running"_s).toBool(), true);
        const QJsonObject reports = liveRobot(running, u"rb-reports"_s);
        QCOMPARE(reports.value(u"state"_s).toString(), u"idle"_s);
        QCOMPARE(reports.value(u"locked"_s).toBool(), true);
        const QJsonObject ws = running.value(u"live"_s).toArray().first().toObject();
        QCOMPARE(ws.value(u"identity"_s).toString(), u"ada@example.com"_s);
        QCOMPARE(ws.value(u"signedIn"_s).toBool(), true);
        const auto text = testsupport::runDiag({ u"status"_s });
        QVERIFY(text.out.contains("Oxmerel Connect is running."));
        QVERIFY(text.out.contains("rb-invoices \"Invoice Processing\": connected"));
        QVERIFY(!text.out.contains("Pw-acme") && !text.out.contains(password));

        // Each gets an error line, then the closed connection; a silent client gets nothing. The program goes on.
        const QList<std::pair<QByteArray, QByteArray>> garbage { { "quit\n", "unknown request" },
            { QByteArray("\x00\xff\x01status\n", 10), "unknown request" },
            { "status\nstatus\n", "one request per connection" }, { QByteArray(1024 * 1024, 'x'), "request too long" },
            { {}, {} } };
        for (const auto& [request, answer] : garbage) {
            const QByteArray received = exchange(request);
            QVERIFY2(answer.isEmpty() ? received.isEmpty() : received.contains(answer), received.left(200).constData());
            QVERIFY(!liveRobot(diagStatus(exitCode), u"rb-invoices"_s).isEmpty());
            QCOMPARE(exitCode, 0);
        }
    }
};

QTEST_GUILESS_MAIN(TestProgram)
#include "test_program.moc"
