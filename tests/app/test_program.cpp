#include "paths.h"
#include "processes.h"
#include "programdriver.h"
#include "runtool.h"
#include "tempfiles.h"

#include <QFile>
#include <QFileInfo>
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

// Sends bytes on a fresh connection to the status socket; answers what came back before the program closed it, or
// "(open)" when it stayed open.
QByteArray exchange(const QByteArray& request)
{
    QLocalSocket socket;
    socket.connectToServer(statusSocketName());
    socket.waitForConnected(5000);
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
    // One instance lives in the tray: a second start gives way, the window only hides, the auto-start switch writes
    // and removes its entry, and a killed instance's guard is recovered by the next start.
    void oneInstanceLivesInTheTray()
    {
        ProgramDriver first;
        ProgramDriver second;
        // Exactly one of the two ends at once, with 0.
        QVERIFY(QTest::qWaitFor([&] { return !first.running() || !second.running(); }, ProgramDriver::waitMs));
        ProgramDriver& survivor = first.running() ? first : second;
        QCOMPARE((first.running() ? second : first).waitForExit(0), 0);
        QVERIFY(survivor.closeMainWindow());
        ProgramDriver::clickTrayIcon(survivor.trayIcon());
        QVERIFY(!survivor.mainWindow().isEmpty());

        const QString entry
            = QStandardPaths::writableLocation(QStandardPaths::ConfigLocation) + u"/autostart/oxmerel.desktop"_s;
        const QString exec = u"Exec=\"%1\" --auto-start"_s.arg(
            QFileInfo(qEnvironmentVariable("OXMEREL_TRAY_BIN")).canonicalFilePath());
        // Settings is the tray menu's first entry.
        for (const bool on : { true, false }) {
            const QString settings = survivor.openTrayMenu({ u"Down"_s, u"Right"_s });
            QVERIFY(!settings.isEmpty());
            ProgramDriver::keys(settings, { on ? u"a"_s : u"d"_s });
            QVERIFY(QTest::qWaitFor([&] { return QFile::exists(entry) == on; }, ProgramDriver::waitMs));
            if (on)
                QVERIFY2(
                    QString::fromUtf8(testsupport::readFile(entry)).split(u'\n').contains(exec), qPrintable(entry));
        }

        survivor.kill(SIGKILL);
        QCOMPARE(survivor.waitForExit(), -1);
        ProgramDriver next;
        // A right click only opens the menu. Quitting from it works with the window closed: the tray is what keeps the
        // program alive.
        QVERIFY(next.closeMainWindow());
        const QString menu = next.openTrayMenu();
        QVERIFY(!menu.isEmpty());
        QVERIFY(next.mainWindow(1000).isEmpty());
        ProgramDriver::keys(menu, { u"q"_s });
        QCOMPARE(next.waitForExit(), 0);
    }

    void endOfSessionStopsEveryRuntime_data()
    {
        QTest::addColumn<int>("signal");
        QTest::addColumn<bool>("orderly");
        // SIGINT and SIGHUP take the same way as SIGTERM.
        QTest::newRow("SIGTERM") << int(SIGTERM) << true;
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
        // In an orderly end their helpers go too: every end of a runtime ends its process group (process_prochandler).
        const QList<qint64> pids = runtimes();
        QTRY_VERIFY_WITH_TIMEOUT(std::none_of(pids.cbegin(), pids.cend(), testsupport::alive), 5000);
        if (orderly)
            QCOMPARE(testsupport::readFile(credentialsYamlPath()), credentials);
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

        // The remembered robot reconnects at start; the diagnostics program asks the running program.
        QByteArray status;
        const auto connected = [&] {
            status = testsupport::runDiag({ u"status"_s }).out;
            return status.contains("rb-invoices \"Invoice Processing\": connected");
        };
        QVERIFY2(QTest::qWaitFor(connected, ProgramDriver::waitMs), status.constData());
        for (const char* line : { "Oxmerel Connect is running.", "acme.oxmerel.cloud (ada@example.com)",
                 "\"Acme Demo\": signed in", "rb-reports \"Monthly Reports\": idle, locked" })
            QVERIFY2(status.contains(line), line);
        QVERIFY(!status.contains("Pw-acme") && !status.contains(password));

        // Each gets an error line, then the closed connection; a silent client gets nothing. The program goes on. The
        // long request fits the socket's buffer: a client still writing when the program closes loses the answer.
        const QList<std::pair<QByteArray, QByteArray>> garbage { { "status\nstatus\n", "one request per connection" },
            { QByteArray("\x00\xff\x01status\n", 10), "unknown request" },
            { QByteArray(4096, 'x'), "request too long" }, { {}, {} } };
        for (const auto& [request, answer] : garbage) {
            const QByteArray received = exchange(request);
            QVERIFY2(answer.isEmpty() ? received.isEmpty() : received.contains(answer),
                QByteArray(answer + " <- " + received.left(200)).constData());
            QVERIFY(connected());
        }
    }
};

QTEST_GUILESS_MAIN(TestProgram)
#include "test_program.moc"
