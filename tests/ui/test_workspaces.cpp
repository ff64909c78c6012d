// A workspace's life in the window against the runtime simulator: the window and the auto-start flag, sign-in by
// typing and from the file, the runtime's own prompts, refusals and failures, listings, a robot's connection from its
// row with its options and lock mode, all robots from the header, a runtime that exits on its own, "Remove",
// "Sign Out" and the program's quit.
#include "credentialsstore.h"
#include "launchoptions.h"
#include "prochandler.h"
#include "simrig.h"
#include "treeheader.h"
#include "yamlconvert.h"

#include <QCheckBox>
#include <QDesktopServices>
#include <QDir>
#include <QFile>
#include <QInputDialog>
#include <QPointer>
#include <QTimer>
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

class TestWorkspaces final : public QObject
{
    Q_OBJECT

public slots:
    // Catches what the window asks the desktop to open.
    void openUrl(const QUrl& url) { openedUrls.append(url); }

private slots:
    void init() { rig = std::make_unique<SimRig>(); }
    void cleanup() { rig.reset(); }
    void autoStartIsTheExactFirstArgument();
    void bareLabelAndEnterSignInExactlyOnce();
    void otherPromptsAskTheUser();
    void twoFailuresShowOneMessage();
    void listingsHideRowsAndNeverDuplicate();
    void removeAsksThenDeletesTheWholeEntry();
    void robotFromConnectToSignOut();
    void headerConnectsAndDisconnectsAll();
    void robotWhoseRuntimeExitsEndsIdleAndForgotten();
    // Last: its fallback timer outlives it.
    void quitStopsEveryRuntimeAndKeepsTheFile();

private:
    std::unique_ptr<SimRig> rig;
    QList<QUrl> openedUrls;
};

void TestWorkspaces::autoStartIsTheExactFirstArgument()
{
    const QString flag = QStringLiteral("--auto-start");
    QVERIFY(isAutoStartLaunch({ QStringLiteral("tray"), flag }));
    QVERIFY(!isAutoStartLaunch({ QStringLiteral("tray"), flag.toUpper() }));
    QVERIFY(!isAutoStartLaunch({ QStringLiteral("tray"), QStringLiteral("-v"), flag }));
    QVERIFY(!isAutoStartLaunch({ flag }));
}

void TestWorkspaces::bareLabelAndEnterSignInExactlyOnce()
{
    Workspace* ws = rig->open();
    QVERIFY(rig->dialog()->isVisible());
    QCOMPARE(rig->dialog()->size(), QSize(993, 568));
    // No native frame, title or system buttons: the frameless hint is the only hint left.
    QCOMPARE(rig->dialog()->windowFlags() & ~Qt::WindowType_Mask, Qt::WindowFlags(Qt::FramelessWindowHint));

    Session* s = ws->sessions.value(QString());
    // Whichever push button the dialog holds as its default, Enter in the form must not click it.
    for (QPushButton* button : rig->dialog()->findChildren<QPushButton*>()) {
        if (button->toolTip() == QStringLiteral("Add Workspace"))
            button->setDefault(true);
    }
    fillForm(s, QStringLiteral("acme"));
    QVERIFY(!s->signInButton->isEnabled());
    QTest::keyClick(s->passwordEdit, Qt::Key_Return);
    QCOMPARE(s->workspaceEdit->text(), testWorkspace);

    QTRY_VERIFY(rowOf(ws, QStringLiteral("r1")));
    QCOMPARE(rowOf(ws, QStringLiteral("r1"))->nameLabel->text(), QStringLiteral("Invoices"));
    QTRY_COMPARE(rig->agents().size(), 1);
    const QStringList agentArgs { QStringLiteral("connect"), QStringLiteral("-i"), testIdentity, QStringLiteral("-w"),
        testWorkspace, QStringLiteral("--stdin") };
    QCOMPARE(rig->agents().first().argv, agentArgs);
    // The listing stops the runner; once it is gone, a second sign-in would have started its own long ago.
    QTRY_VERIFY(!alive(rig->runners().value(0).pid));
    const QList<SimStart> runners = rig->runners();
    QCOMPARE(runners.size(), 1);
    QCOMPARE(runners.first().argv, agentArgs + QStringList({ QStringLiteral("--remember"), QStringLiteral("-s") }));
    QCOMPARE(runners.first().input, QStringList({ testPassword }));

    // The same workspace in a second form is refused and starts nothing.
    Session* second = rig->addConnect()->sessions.value(QString());
    fillForm(second);
    QTest::mouseClick(second->signInButton, Qt::LeftButton);
    QVERIFY(answerModal().contains(QStringLiteral("Already connected")));
    QCOMPARE(rig->runners().size(), 1);
}

void TestWorkspaces::otherPromptsAskTheUser()
{
    // A cancelled question sends nothing; an answered one sends the answer.
    rig->useScenario(QStringLiteral("[oxmerel-runner]\n"
                                    "print {\"status\":\"waiting_input\",\"msg\":\"Code\"}\n"
                                    "print {\"status\":\"waiting_input\",\"msg\":\"Token\"}\n"
                                    "expect\n"));
    QStringList asked;
    // The question runs its own event loop: answered from a timer.
    QTimer answerer;
    QObject::connect(&answerer, &QTimer::timeout, &answerer, [&asked] {
        auto* dialog = qobject_cast<QInputDialog*>(QApplication::activeModalWidget());
        if (!dialog)
            return;
        asked << QStringList({ dialog->windowTitle(), dialog->labelText(), dialog->textValue() }).join(u'|');
        QCOMPARE(dialog->textEchoMode(), QLineEdit::Password);
        dialog->setTextValue(QStringLiteral("t0ken"));
        dialog->done(dialog->labelText() == QStringLiteral("Token"));
    });
    answerer.start(20);
    Session* s = rig->open()->sessions.value(QString());
    fillForm(s);
    QTest::mouseClick(s->signInButton, Qt::LeftButton);
    QTRY_COMPARE(rig->runners().value(0).input, QStringList({ QStringLiteral("t0ken") }));
    const QString home = QDir::home().dirName();
    QCOMPARE(asked, QStringList({ QStringLiteral("Oxmerel|Code|") + home, QStringLiteral("Oxmerel|Token|") + home }));
}

void TestWorkspaces::twoFailuresShowOneMessage()
{
    const QString denied = QStringLiteral("print {\"status\":\"connecting\",\"level\":\"error\",\"msg\":\"denied\"}\n");
    // Apart by much more than a busy machine takes to read the first: lines read together after a failure wait for
    // the runner's next output, which here never comes.
    rig->useScenario(
        QStringLiteral("[oxmerel-runner]\nprint {\"status\":\"waiting_input\",\"msg\":\"Password\"}\nexpect\n") + denied
        + QStringLiteral("sleep 2000\n") + denied);
    Session* s = rig->open()->sessions.value(QString());
    fillForm(s);
    QTest::mouseClick(s->signInButton, Qt::LeftButton);
    QTRY_VERIFY(answerModal().contains(QStringLiteral("Connection failed")));
    // Both failures were read (each leaves its log line) but only one message, a top-level window of its own, is up.
    QTRY_COMPARE(rig->logView(s)->blockCount(), 2);
    int messages = 0;
    for (const QWidget* window : QApplication::topLevelWidgets())
        messages += window->isVisible() && window->inherits("MessageDialog") ? 1 : 0;
    QCOMPARE(messages, 1);
}

void TestWorkspaces::listingsHideRowsAndNeverDuplicate()
{
    const QString a = QStringLiteral("a");
    const QString b = QStringLiteral("b");
    Workspace* ws = rig->list({ a, b, a });
    QTreeWidgetItem* root = ws->tree->topLevelItem(0);
    // The placeholder row, now hidden, and one row per robot.
    QCOMPARE(root->childCount(), 3);
    QVERIFY(root->child(0)->isHidden());
    rig->list({ a });
    QVERIFY(rowItem(ws, b)->isHidden());
    // A hidden row stays hidden when its robot is listed again, and no second row is made for it.
    rig->list({ b, a, QStringLiteral("c") });
    QCOMPARE(root->childCount(), 4);
    QVERIFY(rowItem(ws, b)->isHidden());
    QVERIFY(!rowItem(ws, QStringLiteral("c"))->isHidden());
}

void TestWorkspaces::removeAsksThenDeletesTheWholeEntry()
{
    const QString file = credentialsFile(QStringLiteral("[]"));
    QVERIFY(testsupport::writeFile(credentialsYamlPath(), file.toUtf8()));
    rig->open();
    Workspace* acme = rig->workspaces().at(0);
    Workspace* globex = rig->workspaces().at(1);

    acme->removeAction->trigger();
    QVERIFY(answerModal(QStringLiteral("No")).contains(QStringLiteral("Remove Workspace")));
    QCOMPARE(credentialsText(), file);
    QCOMPARE(rig->workspaces().size(), 2);

    acme->removeAction->trigger();
    answerModal(QStringLiteral("Yes"));
    QCOMPARE(rig->workspaces(), QList<Workspace*>({ globex }));
    // The whole entry goes, vault secrets and all; the other entry keeps even the keys the program does not know.
    QVERIFY(!credentialsText().contains(QStringLiteral("acme")));
    QVERIFY(credentialsText().contains(QStringLiteral("extra: kept")));
}

void TestWorkspaces::robotFromConnectToSignOut()
{
    Workspace* ws = rig->signIn();
    QVERIFY(ws);
    // Lock mode on an idle robot only marks it.
    openRobot(ws, r2);
    rowOf(ws, r2)->lockAct->trigger();
    QVERIFY(QFile::exists(robotLocksDir() + QStringLiteral("/r2.lock")));
    QVERIFY(!rowOf(ws, r2)->lockLabel->isHidden());
    QVERIFY(!QApplication::activeModalWidget());

    // The robot's runtime signs in to the workspace under a new name, which the window then shows and files logs under.
    rig->useScenario(signInScenario(QStringLiteral("hang"), QStringLiteral("Acme Corp")));
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
    QCOMPARE(rig->dialog()->findChild<QPushButton*>(QStringLiteral("btn_workspace_name"))->text(),
        QStringLiteral("Acme Corp"));

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
    const QString folder = QDir::homePath() + QStringLiteral("/AppData/Local/Oxmerel/logs/Acme Corp/Invoices");
    QCOMPARE(openedUrls, QList<QUrl>({ QUrl::fromLocalFile(folder) }));

    // Connected again, its log on screen, until its workspace is signed out.
    row->connectAct->trigger();
    QTRY_VERIFY(isConnected(ws, r1));
    const qint64 again = rig->runners().at(3).pid;
    QCOMPARE(rig->shownPage(), ws->sessions.value(r1)->page);

    // The robot is disconnected and its page goes with the workspace; its runtime's last reports reach nothing. The
    // file keeps the entry, secrets and all, and the form is filled from it.
    ws->signOutAction->trigger();
    QTRY_VERIFY(!alive(again));
    QVERIFY(credentialsText().contains(testIdentity) && credentialsText().contains(QStringLiteral("kept-secret")));
    Workspace* fresh = rig->current();
    Session* form = fresh->sessions.value(QString());
    QCOMPARE(rig->shownPage(), form->page);
    QVERIFY(form->page->isVisible());
    QCOMPARE(QStringList({ form->workspaceEdit->text(), form->identityEdit->text(), form->passwordEdit->text() }),
        QStringList({ testWorkspace, testIdentity, testPassword }));
    // The window goes on working: one click signs in again (the name is free) and lists the robots.
    QTest::mouseClick(form->signInButton, Qt::LeftButton);
    QTRY_VERIFY(rowOf(fresh, r1));
}

void TestWorkspaces::headerConnectsAndDisconnectsAll()
{
    Workspace* ws = rig->signIn();
    QVERIFY(ws);
    auto* header = qobject_cast<TreeHeader*>(ws->tree->itemWidget(ws->tree->topLevelItem(0), 0));
    header->connectAllAct->trigger();
    QTRY_VERIFY(isConnected(ws, r1) && isConnected(ws, r2));
    // Each robot has a runner of its own, given the robot's id.
    QStringList chosen { rig->runners().at(1).input.value(1), rig->runners().at(2).input.value(1) };
    chosen.sort();
    QCOMPARE(chosen, QStringList({ r1, r2 }));
    header->disconnectAllAct->trigger();
    QVERIFY(!ws->sessions.contains(r1) && !ws->sessions.contains(r2));
    QTRY_VERIFY(!alive(rig->runners().at(1).pid) && !alive(rig->runners().at(2).pid));
}

void TestWorkspaces::robotWhoseRuntimeExitsEndsIdleAndForgotten()
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

void TestWorkspaces::quitStopsEveryRuntimeAndKeepsTheFile()
{
    Workspace* acme = rig->signIn(QStringLiteral("[r1, r2]"));
    QVERIFY(acme);
    QTRY_VERIFY(isConnected(acme, QStringLiteral("r1")) && isConnected(acme, QStringLiteral("r2")));
    // Each remembered robot reconnects with its own runner, which is given the robot's id; one agent serves them all.
    const QList<SimStart> runtimes = rig->runners() + rig->agents();
    QCOMPARE(runtimes.size(), 4);
    QStringList chosen { rig->runners().at(1).input.value(1), rig->runners().at(2).input.value(1) };
    chosen.sort();
    QCOMPARE(chosen, QStringList({ QStringLiteral("r1"), QStringLiteral("r2") }));

    // exit() ends the event loop it runs in; the fallback timer only ends a loop that exit() failed to end.
    QTimer::singleShot(0, rig->dialog(), [this] { rig->exit(); });
    QTimer::singleShot(10000, qApp, [] { QCoreApplication::exit(1); });
    QCOMPARE(QCoreApplication::exec(), 0);
    for (const SimStart& start : runtimes)
        QTRY_VERIFY2(!alive(start.pid), qPrintable(QStringLiteral("runtime %1 still runs").arg(start.pid)));
    // Quitting keeps the remembered robots for the next automatic start.
    QCOMPARE(credentialsText(), credentialsFile(QStringLiteral("[r1, r2]")));
}

QTEST_MAIN(TestWorkspaces)
#include "test_workspaces.moc"
