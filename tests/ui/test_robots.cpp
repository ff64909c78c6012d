// Robots end to end against the runtime simulator: connection control from the row with the robot options, the
// runtime exiting on its own, lock mode, and the log view's long lines and unread badges.
#include "credentialsstore.h"
#include "logline.h"
#include "prochandler.h"
#include "simrig.h"
#include "yamlconvert.h"

#include <QCheckBox>
#include <QDesktopServices>
#include <QDir>
#include <QFile>
#include <QPointer>
#include <QUrl>

namespace {

const QString r1 = QStringLiteral("r1");
const QString r2 = QStringLiteral("r2");

void verifyIdleRow(Workspace* ws)
{
    TreeItem* row = rowOf(ws, r1);
    QVERIFY(!ws->sessions.contains(r1));
    QCOMPARE(row->nameLabel->palette().color(QPalette::WindowText), QColor(0x8e9297));
    QCOMPARE(rowItem(ws, r1)->foreground(0).color(), QColor(0xFF0000));
    QVERIFY(row->connectAct->isEnabled() && !row->disconnectAct->isEnabled());
}

} // namespace

class TestRobots final : public QObject
{
    Q_OBJECT

public slots:
    // Catches what the window asks the desktop to open.
    void openUrl(const QUrl& url) { openedUrls.append(url); }

private slots:
    void init() { rig = std::make_unique<SimRig>(); }
    void cleanup() { rig.reset(); }
    void connectLockAndDisconnectFromTheRows();
    void robotWhoseRuntimeExitsEndsIdleAndForgotten();
    void longLinesAreCutWithTheirLength_data();
    void longLinesAreCutWithTheirLength();
    void badgesCountUnseenLines();

private:
    std::unique_ptr<SimRig> rig;
    QList<QUrl> openedUrls;
};

void TestRobots::connectLockAndDisconnectFromTheRows()
{
    Workspace* ws = rig->signIn();
    QVERIFY(ws);
    // Lock mode on an idle robot only marks it.
    openRobot(ws, r2);
    rowOf(ws, r2)->lockAct->trigger();
    QVERIFY(QFile::exists(robotLocksDir() + QStringLiteral("/r2.lock")));
    QVERIFY(!rowOf(ws, r2)->lockLabel->isHidden());
    QVERIFY(!QApplication::activeModalWidget());

    Session* s = openRobot(ws, r1);
    // The options are read when the runtime starts; they live with the connection, so a restart starts afresh.
    QTest::mouseClick(s->sendCrashDumpBox, Qt::LeftButton);
    QTest::mouseClick(s->noDesignerAttachBox, Qt::LeftButton);
    TreeItem* row = rowOf(ws, r1);
    row->connectAct->trigger();
    QTRY_VERIFY(isConnected(ws, r1));
    const qint64 firstRunner = rig->runners().at(1).pid;
    QCOMPARE(rig->runners().at(1).argv.mid(6), QStringList({ QStringLiteral("--remember"), QStringLiteral("-n") }));
    QCOMPARE(row->nameLabel->palette().color(QPalette::WindowText), QColor(0xffffff));

    // Lock mode on a connected robot asks, then restarts its runtime.
    row->lockAct->trigger();
    QVERIFY(answerModal(QStringLiteral("Yes")).contains(QStringLiteral("Do you want to restart now?")));
    QTRY_COMPARE(rig->runners().size(), 3);
    QCOMPARE(rig->runners().at(2).argv.mid(6),
        QStringList({ QStringLiteral("--remember"), QStringLiteral("--lock"), QStringLiteral("-s") }));
    QTRY_VERIFY(!alive(firstRunner));
    QTRY_VERIFY(isConnected(ws, r1));

    const qint64 runner = rig->runners().at(2).pid;
    const QPointer<ProcHandler> handler = ws->sessions.value(r1)->runner;
    row->disconnectAct->trigger();
    verifyIdleRow(ws);
    QTRY_VERIFY(!alive(runner));
    // Freed with its connection, although the robot's page is still on screen.
    QTRY_VERIFY(!handler);
    QCOMPARE(rig->runners().size(), 3);

    // The session is gone, but "Logs" still opens the folder named by the workspace's and the robot's names.
    QDesktopServices::setUrlHandler(QStringLiteral("file"), this, "openUrl");
    row->logsAct->trigger();
    QDesktopServices::unsetUrlHandler(QStringLiteral("file"));
    const QString folder = QDir::homePath() + QStringLiteral("/AppData/Local/Oxmerel/logs/Acme/Invoices");
    QCOMPARE(openedUrls, QList<QUrl>({ QUrl::fromLocalFile(folder) }));
}

void TestRobots::robotWhoseRuntimeExitsEndsIdleAndForgotten()
{
    rig->useScenario(signInScenario(QStringLiteral("sleep 3000\nexit 3")));
    Workspace* ws = rig->signIn(QStringLiteral("[r1]"));
    QVERIFY(ws);
    QTRY_VERIFY(isConnected(ws, r1));
    QTRY_VERIFY(!ws->sessions.contains(r1));
    verifyIdleRow(ws);
    // Only this robot leaves the file; the other entry keeps its own.
    const YAML::Node entries = loadCredentials()["credentials"];
    QCOMPARE(entries[testWorkspace]["robots"].as<QStringList>(), QStringList());
    QCOMPARE(entries[QStringLiteral("globex.oxmerel.cloud")]["robots"].as<QStringList>(), QStringList({ r1 }));
}

void TestRobots::longLinesAreCutWithTheirLength_data()
{
    QTest::addColumn<QString>("msg");
    QTest::addColumn<QString>("shown");
    const QString prefix = QStringLiteral("t INFO ");
    const QString fits(LogLine::maximumLength - prefix.size(), QLatin1Char('x'));
    QTest::newRow("fits") << fits << prefix + fits;
    QTest::newRow("one over") << fits + QLatin1Char('y')
                              << prefix + fits + QStringLiteral("\u2026 [cut from 16385 characters]");
    // The cut falls inside a surrogate pair: the whole pair goes.
    const QString pair = fits.chopped(1) + QStringLiteral("\U0001F600z");
    QTest::newRow("surrogate pair") << pair
                                    << prefix + fits.chopped(1) + QStringLiteral("\u2026 [cut from 16386 characters]");
}

// Laying out one huge wrapped line would freeze the window.
void TestRobots::longLinesAreCutWithTheirLength()
{
    QFETCH(QString, msg);
    QFETCH(QString, shown);
    rig->list({ r1 });
    Session* s = rig->showLog(r1);
    rig->logLine(s, msg);
    QTRY_COMPARE(s->logView->document()->firstBlock().text(), shown);
    QCOMPARE(s->logView->blockCount(), 1);
}

void TestRobots::badgesCountUnseenLines()
{
    Workspace* ws = rig->list({ r1 });
    Session* viewed = rig->showLog(r1);
    TreeItem* row = rowOf(ws, r1);

    // In a workspace that is not current, the badge sums the rows before the new line is counted: one line behind.
    rig->addConnect();
    rig->logLine(viewed, QStringLiteral("one"));
    QCOMPARE(ws->badge->text(), QStringLiteral("0"));
    QVERIFY(!ws->badge->isHidden());
    QCOMPARE(row->badgeLabel->text(), QStringLiteral("1"));
    rig->logLine(viewed, QStringLiteral("two"));
    QCOMPARE(ws->badge->text(), QStringLiteral("1"));
    QCOMPARE(row->badgeLabel->text(), QStringLiteral("2"));
    rig->selectWorkspace(ws);
    QVERIFY(ws->badge->isHidden());
}

QTEST_MAIN(TestRobots)
#include "test_robots.moc"
