// A workspace's life in the window against the runtime simulator, from sign-in (typed, from the file, with the
// runtime's own questions and refusals) through its robots' connections to "Remove", "Sign Out" and the quit.
#include "credentialsstore.h"
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

const QString r1 = u"r1"_s;
const QString r2 = u"r2"_s;

void verifyIdleRow(Workspace* ws)
{
    TreeItem* row = rowOf(ws, r1);
    QVERIFY(!ws->sessions.contains(r1));
    QCOMPARE(row->nameLabel->palette().color(QPalette::WindowText), QColor(0x8e9297));
    QCOMPARE(rowItem(ws, r1)->foreground(0).color(), QColor(0xFF0000));
    QVERIFY(row->connectAct->isEnabled() && !row->disconnectAct->isEnabled());
}

// The robot ids given to the runners after the sign-in's, each a runner of its own, sorted.
QStringList chosenRobots(const QList<SimStart>& runners)
{
    QStringList ids;
    for (const SimStart& runner : runners.mid(1))
        ids.append(runner.input.value(1));
    ids.sort();
    return ids;
}

} // namespace

class TestWorkspaces final : public QObject
{
    Q_OBJECT

public slots:
    void openUrl(const QUrl& url) { openedUrls.append(url); }

private slots:
    void init() { rig = std::make_unique<SimRig>(); }
    void cleanup() { rig.reset(); }

    void bareLabelAndEnterSignInExactlyOnce()
    {
        Workspace* ws = rig->open();
        // No native frame, title or system buttons: the frameless hint is the only hint left.
        QCOMPARE(rig->dialog()->windowFlags() & ~Qt::WindowType_Mask, Qt::WindowFlags(Qt::FramelessWindowHint));

        Session* s = ws->sessions.value(QString());
        // Whichever push button the dialog holds as its default, Enter in the form must not click it.
        for (QPushButton* button : rig->dialog()->findChildren<QPushButton*>())
            button->setDefault(button->toolTip() == u"Add Workspace"_s);
        fillForm(s, u"acme"_s);
        QVERIFY(!s->signInButton->isEnabled());
        QTest::keyClick(s->passwordEdit, Qt::Key_Return);
        QCOMPARE(s->workspaceEdit->text(), testWorkspace);

        QTRY_VERIFY(rowOf(ws, r1));
        QCOMPARE(rowOf(ws, r1)->nameLabel->text(), u"Invoices"_s);
        const QStringList agentArgs { u"connect"_s, u"-i"_s, testIdentity, u"-w"_s, testWorkspace, u"--stdin"_s };
        QTRY_COMPARE(rig->agents().value(0).argv, agentArgs);
        // The listing stops the runner; once it is gone, a second sign-in would have started its own long ago.
        QTRY_VERIFY(!alive(rig->runners().value(0).pid));
        const QList<SimStart> runners = rig->runners();
        QCOMPARE(runners.size(), 1);
        QCOMPARE(runners.first().argv, agentArgs + QStringList({ u"--remember"_s, u"-s"_s }));
        QCOMPARE(runners.first().input, QStringList({ testPassword }));

        // The same workspace in a second form is refused and starts nothing.
        Session* second = rig->addConnect()->sessions.value(QString());
        fillForm(second);
        QTest::mouseClick(second->signInButton, Qt::LeftButton);
        QVERIFY(answerModal().contains(u"Already connected"_s));
        QCOMPARE(rig->runners().size(), 1);
    }

    void promptsAndTwoFailuresShowOneMessage()
    {
        // The runtime asks for a token, which the user gives; then it refuses twice, the second time while the first
        // refusal's message is still up.
        const QString denied = u"print {\"status\":\"connecting\",\"level\":\"error\",\"msg\":\"denied\"}\n"_s;
        rig->useScenario(u"[oxmerel-runner]\nprint {\"status\":\"waiting_input\",\"msg\":\"Token\"}\nexpect\n"_s
            + denied + u"sleep 300\n"_s + denied);
        QString asked;
        // The question runs its own event loop: answered from a timer.
        QTimer answerer;
        QObject::connect(&answerer, &QTimer::timeout, &answerer, [&asked] {
            if (auto* dialog = qobject_cast<QInputDialog*>(QApplication::activeModalWidget())) {
                const bool hidden = dialog->textEchoMode() == QLineEdit::Password;
                asked = QStringList({ dialog->windowTitle(), dialog->labelText(), dialog->textValue() }).join(u'|')
                    + (hidden ? u" (hidden)"_s : QString());
                dialog->setTextValue(u"t0ken"_s);
                dialog->accept();
            }
        });
        answerer.start(20);
        Session* s = rig->open()->sessions.value(QString());
        fillForm(s);
        QTest::mouseClick(s->signInButton, Qt::LeftButton);
        QTRY_VERIFY(answerModal().contains(u"Connection failed"_s));
        QCOMPARE(rig->runners().value(0).input, QStringList({ u"t0ken"_s }));
        QCOMPARE(asked, u"Oxmerel|Token|%1 (hidden)"_s.arg(QDir::home().dirName()));
        // Both failures were read (each leaves its log line) but only one message, a top-level window of its own, is
        // up.
        QTRY_COMPARE(rig->logView(s)->blockCount(), 2);
        int messages = 0;
        for (const QWidget* window : QApplication::topLevelWidgets())
            messages += window->isVisible() && window->inherits("MessageDialog") ? 1 : 0;
        QCOMPARE(messages, 1);
    }

    void listingsHideRowsAndNeverDuplicate()
    {
        Workspace* ws = rig->list({ u"a"_s, u"b"_s, u"a"_s });
        QTreeWidgetItem* root = ws->tree->topLevelItem(0);
        // The placeholder row, now hidden, and one row per robot; a robot no longer listed keeps its row, hidden.
        QCOMPARE(root->childCount(), 3);
        QVERIFY(root->child(0)->isHidden());
        rig->list({ u"a"_s, u"c"_s });
        QCOMPARE(root->childCount(), 4);
        QVERIFY(rowItem(ws, u"b"_s)->isHidden());
        QVERIFY(!rowItem(ws, u"c"_s)->isHidden());
    }

    void removeAsksThenDeletesTheWholeEntry()
    {
        const QString file = credentialsFile(u"[]"_s);
        QVERIFY(testsupport::writeFile(credentialsYamlPath(), file.toUtf8()));
        rig->open();
        Workspace* acme = rig->workspaces().at(0);
        Workspace* globex = rig->workspaces().at(1);

        acme->removeAction->trigger();
        QVERIFY(answerModal(u"No"_s).contains(u"Remove Workspace"_s));
        QCOMPARE(credentialsText(), file);
        QCOMPARE(rig->workspaces().size(), 2);

        acme->removeAction->trigger();
        answerModal(u"Yes"_s);
        QCOMPARE(rig->workspaces(), QList<Workspace*>({ globex }));
        // The whole entry goes, vault secrets and all; the other entry keeps even the keys the program does not know.
        QVERIFY(!credentialsText().contains(u"acme"_s));
        QVERIFY(credentialsText().contains(u"extra: kept"_s));
    }

    void robotFromConnectToSignOut()
    {
        Workspace* ws = rig->signIn();
        QVERIFY(ws);
        // Lock mode on an idle robot only marks it.
        openRobot(ws, r2);
        rowOf(ws, r2)->lockAct->trigger();
        QVERIFY(QFile::exists(robotLocksDir() + u"/r2.lock"_s));
        QVERIFY(!rowOf(ws, r2)->lockLabel->isHidden());
        QVERIFY(!QApplication::activeModalWidget());

        // The robot's runtime signs in to the workspace under a new name, which the window shows.
        rig->useScenario(signInScenario(u"hang"_s, u"Acme Corp"_s));
        Session* s = openRobot(ws, r1);
        // The options are read when the runtime starts; they live with the connection, so a restart starts afresh.
        QTest::mouseClick(s->sendCrashDumpBox, Qt::LeftButton);
        QTest::mouseClick(s->noDesignerAttachBox, Qt::LeftButton);
        TreeItem* row = rowOf(ws, r1);
        row->connectAct->trigger();
        QTRY_VERIFY(isConnected(ws, r1));
        const qint64 firstRunner = rig->runners().at(1).pid;
        QCOMPARE(rig->runners().at(1).argv.mid(6), QStringList({ u"--remember"_s, u"-n"_s }));
        QCOMPARE(row->nameLabel->palette().color(QPalette::WindowText), QColor(0xffffff));
        QCOMPARE(rig->dialog()->findChild<QPushButton*>(u"btn_workspace_name"_s)->text(), u"Acme Corp"_s);

        // Lock mode on a connected robot asks, then restarts its runtime.
        row->lockAct->trigger();
        QVERIFY(answerModal(u"Yes"_s).contains(u"Do you want to restart now?"_s));
        QTRY_COMPARE(rig->runners().size(), 3);
        QCOMPARE(rig->runners().at(2).argv.mid(6), QStringList({ u"--remember"_s, u"--lock"_s, u"-s"_s }));
        QTRY_VERIFY(!alive(firstRunner));
        QTRY_VERIFY(isConnected(ws, r1));

        // The robot is disconnected and its page goes with the workspace; its runtime's last reports reach nothing. The
        // file keeps the entry, secrets and all, and the form is filled from it.
        const qint64 runner = rig->runners().at(2).pid;
        ws->signOutAction->trigger();
        QTRY_VERIFY(!alive(runner));
        QVERIFY(credentialsText().contains(testIdentity) && credentialsText().contains(u"kept-secret"_s));
        Workspace* fresh = rig->current();
        Session* form = fresh->sessions.value(QString());
        QCOMPARE(rig->shownPage(), form->page);
        QVERIFY(form->page->isVisible());
        QCOMPARE(QStringList({ form->workspaceEdit->text(), form->identityEdit->text(), form->passwordEdit->text() }),
            QStringList({ testWorkspace, testIdentity, testPassword }));
        // The window goes on working: one click signs in again (the name is free) and lists the robots, which the
        // header connects and disconnects all at once.
        QTest::mouseClick(form->signInButton, Qt::LeftButton);
        QTRY_VERIFY(rowOf(fresh, r1));
        const QList<SimStart> before = rig->runners();
        auto* header = qobject_cast<TreeHeader*>(fresh->tree->rowWidget(fresh->tree->topLevelItem(0)));
        header->connectAllAct->trigger();
        QTRY_VERIFY(isConnected(fresh, r1) && isConnected(fresh, r2));
        QCOMPARE(chosenRobots(rig->runners().mid(before.size() - 1)), QStringList({ r1, r2 }));
        const QPointer<ProcHandler> handler = fresh->sessions.value(r1)->runner;
        header->disconnectAllAct->trigger();
        verifyIdleRow(fresh);
        QVERIFY(!fresh->sessions.contains(r2));
        for (const SimStart& start : rig->runners().mid(before.size()))
            QTRY_VERIFY(!alive(start.pid));
        // Freed with its connection, although the robot's page is still on screen.
        QTRY_VERIFY(!handler);

        // With no session left, "Logs" still opens the folder named by the workspace's and the robot's names.
        QDesktopServices::setUrlHandler(u"file"_s, this, "openUrl");
        rowOf(fresh, r1)->logsAct->trigger();
        QDesktopServices::unsetUrlHandler(u"file"_s);
        const QString folder = QDir::homePath() + u"/AppData/Local/Oxmerel/logs/Acme Corp/Invoices"_s;
        QCOMPARE(openedUrls, QList<QUrl>({ QUrl::fromLocalFile(folder) }));
    }

    void robotWhoseRuntimeExitsEndsIdleAndForgotten()
    {
        rig->useScenario(signInScenario(u"sleep 200\nexit 3"_s));
        Workspace* ws = rig->signIn(u"[r1]"_s);
        QVERIFY(ws);
        QTRY_VERIFY(!ws->sessions.contains(r1));
        verifyIdleRow(ws);
        // Only this robot leaves the file; the other entry keeps its own.
        const YAML::Node entries = loadCredentials()["credentials"];
        QCOMPARE(entries[testWorkspace]["robots"].as<QStringList>(), QStringList());
        QCOMPARE(entries[u"globex.oxmerel.cloud"_s]["robots"].as<QStringList>(), QStringList({ r1 }));
    }

    void quitStopsEveryRuntimeAndKeepsTheFile()
    {
        Workspace* ws = rig->signIn(u"[r1, r2]"_s);
        QVERIFY(ws);
        QTRY_VERIFY(isConnected(ws, r1) && isConnected(ws, r2));
        QCOMPARE(chosenRobots(rig->runners()), QStringList({ r1, r2 }));
        // Quitting stops every runtime before the window goes, and keeps the remembered robots for the next start.
        rig->dialog()->exit();
        for (const SimStart& start : rig->runners() + rig->agents())
            QTRY_VERIFY(!alive(start.pid));
        QCOMPARE(credentialsText(), credentialsFile(u"[r1, r2]"_s));
    }

private:
    std::unique_ptr<SimRig> rig;
    QList<QUrl> openedUrls;
};

QTEST_MAIN(TestWorkspaces)
#include "test_workspaces.moc"
