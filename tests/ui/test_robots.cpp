// Robot connection control end to end against the runtime simulator: connecting from the row, the runtime exiting on
// its own, lock mode, the robot options and quitting with robots running.
#include "connectdialog.h"
#include "connectdialogprobe.h"
#include "credentialsstore.h"
#include "paths.h"
#include "qloadingbutton.h"
#include "recordtypes.h"
#include "simrig.h"
#include "treeitem.h"
#include "treewidget.h"
#include "yamlconvert.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QTest>

#include <memory>

namespace {

const QString workspaceHost = QStringLiteral("acme.oxmerel.cloud");
const QString identity = QStringLiteral("ann@acme.example");
const QString password = QStringLiteral("s3cret-pw");

// Two entries; the first remembers r1, the second carries vault secrets that no rewrite may lose.
const QString twoEntries = QStringLiteral("credentials:\n"
                                          "  acme.oxmerel.cloud:\n"
                                          "    identity: ann@acme.example\n"
                                          "    password: czNjcmV0LXB3\n"
                                          "    robots:\n"
                                          "      - r1\n"
                                          "  beta.oxmerel.cloud:\n"
                                          "    identity: bob@beta.example\n"
                                          "    password: czNjcmV0LXB3\n"
                                          "    robots:\n"
                                          "      - r1\n"
                                          "    vaults:\n"
                                          "      v1: kept-secret\n");

QTreeWidgetItem* rowItem(Workspace* ws, const QString& id)
{
    QTreeWidgetItem* root = ws->tree->topLevelItem(0);
    for (int i = 0; i < root->childCount(); ++i) {
        if (root->child(i)->data(0, Qt::UserRole).toString() == id)
            return root->child(i);
    }
    return nullptr;
}

TreeItem* rowOf(Workspace* ws, const QString& id)
{
    QTreeWidgetItem* item = rowItem(ws, id);
    return item ? qobject_cast<TreeItem*>(ws->tree->itemWidget(item, 0)) : nullptr;
}

QString lockFile(const QString& id)
{
    return robotLocksDir() + QStringLiteral("/") + id + QStringLiteral(".lock");
}

bool isConnected(Workspace* ws, const QString& id)
{
    const Session* s = ws->sessions.value(id);
    return s && s->connected;
}

} // namespace

class TestRobots final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void connectFromTheRowThenDisconnect();
    void robotWhoseRuntimeExitsEndsIdleAndForgotten();
    void lockingAnIdleRobotAsksNothing();
    void lockingAConnectedRobotAsksAndRestarts();
    void optionsCountFromTheNextConnect();
    void quitStopsEveryRuntimeAndKeepsTheRememberedRobots();

private:
    Workspace* signIn();
    Session* openRobot(Workspace* ws, const QString& id);
    QStringList robotRunnerArgv(int index) const;

    std::unique_ptr<SimRig> rig;
    std::unique_ptr<ConnectDialog> dialog;
    std::unique_ptr<ConnectDialogProbe> probe;
};

void TestRobots::initTestCase()
{
    registerRecordMetaTypes();
}

void TestRobots::init()
{
    rig = std::make_unique<SimRig>();
    rig->useScenario(signInScenario());
}

void TestRobots::cleanup()
{
    if (probe)
        probe->exit();
    probe.reset();
    dialog.reset();
    while (QWidget* modal = QApplication::activeModalWidget())
        delete modal;
    rig.reset();
    QFile::remove(credentialsYamlPath());
    QDir(robotLocksDir()).removeRecursively();
}

Workspace* TestRobots::signIn()
{
    dialog = std::make_unique<ConnectDialog>(nullptr);
    probe = std::make_unique<ConnectDialogProbe>(dialog.get());
    Workspace* ws = probe->current();
    SimRig::typeSignIn(ws->sessions.value(QString()), workspaceHost, identity, password);
    if (!QTest::qWaitFor([&] { return rowItem(ws, QStringLiteral("r2")) != nullptr; }, 10000))
        return nullptr;
    return ws;
}

Session* TestRobots::openRobot(Workspace* ws, const QString& id)
{
    ws->tree->setCurrentItem(rowItem(ws, id));
    return ws->sessions.value(id);
}

QStringList TestRobots::robotRunnerArgv(int index) const
{
    const QList<QJsonObject> runners = rig->starts(QStringLiteral("oxmerel-runner"));
    return index < runners.size() ? SimRig::argvOf(runners.at(index)) : QStringList();
}

void TestRobots::connectFromTheRowThenDisconnect()
{
    Workspace* ws = signIn();
    QVERIFY(ws);
    TreeItem* row = rowOf(ws, QStringLiteral("r1"));
    QVERIFY(row->connectAct->isEnabled() && !row->disconnectAct->isEnabled());

    row->connectAct->trigger();
    QTRY_VERIFY(isConnected(ws, QStringLiteral("r1")));
    Session* s = ws->sessions.value(QStringLiteral("r1"));
    const QJsonObject runner = rig->starts(QStringLiteral("oxmerel-runner")).at(1);
    QCOMPARE(rig->stdinOf(SimRig::pidOf(runner)), QStringList({ password, QStringLiteral("r1") }));
    QCOMPARE(ws->robots, QStringList({ QStringLiteral("r1") }));

    // Connected: white name, the connected menu, its log page on screen with the runtime's lines.
    QCOMPARE(row->nameLabel->property("connected").toBool(), true);
    QCOMPARE(row->nameLabel->palette().color(QPalette::WindowText), QColor(0xffffff));
    QVERIFY(!row->connectAct->isEnabled() && row->disconnectAct->isEnabled() && row->clearAct->isEnabled());
    QCOMPARE(probe->shownPage(), s->page);
    QVERIFY(s->logView->isVisible());
    QTRY_COMPARE(s->logView->toPlainText(), QStringLiteral("10:00:00 INFO connected r1"));

    row->disconnectAct->trigger();
    QVERIFY(!s->connected);
    QVERIFY(!ws->sessions.contains(QStringLiteral("r1")));
    QCOMPARE(row->nameLabel->property("connected").toBool(), false);
    QCOMPARE(row->nameLabel->palette().color(QPalette::WindowText), QColor(0x8e9297));
    QCOMPARE(rowItem(ws, QStringLiteral("r1"))->foreground(0).color(), QColor(0xFF0000));
    QVERIFY(row->connectAct->isEnabled() && !row->disconnectAct->isEnabled());
    QTRY_VERIFY(!SimRig::alive(SimRig::pidOf(runner)));
}

void TestRobots::robotWhoseRuntimeExitsEndsIdleAndForgotten()
{
    SimRig::writeCredentials(twoEntries);
    rig->useScenario(signInScenario(QStringLiteral("sleep 1500\nexit 3")));
    dialog = std::make_unique<ConnectDialog>(nullptr);
    probe = std::make_unique<ConnectDialogProbe>(dialog.get());
    Workspace* ws = probe->workspaces().first();
    probe->selectWorkspace(ws);
    QTest::mouseClick(ws->sessions.value(QString())->signInButton, Qt::LeftButton);

    // The remembered r1 reconnects, then its runtime exits by itself.
    QTRY_VERIFY(isConnected(ws, QStringLiteral("r1")));
    TreeItem* row = rowOf(ws, QStringLiteral("r1"));
    QTRY_VERIFY(!ws->sessions.contains(QStringLiteral("r1")));
    QCOMPARE(row->nameLabel->property("connected").toBool(), false);
    QCOMPARE(rowItem(ws, QStringLiteral("r1"))->foreground(0).color(), QColor(0xFF0000));
    QVERIFY(row->connectAct->isEnabled() && !row->disconnectAct->isEnabled());
    QVERIFY(ws->robots.isEmpty());

    // Dropped from its own entry only; the other entry keeps its robots and vault secrets.
    const YAML::Node entries = loadCredentials()["credentials"];
    QCOMPARE(entries[workspaceHost]["robots"].as<QStringList>(), QStringList());
    QCOMPARE(entries[QStringLiteral("beta.oxmerel.cloud")]["robots"].as<QStringList>(),
        QStringList({ QStringLiteral("r1") }));
    QCOMPARE(
        entries[QStringLiteral("beta.oxmerel.cloud")]["vaults"]["v1"].as<QString>(), QStringLiteral("kept-secret"));
}

void TestRobots::lockingAnIdleRobotAsksNothing()
{
    Workspace* ws = signIn();
    QVERIFY(ws);
    openRobot(ws, QStringLiteral("r1"));
    TreeItem* row = rowOf(ws, QStringLiteral("r1"));

    row->lockAct->trigger();
    QVERIFY(QFile::exists(lockFile(QStringLiteral("r1"))));
    QCOMPARE(QFileInfo(lockFile(QStringLiteral("r1"))).size(), 0);
    QVERIFY(!row->lockLabel->isHidden());
    QCOMPARE(row->lockAct->text(), QStringLiteral("Unlock"));
    QVERIFY(!QApplication::activeModalWidget());

    row->lockAct->trigger();
    QVERIFY(!QFile::exists(lockFile(QStringLiteral("r1"))));
    QVERIFY(row->lockLabel->isHidden());

    // Unlocking when the file is already gone is harmless.
    row->lockAct->trigger();
    QFile::remove(lockFile(QStringLiteral("r1")));
    row->lockAct->trigger();
    QVERIFY(!QFile::exists(lockFile(QStringLiteral("r1"))));
    QVERIFY(row->lockLabel->isHidden());
}

void TestRobots::lockingAConnectedRobotAsksAndRestarts()
{
    Workspace* ws = signIn();
    QVERIFY(ws);
    TreeItem* row = rowOf(ws, QStringLiteral("r1"));
    row->connectAct->trigger();
    QTRY_VERIFY(isConnected(ws, QStringLiteral("r1")));
    const qint64 firstRunner = SimRig::pidOf(rig->starts(QStringLiteral("oxmerel-runner")).at(1));

    row->lockAct->trigger();
    QTRY_VERIFY(QApplication::activeModalWidget());
    QVERIFY(SimRig::modalTexts().contains(QStringLiteral("Lock Mode")));
    QVERIFY(SimRig::modalTexts().contains(
        QStringLiteral("The robot has to be restarted in order to enable lock mode. Do you want to restart now?")));
    QVERIFY(QFile::exists(lockFile(QStringLiteral("r1"))));
    QVERIFY(row->lockLabel->isHidden());

    QVERIFY(SimRig::clickModalButton(QStringLiteral("Yes")));
    QTRY_COMPARE(rig->starts(QStringLiteral("oxmerel-runner")).size(), 3);
    QVERIFY(robotRunnerArgv(2).contains(QStringLiteral("--lock")));
    QVERIFY(!robotRunnerArgv(1).contains(QStringLiteral("--lock")));
    QTRY_VERIFY(!SimRig::alive(firstRunner));
    QTRY_VERIFY(isConnected(ws, QStringLiteral("r1")));
    QVERIFY(!row->lockLabel->isHidden());

    // "No" leaves the file changed and the running robot as it is.
    row->lockAct->trigger();
    QTRY_VERIFY(SimRig::modalTexts().contains(
        QStringLiteral("The robot has to be restarted in order to disable lock mode. Do you want to restart now?")));
    QVERIFY(SimRig::clickModalButton(QStringLiteral("No")));
    QTest::qWait(200);
    QVERIFY(!QFile::exists(lockFile(QStringLiteral("r1"))));
    QCOMPARE(rig->starts(QStringLiteral("oxmerel-runner")).size(), 3);
    QVERIFY(isConnected(ws, QStringLiteral("r1")));
    QVERIFY(!row->lockLabel->isHidden());
}

void TestRobots::optionsCountFromTheNextConnect()
{
    Workspace* ws = signIn();
    QVERIFY(ws);
    Session* s = openRobot(ws, QStringLiteral("r1"));
    QVERIFY(s->sendCrashDumpBox->isVisible() && s->sendCrashDumpBox->isChecked());
    QVERIFY(!s->noDesignerAttachBox->isChecked());
    QCOMPARE(s->noDesignerAttachBox->text(), QStringLiteral("Do not attach to designer"));
    QCOMPARE(s->sendCrashDumpBox->toolTip(), QStringLiteral("Help us resolve issues when robot crashes"));

    QTest::mouseClick(s->sendCrashDumpBox, Qt::LeftButton);
    QTest::mouseClick(s->noDesignerAttachBox, Qt::LeftButton);
    QCOMPARE(rig->starts(QStringLiteral("oxmerel-runner")).size(), 1);

    rowOf(ws, QStringLiteral("r1"))->connectAct->trigger();
    QTRY_VERIFY(isConnected(ws, QStringLiteral("r1")));
    QCOMPARE(robotRunnerArgv(1),
        QStringList({ QStringLiteral("connect"), QStringLiteral("-i"), identity, QStringLiteral("-w"), workspaceHost,
            QStringLiteral("--stdin"), QStringLiteral("--remember"), QStringLiteral("-n") }));

    // While connected a change starts nothing and stops nothing.
    QVERIFY(s->sendCrashDumpBox->isVisible());
    QTest::mouseClick(s->sendCrashDumpBox, Qt::LeftButton);
    QVERIFY(s->sendCrashDump);
    QTest::qWait(200);
    QCOMPARE(rig->starts(QStringLiteral("oxmerel-runner")).size(), 2);
    QVERIFY(isConnected(ws, QStringLiteral("r1")));
}

void TestRobots::quitStopsEveryRuntimeAndKeepsTheRememberedRobots()
{
    SimRig::writeCredentials(twoEntries);
    dialog = std::make_unique<ConnectDialog>(nullptr);
    probe = std::make_unique<ConnectDialogProbe>(dialog.get());
    const QList<Workspace*> workspaces = probe->workspaces();
    QCOMPARE(workspaces.size(), 2);
    for (Workspace* ws : workspaces) {
        probe->selectWorkspace(ws);
        QTest::mouseClick(ws->sessions.value(QString())->signInButton, Qt::LeftButton);
        QTRY_VERIFY(isConnected(ws, QStringLiteral("r1")));
    }
    rowOf(workspaces.first(), QStringLiteral("r2"))->connectAct->trigger();
    QTRY_VERIFY(isConnected(workspaces.first(), QStringLiteral("r2")));

    const auto runningRuntimes = [this] {
        QList<qint64> running;
        for (const QJsonObject& start : rig->records()) {
            if (start.contains(QStringLiteral("argv")) && SimRig::alive(SimRig::pidOf(start)))
                running.append(SimRig::pidOf(start));
        }
        return running;
    };
    // Two agents and three robot runners; the listing runners are gone.
    QTRY_COMPARE(runningRuntimes().size(), 5);
    const QList<qint64> running = runningRuntimes();

    const QString before = SimRig::credentialsText();
    probe->exit();
    for (qint64 pid : std::as_const(running))
        QTRY_VERIFY2(!SimRig::alive(pid), qPrintable(QString::number(pid)));
    QCOMPARE(SimRig::credentialsText(), before);
    QVERIFY(before.contains(QStringLiteral("- r1")));
}

QTEST_MAIN(TestRobots)
#include "test_robots.moc"
