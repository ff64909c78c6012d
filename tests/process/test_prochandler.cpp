#include "processes.h"
#include "prochandler.h"
#include "recordtypes.h"
#include "runtimecommand.h"
#include "runtimeprompts.h"
#include "tempfiles.h"

#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

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

    QTemporaryDir dir;
    QString record;
    std::unique_ptr<ProcHandler> handler;
    // Every signal of the handler (and every warning shown), in arrival order, as text.
    QStringList events;

    qint64 grandchild() const { return simulatorPids(record, u"child"_s).value(0); }

    ProcHandler* run(const QByteArray& scenario, const QString& password = {})
    {
        const QString path = dir.filePath(u"scenario.txt"_s);
        testsupport::writeFile(path, scenario);
        qputenv("OXMEREL_SIM_SCENARIO", QFile::encodeName(path));
        handler = std::make_unique<ProcHandler>(nullptr, 2);
        ProcHandler* h = handler.get();
        h->setPassword(password);
        connect(
            h, &ProcHandler::receivedLog, this, [this](const QString& time, const QString& level, const QString& text) {
                events.append(u"log %1|%2|%3"_s.arg(time, level, text));
            });
        connect(h, &ProcHandler::loggedIn, this, [this](const QString& ws) { events.append(u"loggedIn "_s + ws); });
        connect(h, &ProcHandler::robotsListed, this, [this](const QList<RobotInfo*>& robots) {
            QStringList texts;
            for (const RobotInfo* robot : robots)
                texts.append(robot->id + '/'_L1 + robot->name);
            events.append(u"listed ["_s + texts.join(','_L1) + ']'_L1);
        });
        connect(h, &ProcHandler::robotConnected, this,
            [this](RobotInfo* robot) { events.append(robot ? u"connected robot"_s : u"connected null"_s); });
        connect(h, &ProcHandler::authFailed, this, [this] { events.append(u"authFailed"_s); });
        connect(h, &ProcHandler::onExit, this, [this](int code, QProcess::ExitStatus status) {
            events.append(u"exit %1 %2"_s.arg(code).arg(status == QProcess::NormalExit ? "normal"_L1 : "crash"_L1));
        });
        h->start(runnerProgram(), {});
        return h;
    }

private slots:
    void initTestCase()
    {
        registerRecordMetaTypes();
        record = testsupport::useSimulator(dir.path());
        RuntimePrompts::setWarningHook(
            [this](const QString& title, const QString&) { events.append(u"warning "_s + title); });
    }

    void cleanup()
    {
        if (handler) {
            handler->stop();
            handler->process->waitForFinished(5000);
        }
        handler.reset();
        if (const qint64 spawned = grandchild(); alive(spawned))
            ::kill(static_cast<pid_t>(spawned), SIGKILL);
        QFile::remove(record);
        events.clear();
    }

    void linesBecomeSignalsAndAnswersInOrder()
    {
        // Statuses, one write holding several lines, a line split across writes inside a UTF-8 character, an invalid
        // byte, a line within the bound and one past it (dropped with one warning up to its end, so that a line that
        // never ends cannot take the program's memory), a listing with an odd item (values of odd types are left to the
        // fuzz harness), and a refused sign-in last: reading stops after it.
        run(R"(print {"msg":"plain","level":"info","time":"t0"}
print {"status":"waiting_input","msg":"Password"}
print {"status":"connected","level":"info","msg":"up","time":"t1"}
print {"status":"logged_in","workspace":"Acme","msg":"not logged"}
print {"status":"started","msg":"s"}
print {"status":"connecting","level":"info","msg":"c"}
print {"status":"something_new","msg":"n"}
print {"status":"already_connected","level":"error","msg":"busy"}
printraw not json\x0a[1,2]\x0a{}\x0a\x0a{"msg":"a"}{"msg":"b"}\x0a{"msg":"only msg"}\x0a{"msg":"caf\xc3
sleep 150
printraw \xa9"}\x0a{"msg":"tail
sleep 150
print "}
print {"msg":"a\xffb"}
printraw {"msg":"
stream 7340032
print "}
printraw {"msg":"
stream 20971520
print "}
print {"status":"waiting_selection","items":[{"id":"r1","name":"A"},"not an object",{"id":"r1","name":"B"}]}
print {"status":"connecting","level":"error","msg":"no"}
hang
)",
            u"p\u00e4ss word"_s);
        QTRY_VERIFY_WITH_TIMEOUT(events.contains(u"authFailed"_s), 30000);
        // Ends the simulator once it has recorded everything written so far.
        handler->process->closeWriteChannel();
        QTRY_VERIFY(events.contains(u"exit 0 normal"_s));
        for (QString& event : events) {
            event.replace(QRegularExpression(u"^log [^|]+\\|warn\\|"_s), u"log now|warn|"_s);
            if (event.endsWith(u"xxx"_s))
                event = u"log ||%1 x"_s.arg(event.count(u'x'));
        }
        // The invalid byte becomes a replacement character; the line itself is kept.
        const QString invalid = u"log ||"_s + QString::fromLocal8Bit("a\377b");
        QCOMPARE(events,
            QStringList({ u"log t0|info|plain"_s, u"log t1|info|up"_s, u"connected null"_s, u"loggedIn Acme"_s,
                u"log ||s"_s, u"log |info|c"_s, u"log ||n"_s, u"log |error|busy"_s, u"warning Robot Connection"_s,
                u"log ||only msg"_s, u"log ||caf\u00e9"_s, u"log ||tail"_s, invalid, u"log ||7340032 x"_s,
                u"log now|warn|An output line of the robot was longer than 8 MiB; it was dropped."_s,
                u"listed [r1/A,/,r1/B]"_s, u"log |error|no"_s, u"authFailed"_s, u"exit 0 normal"_s }));
        QCOMPARE(simulatorRecords(record, u"stdin"_s), QStringList({ u"p\u00e4ss word"_s }));
    }

    void noProcessOutlivesTheChild_data()
    {
        QTest::addColumn<QString>("end");
        QTest::newRow("stopped") << u"stop"_s;
        QTest::newRow("exited") << u"exit"_s;
        QTest::newRow("handler destroyed") << u"destroy"_s;
    }

    // A kill that reached our own process group would end this test.
    void noProcessOutlivesTheChild()
    {
        QFETCH(QString, end);
        ProcHandler* h = run("ignore-term\nspawn-child\nprint {\"msg\":\"ready\"}\nexpect\nexit 3\n");
        QTRY_VERIFY(events.contains(u"log ||ready"_s));
        const qint64 spawned = grandchild();
        QVERIFY(alive(spawned));
        if (end == "destroy"_L1) {
            // The child is reaped before its process object goes, which would otherwise end it and warn.
            QTest::failOnWarning(QRegularExpression(u"Destroyed while process"_s));
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
};

QTEST_GUILESS_MAIN(TestProcHandler)
#include "test_prochandler.moc"
