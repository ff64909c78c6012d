#include "paths.h"
#include "programdriver.h"
#include "runtool.h"
#include "tempfiles.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocalServer>
#include <QLocalSocket>
#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;

using testsupport::ProgramDriver;
using testsupport::runDiag;

namespace {

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

// The real program on a private X server, signed in with the runtime simulator's demo workspace, asked through its
// status socket.
class TestDiagProgram final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    // The program is killed, which leaves its socket file in the shared temporary folder.
    void cleanupTestCase() { QLocalServer::removeServer(statusSocketName()); }
    void statusOfRunningProgram();
    void garbageOnTheSocket_data();
    void garbageOnTheSocket();

private:
    QJsonObject status(int* exitCode = nullptr);

    std::unique_ptr<ProgramDriver> driver;
};

void TestDiagProgram::initTestCase()
{
    QVERIFY(testsupport::writeFile(credentialsYamlPath(),
        "credentials:\n  acme.oxmerel.cloud:\n    identity: ada@example.com\n    password: "
            + QByteArray("Pw-acme-7781!").toBase64() + "\n    robots: [rb-invoices]\n"));
    QVERIFY(testsupport::writeFile(robotLocksDir() + u"/rb-reports.lock"_s, {}));
    qputenv("PATH", qgetenv("OXMEREL_SIM_DIR") + ':' + qgetenv("PATH"));
    driver = std::make_unique<ProgramDriver>(QStringList { u"--auto-start"_s });
    QVERIFY(driver->started());
}

QJsonObject TestDiagProgram::status(int* exitCode)
{
    const auto result = runDiag({ u"status"_s, u"--json"_s });
    if (exitCode)
        *exitCode = result.exitCode;
    return QJsonDocument::fromJson(result.out).object();
}

void TestDiagProgram::statusOfRunningProgram()
{
    // The remembered robot reconnects at start. Its log is the one on screen, so its lines count as read.
    int exitCode = -1;
    QJsonObject running;
    const bool connected = QTest::qWaitFor(
        [&] {
            running = status(&exitCode);
            const QJsonObject robot = liveRobot(running, u"rb-invoices"_s);
            return robot.value(u"state"_s) == u"connected"_s && robot.value(u"unread"_s).isDouble();
        },
        60000);
    QVERIFY2(connected, QJsonDocument(running).toJson().constData());
    QCOMPARE(exitCode, 0);
    QCOMPARE(running.value(u"running"_s).toBool(), true);
    const QJsonObject reports = liveRobot(running, u"rb-reports"_s);
    QCOMPARE(reports.value(u"state"_s).toString(), u"idle"_s);
    QCOMPARE(reports.value(u"locked"_s).toBool(), true);
    const QJsonObject ws = running.value(u"live"_s).toArray().first().toObject();
    QCOMPARE(ws.value(u"identity"_s).toString(), u"ada@example.com"_s);
    QCOMPARE(ws.value(u"signedIn"_s).toBool(), true);

    const auto text = runDiag({ u"status"_s });
    QVERIFY(text.out.contains("Oxmerel Connect is running."));
    QVERIFY(text.out.contains("rb-invoices \"Invoice Processing\": connected"));
    QVERIFY(!text.out.contains("Pw-acme") && !text.out.contains(QByteArray("Pw-acme-7781!").toBase64()));
}

void TestDiagProgram::garbageOnTheSocket_data()
{
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<QByteArray>("answer");
    QTest::newRow("unknown request") << QByteArray("quit\n") << QByteArray("unknown request");
    QTest::newRow("binary") << QByteArray("\x00\xff\x01status\n", 10) << QByteArray("unknown request");
    QTest::newRow("two requests") << QByteArray("status\nstatus\n") << QByteArray("one request per connection");
    QTest::newRow("oversized") << QByteArray(1024 * 1024, 'x') << QByteArray("request too long");
    QTest::newRow("silent client") << QByteArray() << QByteArray();
}

void TestDiagProgram::garbageOnTheSocket()
{
    QFETCH(QByteArray, request);
    QFETCH(QByteArray, answer);
    const QByteArray received = exchange(request);
    // An error line, then the program closes the connection.
    QVERIFY2(answer.isEmpty() ? received.isEmpty() : received.contains(answer), received.left(200).constData());
    // The program goes on answering.
    int exitCode = -1;
    QVERIFY(!liveRobot(status(&exitCode), u"rb-invoices"_s).isEmpty());
    QCOMPARE(exitCode, 0);
}

QTEST_GUILESS_MAIN(TestDiagProgram)
#include "test_diagprogram.moc"
