// Robot connection control end to end against the runtime simulator: connecting from the row, the runtime exiting on
// its own, lock mode and the robot options.
#include "credentialsstore.h"
#include "paths.h"
#include "qloadingbutton.h"
#include "simrig.h"
#include "treeitem.h"
#include "treewidget.h"
#include "yamlconvert.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QFile>
#include <QFileInfo>
#include <QPlainTextEdit>
#include <QTest>

namespace {

const QString r1 = QStringLiteral("r1");

QString lockFile(const QString& id)
{
    return robotLocksDir() + QStringLiteral("/") + id + QStringLiteral(".lock");
}

bool isConnected(Workspace* ws, const QString& id)
{
    const Session* s = ws->sessions.value(id);
    return s && s->connected;
}

void verifyIdleRow(Workspace* ws, const QString& id)
{
    TreeItem* row = SimRig::rowOf(ws, id);
    QVERIFY(!ws->sessions.contains(id));
    QCOMPARE(row->nameLabel->property("connected").toBool(), false);
    QCOMPARE(row->nameLabel->palette().color(QPalette::WindowText), QColor(0x8e9297));
    QCOMPARE(SimRig::rowItem(ws, id)->foreground(0).color(), QColor(0xFF0000));
    QVERIFY(row->connectAct->isEnabled() && !row->disconnectAct->isEnabled());
}

} // namespace

class TestRobots final : public QObject
{
    Q_OBJECT

private slots:
    void init() { rig = std::make_unique<SimRig>(); }
    void cleanup() { rig.reset(); }
    void connectFromTheRowThenDisconnect();
    void reconnectingKeepsOnePagePerRobot();
    void robotWhoseRuntimeExitsEndsIdleAndForgotten();
    void lockingAnIdleRobotAsksNothing();
    void lockingAConnectedRobotAsksAndRestarts();
    void optionsCountFromTheNextConnect();

private:
    QStringList runnerArgv(int index) const
    {
        return SimRig::argvOf(rig->starts(QStringLiteral("oxmerel-runner")).value(index));
    }

    std::unique_ptr<SimRig> rig;
};

void TestRobots::connectFromTheRowThenDisconnect()
{
    Workspace* ws = rig->signIn();
    QVERIFY(ws);
    TreeItem* row = SimRig::rowOf(ws, r1);
    row->connectAct->trigger();
    QTRY_VERIFY(isConnected(ws, r1));
    Session* s = ws->sessions.value(r1);
    const qint64 runner = SimRig::pidOf(rig->starts(QStringLiteral("oxmerel-runner")).at(1));
    QCOMPARE(rig->stdinOf(runner), QStringList({ testPassword, r1 }));
    QCOMPARE(ws->robots, QStringList({ r1 }));

    // Connected: white name, the connected menu, its log page on screen with the runtime's lines.
    QCOMPARE(row->nameLabel->palette().color(QPalette::WindowText), QColor(0xffffff));
    QVERIFY(!row->connectAct->isEnabled() && row->disconnectAct->isEnabled() && row->clearAct->isEnabled());
    QCOMPARE(rig->probe().shownPage(), s->page);
    QVERIFY(s->logView->isVisible());
    QTRY_COMPARE(s->logView->toPlainText(), QStringLiteral("10:00:00 INFO connected r1"));

    row->disconnectAct->trigger();
    verifyIdleRow(ws, r1);
    QTRY_VERIFY(!SimRig::alive(runner));
}

void TestRobots::reconnectingKeepsOnePagePerRobot()
{
    Workspace* ws = rig->signIn();
    QVERIFY(ws);
    TreeItem* row = SimRig::rowOf(ws, r1);
    for (int i = 0; i < 3; ++i) {
        row->connectAct->trigger();
        QTRY_VERIFY(isConnected(ws, r1));
        row->disconnectAct->trigger();
        SimRig::openRobot(ws, QStringLiteral("r2"));
    }
    // The sign-in page, r2's page and r1's last page; the pages of earlier connections are gone.
    QTRY_COMPARE(rig->dialog()->findChildren<QPlainTextEdit*>().size(), 3);
}

void TestRobots::robotWhoseRuntimeExitsEndsIdleAndForgotten()
{
    // The first entry remembers r1; the second keeps robots and vault secrets that the rewrite must not lose.
    SimRig::writeCredentials(QStringLiteral("credentials:\n"
                                            "  acme.oxmerel.cloud:\n"
                                            "    identity: ann@acme.example\n"
                                            "    password: czNjcmV0LXB3\n"
                                            "    robots: [r1]\n"
                                            "  beta.oxmerel.cloud:\n"
                                            "    identity: bob@beta.example\n"
                                            "    password: czNjcmV0LXB3\n"
                                            "    robots: [r1]\n"
                                            "    vaults: {v1: kept-secret}\n"));
    rig->useScenario(signInScenario(QStringLiteral("sleep 1500\nexit 3")));
    ConnectDialogProbe& probe = rig->open();
    Workspace* ws = probe.workspaces().first();
    probe.selectWorkspace(ws);
    QTest::mouseClick(ws->sessions.value(QString())->signInButton, Qt::LeftButton);

    QTRY_VERIFY(isConnected(ws, r1));
    QTRY_VERIFY(!ws->sessions.contains(r1));
    verifyIdleRow(ws, r1);
    QVERIFY(ws->robots.isEmpty());
    const YAML::Node entries = loadCredentials()["credentials"];
    QCOMPARE(entries[testWorkspace]["robots"].as<QStringList>(), QStringList());
    QCOMPARE(entries[QStringLiteral("beta.oxmerel.cloud")]["robots"].as<QStringList>(), QStringList({ r1 }));
    QCOMPARE(
        entries[QStringLiteral("beta.oxmerel.cloud")]["vaults"]["v1"].as<QString>(), QStringLiteral("kept-secret"));
}

void TestRobots::lockingAnIdleRobotAsksNothing()
{
    Workspace* ws = rig->signIn();
    QVERIFY(ws);
    SimRig::openRobot(ws, r1);
    TreeItem* row = SimRig::rowOf(ws, r1);

    row->lockAct->trigger();
    QVERIFY(QFile::exists(lockFile(r1)));
    QCOMPARE(QFileInfo(lockFile(r1)).size(), 0);
    QVERIFY(!row->lockLabel->isHidden());
    QVERIFY(!QApplication::activeModalWidget());

    // Unlocking deletes the file, and is harmless when the file is already gone.
    QFile::remove(lockFile(r1));
    row->lockAct->trigger();
    QVERIFY(!QFile::exists(lockFile(r1)));
    QVERIFY(row->lockLabel->isHidden());
}

void TestRobots::lockingAConnectedRobotAsksAndRestarts()
{
    Workspace* ws = rig->signIn();
    QVERIFY(ws);
    TreeItem* row = SimRig::rowOf(ws, r1);
    row->connectAct->trigger();
    QTRY_VERIFY(isConnected(ws, r1));
    const qint64 firstRunner = SimRig::pidOf(rig->starts(QStringLiteral("oxmerel-runner")).at(1));

    row->lockAct->trigger();
    QTRY_VERIFY(SimRig::modalTexts().contains(
        QStringLiteral("The robot has to be restarted in order to enable lock mode. Do you want to restart now?")));
    QVERIFY(SimRig::modalTexts().contains(QStringLiteral("Lock Mode")));
    QVERIFY(QFile::exists(lockFile(r1)));
    QVERIFY(row->lockLabel->isHidden());
    QVERIFY(SimRig::clickModalButton(QStringLiteral("Yes")));
    QTRY_COMPARE(rig->starts(QStringLiteral("oxmerel-runner")).size(), 3);
    QVERIFY(runnerArgv(2).contains(QStringLiteral("--lock")));
    QVERIFY(!runnerArgv(1).contains(QStringLiteral("--lock")));
    QTRY_VERIFY(!SimRig::alive(firstRunner));
    QTRY_VERIFY(isConnected(ws, r1));
    QVERIFY(!row->lockLabel->isHidden());

    // "No" leaves the file changed and the running robot as it is.
    row->lockAct->trigger();
    QTRY_VERIFY(SimRig::modalTexts().contains(
        QStringLiteral("The robot has to be restarted in order to disable lock mode. Do you want to restart now?")));
    QVERIFY(SimRig::clickModalButton(QStringLiteral("No")));
    QTest::qWait(200);
    QVERIFY(!QFile::exists(lockFile(r1)));
    QCOMPARE(rig->starts(QStringLiteral("oxmerel-runner")).size(), 3);
    QVERIFY(isConnected(ws, r1));
}

void TestRobots::optionsCountFromTheNextConnect()
{
    Workspace* ws = rig->signIn();
    QVERIFY(ws);
    Session* s = SimRig::openRobot(ws, r1);
    QVERIFY(s->sendCrashDumpBox->isVisible() && s->sendCrashDumpBox->isChecked());
    QVERIFY(!s->noDesignerAttachBox->isChecked());
    QTest::mouseClick(s->sendCrashDumpBox, Qt::LeftButton);
    QTest::mouseClick(s->noDesignerAttachBox, Qt::LeftButton);
    QCOMPARE(rig->starts(QStringLiteral("oxmerel-runner")).size(), 1);

    SimRig::rowOf(ws, r1)->connectAct->trigger();
    QTRY_VERIFY(isConnected(ws, r1));
    QCOMPARE(runnerArgv(1).mid(6), QStringList({ QStringLiteral("--remember"), QStringLiteral("-n") }));

    // While connected a change starts nothing and stops nothing.
    QTest::mouseClick(s->sendCrashDumpBox, Qt::LeftButton);
    QVERIFY(s->sendCrashDump);
    QTest::qWait(200);
    QCOMPARE(rig->starts(QStringLiteral("oxmerel-runner")).size(), 2);
    QVERIFY(isConnected(ws, r1));
}

QTEST_MAIN(TestRobots)
#include "test_robots.moc"
