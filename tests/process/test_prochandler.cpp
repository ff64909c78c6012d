#include "processes.h"
#include "prochandler.h"
#include "recordtypes.h"
#include "runtimecommand.h"
#include "runtimeprompts.h"
#include "tempfiles.h"

#include <QFile>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <csignal>
#include <memory>

using namespace Qt::StringLiterals;
using testsupport::alive;
using testsupport::simulatorPids;
using testsupport::simulatorRecords;

// The handler against a real child: the runtime simulator, found on PATH under the runtime's names.
class TestProcHandler final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();
    void linesBecomeSignalsAndAnswersInOrder();
    void someLinesPauseReading_data();
    void someLinesPauseReading();
    void endlessLinesAreDropped_data();
    void endlessLinesAreDropped();
    void noProcessOutlivesTheChild_data();
    void noProcessOutlivesTheChild();
    void programThatCannotStartEmitsNothing();

private:
    ProcHandler* run(const QByteArray& scenario, const QString& robotId = {}, const QString& password = {});
    qint64 grandchild() const { return simulatorPids(record, u"child"_s).value(0); }

    QTemporaryDir dir;
    QString record;
    std::unique_ptr<ProcHandler> handler;
    // Every signal of the handler (and every warning shown), in arrival order, as text.
    QStringList events;
};

void TestProcHandler::initTestCase()
{
    registerRecordMetaTypes();
    QVERIFY(dir.isValid());
    record = testsupport::useSimulator(dir.path());
    RuntimePrompts::setWarningHook(
        [this](const QString& title, const QString&) { events.append(u"warning "_s + title); });
}

void TestProcHandler::cleanup()
{
    if (handler) {
        handler->stop();
        handler->process->waitForFinished(5000);
    }
    handler.reset();
    if (const qint64 spawned = grandchild(); alive(spawned))
        ::kill(static_cast<pid_t>(spawned), SIGKILL);
    QFile::remove(record);
    RuntimePrompts::setInputHook(nullptr);
    events.clear();
}

void TestProcHandler::linesBecomeSignalsAndAnswersInOrder()
{
    QStringList asked;
    RuntimePrompts::setInputHook([&asked](const QString& label, QString* answer) {
        asked.append(label);
        *answer = label == "Empty"_L1 ? QString() : label.toLower().append(u"-\u00e9"_s);
        return label != "Cancelled"_L1;
    });
    QTest::ignoreMessage(QtDebugMsg, "Document is not an object");
    QTest::ignoreMessage(QtDebugMsg, QRegularExpression(u"^Error: disk is slow"_s));
    // A listing of about 10 KB in one line, longer than any single read.
    QByteArray items;
    QStringList robots;
    for (int n = 1; n <= 100; ++n) {
        items += R"({"id":"r)" + QByteArray::number(n) + R"(","name":")" + QByteArray(80, 'n') + R"("},)";
        robots.append(u"r%1/"_s.arg(n) + QString(80, 'n'_L1));
    }
    items.chop(1);
    // Prompts and statuses, then one write holding several lines, a line split across writes inside a UTF-8
    // character, an invalid byte, and a listing with odd items (values of odd types are left to the fuzz harness).
    run(R"(print {"msg":"plain","level":"info","time":"t0"}
print {"status":"waiting_input","msg":"Password"}
print {"status":"waiting_input","msg":"Token"}
print {"status":"waiting_input","msg":"Cancelled"}
print {"status":"waiting_input","msg":"Empty"}
print {"status":"waiting_input","msg":"Last"}
print {"status":"connected","level":"info","msg":"up","time":"t1"}
print {"status":"logged_in","workspace":"Acme","msg":"not logged"}
print {"status":"started","msg":"s"}
print {"status":"connecting","level":"info","msg":"c"}
print {"status":"something_new","msg":"n"}
stderr disk is slow
printraw not json\x0a[1,2]\x0a{}\x0a\x0a{"msg":"a"}{"msg":"b"}\x0a{"msg":"only msg"}\x0a{"msg":"caf\xc3
sleep 150
printraw \xa9"}\x0a{"msg":"tail
sleep 150
print "}
print {"msg":"a\xffb"}
print {"status":"waiting_selection","items":[{"id":"r1","name":"A"},"not an object",{"id":"r1","name":"B"}]}
print {"status":"waiting_selection","items":[)"
            + items + "]}\nprint {\"msg\":\"end\"}\nhang\n",
        {}, u"p\u00e4ss word"_s);
    QTRY_VERIFY(events.contains(u"log ||end"_s));
    // Ends the simulator once it has recorded everything written so far.
    handler->process->closeWriteChannel();
    QTRY_VERIFY(events.contains(u"exit 0 normal"_s));
    // The invalid byte becomes a replacement character; the line itself is kept.
    const QString invalid = u"log ||"_s + QString::fromLocal8Bit("a\377b");
    const QString listing = u"listed ["_s + robots.join(','_L1) + ']'_L1;
    QCOMPARE(events,
        QStringList({ u"log t0|info|plain"_s, u"log t1|info|up"_s, u"connected null"_s, u"loggedIn Acme"_s,
            u"log ||s"_s, u"log |info|c"_s, u"log ||n"_s, u"log ||only msg"_s, u"log ||caf\u00e9"_s, u"log ||tail"_s,
            invalid, u"listed [r1/A,/,r1/B]"_s, listing, u"log ||end"_s, u"exit 0 normal"_s }));
    QCOMPARE(simulatorRecords(record, u"stdin"_s),
        QStringList({ u"p\u00e4ss word"_s, u"token-\u00e9"_s, u"last-\u00e9"_s }));
    QCOMPARE(asked, QStringList({ u"Token"_s, u"Cancelled"_s, u"Empty"_s, u"Last"_s }));
}

void TestProcHandler::someLinesPauseReading_data()
{
    QTest::addColumn<QByteArray>("first");
    QTest::addColumn<QString>("robotId");
    QTest::addColumn<QStringList>("firstEvents");
    QTest::addColumn<QStringList>("answers");
    QTest::addColumn<bool>("paused");
    const QByteArray listing
        = R"({"status":"waiting_selection","items":[{"id":"r2","name":"A"},{"id":"r2","name":"B"}]})";
    QTest::newRow("sign-in refused") << QByteArray(R"({"status":"connecting","level":"error","msg":"no"})") << QString()
                                     << QStringList { u"log |error|no"_s, u"authFailed"_s } << QStringList() << true;
    // With repeated ids the last one listed is chosen.
    QTest::newRow("chosen robot listed") << listing << u"r2"_s << QStringList { u"selected r2/B"_s }
                                         << QStringList { u"r2"_s } << true;
    QTest::newRow("chosen robot missing")
        << listing << u"r9"_s << QStringList { u"listed [r2/A,r2/B]"_s } << QStringList() << false;
    QTest::newRow("already connected") << QByteArray(R"({"status":"already_connected","level":"error","msg":"busy"})")
                                       << QString()
                                       << QStringList { u"log |error|busy"_s, u"warning Robot Connection"_s }
                                       << QStringList() << false;
}

void TestProcHandler::someLinesPauseReading()
{
    QFETCH(QByteArray, first);
    QFETCH(QString, robotId);
    QFETCH(QStringList, firstEvents);
    QFETCH(QStringList, answers);
    QFETCH(bool, paused);
    // No password is set, so the prompt gets no answer. The next two lines come in one write: a reader that goes
    // on reads the second at once. The third comes 1.5 s later, after the answer when one is due: long enough that a
    // busy machine does not read it together with the others, where a paused reader would leave it unread.
    QByteArray scenario = "print {\"status\":\"waiting_input\",\"msg\":\"Password\"}\nprintraw " + first
        + R"(\x0a{"msg":"second"}\x0a)" + '\n';
    if (!answers.isEmpty())
        scenario += "expect\n";
    scenario += "sleep 1500\nprint {\"msg\":\"third\"}\nhang\n";
    run(scenario, robotId);
    QTRY_VERIFY(events.contains(firstEvents.last()));
    QCOMPARE(events.contains(u"log ||second"_s), !paused);
    QTRY_VERIFY(events.contains(u"log ||third"_s));
    handler->process->closeWriteChannel();
    QTRY_VERIFY(events.contains(u"exit 0 normal"_s));
    QCOMPARE(events, firstEvents + QStringList({ u"log ||second"_s, u"log ||third"_s, u"exit 0 normal"_s }));
    QCOMPARE(simulatorRecords(record, u"stdin"_s), answers);
}

void TestProcHandler::endlessLinesAreDropped_data()
{
    QTest::addColumn<int>("bytes");
    QTest::addColumn<QStringList>("expected");
    const QString next = u"log ||next"_s;
    QTest::newRow("within the bound") << (7 << 20) << QStringList { u"log ||7340032 x"_s, next };
    QTest::newRow("past the bound")
        << (20 << 20)
        << QStringList { u"log now|warn|An output line of the robot was longer than 8 MiB; it was dropped."_s, next };
}

// A line that never ends must not take the program's memory: past the bound it is dropped, with one warning, up to
// its end; the line after it is read as usual.
void TestProcHandler::endlessLinesAreDropped()
{
    QFETCH(int, bytes);
    QFETCH(QStringList, expected);
    run("printraw {\"msg\":\"\nstream " + QByteArray::number(bytes)
        + "\nprintraw \"}\\x0a{\"msg\":\"next\"}\\x0a\nhang\n");
    QTRY_VERIFY_WITH_TIMEOUT(events.contains(u"log ||next"_s), 30000);
    for (QString& event : events) {
        event.replace(QRegularExpression(u"^log [^|]+\\|warn\\|"_s), u"log now|warn|"_s);
        event.replace(QRegularExpression(u"x{1000,}"_s), u"%1 x"_s.arg(bytes));
    }
    QCOMPARE(events, expected);
}

void TestProcHandler::noProcessOutlivesTheChild_data()
{
    QTest::addColumn<QString>("end");
    QTest::newRow("stopped") << u"stop"_s;
    QTest::newRow("exited") << u"exit"_s;
    QTest::newRow("handler destroyed") << u"destroy"_s;
}

// A kill that reached our own process group would end this test.
void TestProcHandler::noProcessOutlivesTheChild()
{
    QFETCH(QString, end);
    ProcHandler* h = run("ignore-term\nspawn-child\nprint {\"msg\":\"ready\"}\nexpect\nexit 3\n");
    QTRY_VERIFY(events.contains(u"log ||ready"_s));
    const qint64 spawned = grandchild();
    QVERIFY(alive(spawned));
    if (end == "destroy"_L1) {
        handler.reset();
    } else if (end == "exit"_L1) {
        h->process->write("go\n");
        QTRY_VERIFY(events.contains(u"exit 3 normal"_s));
    } else {
        h->stop();
        QTRY_VERIFY(events.contains(u"exit 9 crash"_s));
    }
    QTRY_VERIFY(!alive(spawned));
    // Stopping a child that has ended reaches nothing.
    if (handler)
        handler->stop();
}

void TestProcHandler::programThatCannotStartEmitsNothing()
{
    ProcHandler missing(nullptr, 1);
    QSignalSpy exits(&missing, &ProcHandler::onExit);
    missing.start(u"oxmerel-no-such-runtime"_s, {});
    QTRY_COMPARE(missing.process->state(), QProcess::NotRunning);
    missing.stop();
    QTest::qWait(200);
    QVERIFY(exits.isEmpty());
}

ProcHandler* TestProcHandler::run(const QByteArray& scenario, const QString& robotId, const QString& password)
{
    const QString path = dir.filePath(u"scenario.txt"_s);
    testsupport::writeFile(path, scenario);
    qputenv("OXMEREL_SIM_SCENARIO", QFile::encodeName(path));
    handler = std::make_unique<ProcHandler>(nullptr, 2);
    ProcHandler* h = handler.get();
    h->setPassword(password);
    h->setRobotId(robotId);
    const auto robotText = [](const RobotInfo* robot) -> QString { return robot->id + '/'_L1 + robot->name; };
    connect(h, &ProcHandler::receivedLog, this, [this](const QString& time, const QString& level, const QString& msg) {
        events.append(u"log %1|%2|%3"_s.arg(time, level, msg));
    });
    connect(h, &ProcHandler::loggedIn, this, [this](const QString& ws) { events.append(u"loggedIn "_s + ws); });
    connect(h, &ProcHandler::robotsListed, this, [this, robotText](const QList<RobotInfo*>& robots) {
        QStringList texts;
        std::transform(robots.cbegin(), robots.cend(), std::back_inserter(texts), robotText);
        events.append(u"listed ["_s + texts.join(','_L1) + ']'_L1);
    });
    connect(h, &ProcHandler::robotSelected, this,
        [this, robotText](RobotInfo* robot) { events.append(u"selected "_s + robotText(robot)); });
    connect(h, &ProcHandler::robotConnected, this,
        [this](RobotInfo* robot) { events.append(robot ? u"connected robot"_s : u"connected null"_s); });
    connect(h, &ProcHandler::authFailed, this, [this] { events.append(u"authFailed"_s); });
    connect(h, &ProcHandler::onExit, this, [this](int code, QProcess::ExitStatus status) {
        events.append(u"exit %1 %2"_s.arg(code).arg(status == QProcess::NormalExit ? "normal"_L1 : "crash"_L1));
    });
    h->start(runnerProgram(), {});
    return h;
}

QTEST_GUILESS_MAIN(TestProcHandler)
#include "test_prochandler.moc"
