#include "prochandler.h"
#include "recordtypes.h"
#include "runtimecommand.h"
#include "runtimeprompts.h"

#include <QElapsedTimer>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <memory>
#include <unistd.h>

// The handler against a real child: the runtime simulator, found on PATH under the runtime's name.
class TestProcHandler final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();
    void signalsFollowTheLinesInOrder();
    void badLinesAreDroppedWhateverTheChunks();
    void promptsAreAnsweredOnStdin();
    void emptyPasswordIsNotWritten();
    void chosenRobotAnswersTheListingAndReadingWaits();
    void unknownChosenRobotListsAndReadsOn();
    void authFailureStopsReadingUntilMoreOutput();
    void alreadyConnectedWarnsAndReadsOn();
    void stopEndsTheWholeTreeAndNothingElse();
    void childThatExitsLeavesNoGrandchild();
    void destroyedHandlerLeavesNoGrandchild();
    void missingProgramEmitsNothing();

private:
    ProcHandler* run(const QByteArray& scenario, const QString& password = QString(), const QString& robotId = {});
    QList<QJsonObject> records() const;
    QStringList stdinLines() const;
    qint64 recorded(const char* key) const;
    static bool alive(qint64 pid);

    QTemporaryDir dir;
    std::unique_ptr<ProcHandler> handler;
    // Every signal of the handler, in arrival order, as text.
    QStringList events;
    QElapsedTimer clock;
    QMap<QString, qint64> eventTimes;
};

namespace {

const QByteArray connectedLine = R"({"status":"connected","level":"info","msg":"up","time":"t1"})";

} // namespace

void TestProcHandler::initTestCase()
{
    registerRecordMetaTypes();
    QVERIFY(dir.isValid());
    qputenv("PATH", qgetenv("OXMEREL_SIM_DIR") + ':' + qgetenv("PATH"));
    qputenv("OXMEREL_SIM_RECORD", QFile::encodeName(dir.filePath(QStringLiteral("record.jsonl"))));
    QVERIFY(QFileInfo(runnerProgram()).isAbsolute());
}

void TestProcHandler::cleanup()
{
    if (handler) {
        handler->stop();
        handler->process->waitForFinished(5000);
    }
    handler.reset();
    for (const QJsonObject& record : records()) {
        const qint64 child = record.value(QStringLiteral("child")).toInteger();
        if (child > 1 && alive(child))
            ::kill(static_cast<pid_t>(child), SIGKILL);
    }
    QFile::remove(dir.filePath(QStringLiteral("record.jsonl")));
    RuntimePrompts::setInputHook(nullptr);
    RuntimePrompts::setWarningHook(nullptr);
    events.clear();
    eventTimes.clear();
}

ProcHandler* TestProcHandler::run(const QByteArray& scenario, const QString& password, const QString& robotId)
{
    const QString path = dir.filePath(QStringLiteral("scenario.txt"));
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(scenario) != scenario.size())
        return nullptr;
    file.close();
    qputenv("OXMEREL_SIM_SCENARIO", QFile::encodeName(path));

    handler = std::make_unique<ProcHandler>(nullptr, 2);
    ProcHandler* h = handler.get();
    h->setPassword(password);
    h->setRobotId(robotId);
    clock.start();
    const auto note = [this](const QString& event) {
        events.append(event);
        eventTimes.insert(event, clock.elapsed());
    };
    connect(h, &ProcHandler::receivedLog, this, [note](const QString& time, const QString& level, const QString& msg) {
        note(QStringLiteral("log %1|%2|%3").arg(time, level, msg));
    });
    connect(h, &ProcHandler::loggedIn, this, [note](const QString& ws) { note(QStringLiteral("loggedIn ") + ws); });
    connect(h, &ProcHandler::robotsListed, this, [note](const QList<RobotInfo*>& robots) {
        QStringList ids;
        for (RobotInfo* robot : robots)
            ids.append(robot->id + QLatin1Char('/') + robot->name);
        qDeleteAll(robots);
        note(QStringLiteral("listed [%1]").arg(ids.join(QLatin1Char(','))));
    });
    connect(h, &ProcHandler::robotSelected, this, [note](RobotInfo* robot) {
        note(QStringLiteral("selected %1/%2").arg(robot->id, robot->name));
        delete robot;
    });
    connect(h, &ProcHandler::robotConnected, this, [note](RobotInfo* robot) {
        note(robot ? QStringLiteral("connected robot") : QStringLiteral("connected null"));
    });
    connect(h, &ProcHandler::authFailed, this, [note] { note(QStringLiteral("authFailed")); });
    connect(h, &ProcHandler::onExit, this, [note](int code, QProcess::ExitStatus status) {
        note(QStringLiteral("exit %1 %2")
                 .arg(code)
                 .arg(QLatin1String(status == QProcess::NormalExit ? "normal" : "crash")));
    });
    h->start(runnerProgram(), { QStringLiteral("connect") });
    return h;
}

QList<QJsonObject> TestProcHandler::records() const
{
    QFile file(dir.filePath(QStringLiteral("record.jsonl")));
    QList<QJsonObject> result;
    if (!file.open(QIODevice::ReadOnly))
        return result;
    const QList<QByteArray> lines = file.readAll().split('\n');
    for (const QByteArray& line : lines) {
        if (!line.isEmpty())
            result.append(QJsonDocument::fromJson(line).object());
    }
    return result;
}

QStringList TestProcHandler::stdinLines() const
{
    QStringList lines;
    for (const QJsonObject& record : records()) {
        if (record.contains(QStringLiteral("stdin")))
            lines.append(record.value(QStringLiteral("stdin")).toString());
    }
    return lines;
}

qint64 TestProcHandler::recorded(const char* key) const
{
    for (const QJsonObject& record : records()) {
        if (record.contains(QLatin1String(key)))
            return record.value(QLatin1String(key)).toInteger();
    }
    return -1;
}

bool TestProcHandler::alive(qint64 pid)
{
    QFile stat(QStringLiteral("/proc/%1/stat").arg(pid));
    if (!stat.open(QIODevice::ReadOnly))
        return false;
    const QByteArray text = stat.readAll();
    const qsizetype close = text.lastIndexOf(')');
    return close > 0 && text.size() > close + 2 && text.at(close + 2) != 'Z';
}

void TestProcHandler::signalsFollowTheLinesInOrder()
{
    QTest::ignoreMessage(QtDebugMsg, QRegularExpression(QStringLiteral("^Error: disk is slow")));
    run("print {\"msg\":\"plain\",\"level\":\"info\",\"time\":\"t0\"}\n"
        "print "
        + connectedLine
        + "\n"
          "print {\"status\":\"logged_in\",\"workspace\":\"Acme\",\"msg\":\"not logged\"}\n"
          "print {\"status\":\"started\",\"msg\":\"s\"}\n"
          "print {\"status\":\"stopped\",\"msg\":\"x\"}\n"
          "print {\"status\":\"connecting\",\"level\":\"info\",\"msg\":\"c\"}\n"
          "print {\"status\":\"something_new\",\"msg\":\"n\"}\n"
          "stderr disk is slow\n"
          "sleep 100\n"
          "exit 3\n");
    QTRY_VERIFY(events.contains(QStringLiteral("exit 3 normal")));
    QCOMPARE(events,
        QStringList(
            { QStringLiteral("log t0|info|plain"), QStringLiteral("log t1|info|up"), QStringLiteral("connected null"),
                QStringLiteral("loggedIn Acme"), QStringLiteral("log ||s"), QStringLiteral("log ||x"),
                QStringLiteral("log |info|c"), QStringLiteral("log ||n"), QStringLiteral("exit 3 normal") }));
    QVERIFY(stdinLines().isEmpty());
}

void TestProcHandler::badLinesAreDroppedWhateverTheChunks()
{
    QTest::ignoreMessage(QtDebugMsg, "Document is not an object");
    // One write holding several lines, then a line split across writes inside a UTF-8 character, then listings
    // without usable items.
    run("printraw not json at all\\x0a[1,2]\\x0a{}\\x0a\\x0a{\"msg\":\"a\"}{\"msg\":\"b\"}\\x0a{\"msg\":\"only "
        "msg\"}\\x0a{\"msg\":\"caf\\xc3\n"
        "sleep 150\n"
        "printraw \\xa9\"}\\x0a{\"msg\":\"tail\n"
        "sleep 150\n"
        "print \"}\n"
        "print {\"status\":\"waiting_selection\"}\n"
        "print {\"status\":\"waiting_selection\",\"items\":{\"id\":\"r1\"}}\n"
        "print "
        "{\"status\":\"waiting_selection\",\"items\":[{\"id\":\"r1\",\"name\":\"A\"},{\"id\":\"r1\",\"name\":\"B\"}]}\n"
        "exit 0\n");
    QTRY_VERIFY(events.contains(QStringLiteral("exit 0 normal")));
    QCOMPARE(events,
        QStringList({ QStringLiteral("log ||only msg"), QStringLiteral("log ||caf\u00e9"), QStringLiteral("log ||tail"),
            QStringLiteral("listed []"), QStringLiteral("listed []"), QStringLiteral("listed [r1/A,r1/B]"),
            QStringLiteral("exit 0 normal") }));
}

void TestProcHandler::promptsAreAnsweredOnStdin()
{
    QStringList asked;
    RuntimePrompts::setInputHook([&asked](const QString& label, QString* answer) {
        asked.append(label);
        if (label == QLatin1String("Cancelled")) {
            *answer = QStringLiteral("must not be sent");
            return false;
        }
        *answer = label == QLatin1String("Empty") ? QString() : label.toLower() + QStringLiteral("-\u00e9");
        return true;
    });
    run("print {\"status\":\"waiting_input\",\"msg\":\"Password\"}\n"
        "expect\n"
        "print {\"status\":\"waiting_input\",\"msg\":\"Token\"}\n"
        "expect\n"
        "print {\"status\":\"waiting_input\",\"msg\":\"Cancelled\"}\n"
        "print {\"status\":\"waiting_input\",\"msg\":\"Empty\"}\n"
        "print {\"status\":\"waiting_input\",\"msg\":\"Last\"}\n"
        "expect\n"
        "print {\"msg\":\"got ${LAST}\"}\n"
        "exit 0\n",
        QStringLiteral("p\u00e4ss word"));
    QTRY_VERIFY(events.contains(QStringLiteral("exit 0 normal")));
    QCOMPARE(stdinLines(),
        QStringList(
            { QStringLiteral("p\u00e4ss word"), QStringLiteral("token-\u00e9"), QStringLiteral("last-\u00e9") }));
    QCOMPARE(asked,
        QStringList(
            { QStringLiteral("Token"), QStringLiteral("Cancelled"), QStringLiteral("Empty"), QStringLiteral("Last") }));
    QCOMPARE(events.first(), QStringLiteral("log ||got last-\u00e9"));
}

void TestProcHandler::emptyPasswordIsNotWritten()
{
    RuntimePrompts::setInputHook([](const QString&, QString* answer) {
        *answer = QStringLiteral("next");
        return true;
    });
    run("print {\"status\":\"waiting_input\",\"msg\":\"Password\"}\n"
        "print {\"status\":\"waiting_input\",\"msg\":\"Other\"}\n"
        "expect\n"
        "exit 0\n");
    QTRY_VERIFY(events.contains(QStringLiteral("exit 0 normal")));
    QCOMPARE(stdinLines(), QStringList({ QStringLiteral("next") }));
}

void TestProcHandler::chosenRobotAnswersTheListingAndReadingWaits()
{
    // The listing and the next line arrive in one write; the line after the answer waits for more output.
    run("printraw {\"status\":\"waiting_selection\",\"items\":[{\"id\":\"r1\",\"name\":\"One\"},"
        "{\"id\":\"r2\",\"name\":\"Two\"},{\"id\":\"r2\",\"name\":\"Two again\"}]}\\x0a{\"msg\":\"buffered\"}\\x0a\n"
        "expect\n"
        "sleep 400\n"
        "print "
            + connectedLine
            + "\n"
              "hang\n",
        QString(), QStringLiteral("r2"));
    QTRY_VERIFY(events.contains(QStringLiteral("connected null")));
    QCOMPARE(events,
        QStringList({ QStringLiteral("selected r2/Two again"), QStringLiteral("log ||buffered"),
            QStringLiteral("log t1|info|up"), QStringLiteral("connected null") }));
    QCOMPARE(stdinLines(), QStringList({ QStringLiteral("r2") }));
    QVERIFY(
        eventTimes.value(QStringLiteral("log ||buffered")) - eventTimes.value(QStringLiteral("selected r2/Two again"))
        >= 300);
}

void TestProcHandler::unknownChosenRobotListsAndReadsOn()
{
    run("printraw {\"status\":\"waiting_selection\",\"items\":[{\"id\":\"r1\",\"name\":\"One\"}]}\\x0a"
        "{\"msg\":\"next\"}\\x0a\n"
        "sleep 300\n"
        "exit 0\n",
        QString(), QStringLiteral("r9"));
    QTRY_VERIFY(events.contains(QStringLiteral("exit 0 normal")));
    QCOMPARE(events,
        QStringList(
            { QStringLiteral("listed [r1/One]"), QStringLiteral("log ||next"), QStringLiteral("exit 0 normal") }));
    QVERIFY(eventTimes.value(QStringLiteral("exit 0 normal")) - eventTimes.value(QStringLiteral("log ||next")) >= 200);
    QVERIFY(stdinLines().isEmpty());
}

void TestProcHandler::authFailureStopsReadingUntilMoreOutput()
{
    run("printraw {\"status\":\"connecting\",\"level\":\"error\",\"msg\":\"denied\"}\\x0a{\"msg\":\"second\"}\\x0a\n"
        "sleep 400\n"
        "print {\"msg\":\"third\"}\n"
        "hang\n");
    QTRY_VERIFY(events.contains(QStringLiteral("log ||third")));
    QCOMPARE(events,
        QStringList({ QStringLiteral("log |error|denied"), QStringLiteral("authFailed"), QStringLiteral("log ||second"),
            QStringLiteral("log ||third") }));
    QVERIFY(eventTimes.value(QStringLiteral("log ||second")) - eventTimes.value(QStringLiteral("authFailed")) >= 300);
}

void TestProcHandler::alreadyConnectedWarnsAndReadsOn()
{
    RuntimePrompts::setWarningHook([this](const QString& title, const QString& text) {
        events.append(QStringLiteral("warning ") + title);
        QVERIFY(text.startsWith(QStringLiteral("The robot you're attempting to connect is already connected.")));
        QVERIFY(text.endsWith(QStringLiteral("to remotely force a disconnection before trying again.")));
    });
    run("printraw "
        "{\"status\":\"already_connected\",\"level\":\"error\",\"msg\":\"busy\"}\\x0a{\"msg\":\"after\"}\\x0a\n"
        "hang\n");
    QTRY_VERIFY(events.contains(QStringLiteral("log ||after")));
    QCOMPARE(events,
        QStringList({ QStringLiteral("log |error|busy"), QStringLiteral("warning Robot Connection"),
            QStringLiteral("log ||after") }));
}

void TestProcHandler::stopEndsTheWholeTreeAndNothingElse()
{
    // A process of our own group that a careless kill (pid 0, our group) would take with it.
    QProcess bystander;
    bystander.start(QStringLiteral("sleep"), { QStringLiteral("30") });
    QVERIFY(bystander.waitForStarted());

    ProcHandler* h = run("ignore-term\nspawn-child\nprint {\"msg\":\"ready\"}\nhang\n");
    QTRY_VERIFY(events.contains(QStringLiteral("log ||ready")));
    const qint64 grandchild = recorded("child");
    const qint64 child = h->process->processId();
    QVERIFY(grandchild > 1 && alive(grandchild));
    QCOMPARE(::getpgid(static_cast<pid_t>(child)), static_cast<pid_t>(child));
    QCOMPARE(::getpgid(static_cast<pid_t>(grandchild)), static_cast<pid_t>(child));

    h->stop();
    QTRY_VERIFY(events.contains(QStringLiteral("exit 9 crash")));
    QTRY_VERIFY(!alive(grandchild));
    QVERIFY(!alive(child));

    // Stopping what has already ended reaches nothing.
    h->stop();
    h->stop();
    QTest::qWait(100);
    QCOMPARE(bystander.state(), QProcess::Running);
    bystander.kill();
    bystander.waitForFinished();
}

void TestProcHandler::childThatExitsLeavesNoGrandchild()
{
    run("spawn-child\nprint {\"msg\":\"ready\"}\nsleep 200\nexit 0\n");
    QTRY_VERIFY(events.contains(QStringLiteral("exit 0 normal")));
    const qint64 grandchild = recorded("child");
    QVERIFY(grandchild > 1);
    QTRY_VERIFY(!alive(grandchild));
}

void TestProcHandler::destroyedHandlerLeavesNoGrandchild()
{
    run("spawn-child\nprint {\"msg\":\"ready\"}\nhang\n");
    QTRY_VERIFY(events.contains(QStringLiteral("log ||ready")));
    const qint64 grandchild = recorded("child");
    QVERIFY(grandchild > 1 && alive(grandchild));
    handler.reset();
    QTRY_VERIFY(!alive(grandchild));
}

void TestProcHandler::missingProgramEmitsNothing()
{
    QProcess bystander;
    bystander.start(QStringLiteral("sleep"), { QStringLiteral("30") });
    QVERIFY(bystander.waitForStarted());

    ProcHandler h(nullptr, 1);
    QSignalSpy exits(&h, &ProcHandler::onExit);
    QSignalSpy logs(&h, &ProcHandler::receivedLog);
    h.start(QStringLiteral("oxmerel-no-such-runtime"), agentArguments(QStringLiteral("i"), QStringLiteral("w")));
    QTRY_COMPARE(h.process->state(), QProcess::NotRunning);
    h.stop();
    QTest::qWait(200);
    QVERIFY(exits.isEmpty() && logs.isEmpty());
    QCOMPARE(bystander.state(), QProcess::Running);
    bystander.kill();
    bystander.waitForFinished();
}

QTEST_GUILESS_MAIN(TestProcHandler)
#include "test_prochandler.moc"
