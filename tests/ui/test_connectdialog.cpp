// The main window against the runtime simulator: a workspace's life from sign-in (typed, from the file, with the
// runtime's own questions and refusals) through its robots' connections to "Remove", "Sign Out" and the quit, and the
// log page's filter and follow rules under the bound, its unread badges and the keys that reach its tools.
#include "connectdialog.h"
#include "credentialsstore.h"
#include "logview.h"
#include "paths.h"
#include "processes.h"
#include "qloadingbutton.h"
#include "recordtypes.h"
#include "session.h"
#include "tempfiles.h"
#include "treeheader.h"
#include "treeitem.h"
#include "treewidget.h"
#include "workspace.h"
#include "yamlconvert.h"

#include <QAction>
#include <QCheckBox>
#include <QClipboard>
#include <QDesktopServices>
#include <QDir>
#include <QFile>
#include <QInputDialog>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QTemporaryDir>
#include <QTest>
#include <QTextBlock>
#include <QTimer>
#include <QToolButton>
#include <QUrl>

#include <csignal>
#include <memory>
#include <vector>

using namespace Qt::StringLiterals;
using testsupport::alive;

namespace {

const QString testWorkspace = u"acme.oxmerel.cloud"_s;
const QString testIdentity = u"ann@acme.example"_s;
const QString testPassword = u"s3cret-pw"_s;
const QString r1 = u"r1"_s;
const QString r2 = u"r2"_s;

// One start of a simulated runtime program and the lines it has read on its standard input so far.
struct SimStart {
    qint64 pid = 0;
    QStringList argv;
    QStringList input;
};

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
    return qobject_cast<TreeItem*>(ws->tree->rowWidget(rowItem(ws, id)));
}

bool isConnected(Workspace* ws, const QString& id)
{
    const Session* s = ws->sessions.value(id);
    return s && s->connected;
}

// Selects the robot's row, as a click would, and returns the robot's session.
Session* openRobot(Workspace* ws, const QString& id)
{
    ws->tree->setCurrentItem(rowItem(ws, id));
    return ws->sessions.value(id);
}

// Types the texts into an empty sign-in form.
void fillForm(Session* s, const QString& workspace = testWorkspace)
{
    const QList<QLineEdit*> fields { s->workspaceEdit, s->identityEdit, s->passwordEdit };
    const QStringList texts { workspace, testIdentity, testPassword };
    for (int i = 0; i < fields.size(); ++i) {
        QTest::mouseClick(fields[i], Qt::LeftButton);
        QTest::keyClicks(fields[i], texts[i]);
    }
}

// The label texts of the application's modal dialog, joined by "|"; then clicks its button `click`, if given.
QString answerModal(const QString& click = QString())
{
    QWidget* modal = QApplication::activeModalWidget();
    if (!modal)
        return QString();
    QStringList texts;
    for (const QLabel* label : modal->findChildren<QLabel*>())
        texts.append(label->text());
    for (QPushButton* button : modal->findChildren<QPushButton*>()) {
        if (button->text() == click) {
            QTest::mouseClick(button, Qt::LeftButton);
            break;
        }
    }
    return texts.join(QLatin1Char('|'));
}

QString credentialsText()
{
    return QString::fromUtf8(testsupport::readFile(credentialsYamlPath()));
}

// Two entries: "acme.oxmerel.cloud" with the test identity and password, the given robots and a vault secret
// "kept-secret"; "globex.oxmerel.cloud" with robots [r1] and a key "extra: kept" that the program does not know.
QString credentialsFile(const QString& acmeRobots)
{
    return QString::fromUtf8(testsupport::readFile(QFINDTESTDATA("../data/credentials.yaml"))).arg(acmeRobots);
}

// A runner that signs in to workspaceName and lists robots r1 "Invoices" and r2 "Reports", then waits for a robot id,
// reports it connected and goes on with afterConnected; an agent that stays up.
QString signInScenario(const QString& afterConnected = u"hang"_s, const QString& workspaceName = u"Acme"_s)
{
    return QString::fromUtf8(testsupport::readFile(QFINDTESTDATA("../data/signin.scenario")))
        .arg(workspaceName, afterConnected);
}

void verifyIdleRow(Workspace* ws)
{
    TreeItem* row = rowOf(ws, r1);
    QVERIFY(!ws->sessions.contains(r1));
    QCOMPARE(row->nameLabel->palette().color(QPalette::WindowText), QColor(0x8e9297));
    QCOMPARE(rowItem(ws, r1)->foreground(0).color(), QColor(0xFF0000));
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

QString levelOf(int line)
{
    return line % 10 == 0 ? u"error"_s : line % 5 == 0 ? u"warning"_s : u"info"_s;
}

QString textOf(int line)
{
    return u"t %1 %2"_s.arg(levelOf(line).toUpper()).arg(line);
}

QString topLineText(LogView* view)
{
    return view->cursorForPosition(QPoint(1, 1)).block().text();
}

QToolButton* toolButton(Session* s, const QString& name)
{
    for (QToolButton* button : s->logPage->findChildren<QToolButton*>()) {
        if (button->accessibleName() == name)
            return button;
    }
    return nullptr;
}

} // namespace

// Owns the window under test and runs it against the runtime simulator, first on PATH and recording each start and
// stdin line; reaches the window's records and private helpers (the window declares this class a friend). Ending the
// probe quits the window, kills leftover runtimes and removes what the test left on disk.
class ConnectDialogProbe
{
public:
    ConnectDialogProbe()
    {
        registerRecordMetaTypes();
        recordPath = testsupport::useSimulator(dir.path());
        useScenario(signInScenario());
    }

    ~ConnectDialogProbe()
    {
        if (window)
            window->exit();
        window.reset();
        while (QWidget* modal = QApplication::activeModalWidget())
            delete modal;
        for (const qint64 pid : testsupport::simulatorPids(recordPath, u"pid"_s)) {
            // Each runtime leads its own process group, with any helper it started.
            if (pid > 1 && alive(pid))
                ::kill(-static_cast<pid_t>(pid), SIGKILL);
        }
        QFile::remove(credentialsYamlPath());
        QDir(robotLocksDir()).removeRecursively();
    }

    // Opens the window and returns its current workspace.
    Workspace* open()
    {
        window = std::make_unique<ConnectDialog>(nullptr);
        d = window.get();
        return current();
    }

    ConnectDialog* dialog() const { return d; }
    Workspace* current() const { return d->currentWorkspace; }
    QList<Workspace*> workspaces() const
    {
        QList<Workspace*> result;
        for (const QString& id : d->workspaceOrder)
            result.append(d->workspacesById.value(id));
        return result;
    }
    Workspace* addConnect() { return d->addConnect(); }
    void selectWorkspace(Workspace* ws) { d->handleWSClicked(ws->getId()); }
    // The robot's session with its log page on screen, as when it is connected.
    Session* showLog(const QString& id)
    {
        Session* s = openRobot(d->currentWorkspace, id);
        d->showLogPane(s);
        return s;
    }
    LogView* logView(Session* s) { return d->logPane(s); }
    void logLine(Session* s, const QString& msg, const QString& level = u"info"_s)
    {
        d->receivedLog(s, u"t"_s, level, msg);
    }

    // Writes credentialsFile(acmeRobots), opens the window and signs in to its "acme" entry with one click; returns
    // that workspace once the agent has started and the robots are listed.
    Workspace* signIn(const QString& acmeRobots = u"[]"_s)
    {
        testsupport::writeFile(credentialsYamlPath(), credentialsFile(acmeRobots).toUtf8());
        open();
        Workspace* acme = workspaces().value(0);
        selectWorkspace(acme);
        QTest::mouseClick(acme->sessions.value(QString())->signInButton, Qt::LeftButton);
        const bool ready = QTest::qWaitFor(
            [this, acme] { return agents().size() == 1 && rowItem(acme, u"r2"_s) != nullptr; }, 30000);
        return ready ? acme : nullptr;
    }

    // Opens the window and merges a listing of robots named "Robot <id>" into its current workspace.
    Workspace* list(const QStringList& ids)
    {
        open();
        QList<RobotInfo*> robots;
        for (const QString& id : ids) {
            listed.push_back(std::make_unique<RobotInfo>(id, u"Robot "_s + id));
            robots.append(listed.back().get());
        }
        d->mergeListedRobots(current(), robots);
        return current();
    }

    void useScenario(const QString& text)
    {
        const QString path = dir.filePath(u"scenario.txt"_s);
        testsupport::writeFile(path, text.toUtf8());
        qputenv("OXMEREL_SIM_SCENARIO", QFile::encodeName(path));
    }

    QList<SimStart> runners() const { return starts(u"oxmerel-runner"_s); }
    QList<SimStart> agents() const { return starts(u"oxmerel-agent"_s); }

private:
    QList<SimStart> starts(const QString& program) const
    {
        QList<SimStart> result;
        const QList<QByteArray> lines = testsupport::readFile(recordPath).split('\n');
        for (const QByteArray& line : lines) {
            const QJsonObject record = QJsonDocument::fromJson(line).object();
            const qint64 pid = record.value(u"pid"_s).toInteger();
            if (record.value(u"program"_s).toString() == program)
                result.append(SimStart { pid, record.value(u"argv"_s).toVariant().toStringList(), {} });
            for (SimStart& start : result) {
                if (start.pid == pid && record.contains(u"stdin"_s))
                    start.input.append(record.value(u"stdin"_s).toString());
            }
        }
        return result;
    }

    QTemporaryDir dir;
    QString recordPath;
    // The window never frees listed robots.
    std::vector<std::unique_ptr<RobotInfo>> listed;
    std::unique_ptr<ConnectDialog> window;
    ConnectDialog* d = nullptr;
};

class TestConnectDialog final : public QObject
{
    Q_OBJECT

public slots:
    void openUrl(const QUrl& url) { openedUrls.append(url); }

private slots:
    void init() { rig = std::make_unique<ConnectDialogProbe>(); }
    void cleanup() { rig.reset(); }

    void bareLabelAndEnterSignInExactlyOnce()
    {
        Workspace* ws = rig->open();
        Session* s = ws->sessions.value(QString());
        // Whichever push button the dialog holds as its default, Enter in the form must not click it.
        for (QPushButton* button : rig->dialog()->findChildren<QPushButton*>())
            button->setDefault(button->toolTip() == u"Add Workspace"_s);
        fillForm(s, u"acme"_s);
        QVERIFY(!s->signInButton->isEnabled());
        QTest::keyClick(s->passwordEdit, Qt::Key_Return);
        QCOMPARE(s->workspaceEdit->text(), testWorkspace);

        // The listing hides the placeholder row.
        QTRY_VERIFY(rowOf(ws, r1));
        QVERIFY(ws->tree->topLevelItem(0)->child(0)->isHidden());
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

    void runtimeQuestionIsAskedHiddenAndRefusalShown()
    {
        // The user cancels the first question and answers the second.
        rig->useScenario(u"[oxmerel-runner]\nprint {\"status\":\"waiting_input\",\"msg\":\"Code\"}\n"
                         "print {\"status\":\"waiting_input\",\"msg\":\"Token\"}\nexpect\n"
                         "print {\"status\":\"connecting\",\"level\":\"error\",\"msg\":\"denied\"}\n"_s);
        QStringList asked;
        // The question runs its own event loop: answered from a timer.
        QTimer answerer;
        QObject::connect(&answerer, &QTimer::timeout, &answerer, [&asked] {
            if (auto* dialog = qobject_cast<QInputDialog*>(QApplication::activeModalWidget())) {
                const bool hidden = dialog->textEchoMode() == QLineEdit::Password;
                asked << QStringList({ dialog->windowTitle(), dialog->labelText(), dialog->textValue() }).join(u'|')
                        + (hidden ? u" (hidden)"_s : QString());
                dialog->setTextValue(dialog->labelText().toLower());
                dialog->done(dialog->labelText() == u"Token"_s);
            }
        });
        answerer.start(20);
        Session* s = rig->open()->sessions.value(QString());
        fillForm(s);
        QTest::mouseClick(s->signInButton, Qt::LeftButton);
        QTRY_VERIFY(answerModal().contains(u"Connection failed"_s));
        QCOMPARE(rig->runners().value(0).input, QStringList({ u"token"_s }));
        const QString home = QDir::home().dirName();
        QCOMPARE(
            asked, QStringList({ u"Oxmerel|Code|%1 (hidden)"_s.arg(home), u"Oxmerel|Token|%1 (hidden)"_s.arg(home) }));
    }

    void robotsAndWorkspacesFromSignInToSignOut()
    {
        Workspace* ws = rig->signIn();
        QVERIFY(ws);
        // "Remove" asks first; then the whole entry goes, even keys the program does not know, and the other entry
        // keeps its own, vault secrets and all.
        const QString file = credentialsText();
        Workspace* globex = rig->workspaces().at(1);
        globex->removeAction->trigger();
        QVERIFY(answerModal(u"No"_s).contains(u"Remove Workspace"_s));
        QCOMPARE(credentialsText(), file);
        globex->removeAction->trigger();
        answerModal(u"Yes"_s);
        QCOMPARE(rig->workspaces(), QList<Workspace*>({ ws }));
        QVERIFY(!credentialsText().contains(u"globex"_s) && !credentialsText().contains(u"extra"_s));
        QVERIFY(credentialsText().contains(u"kept-secret"_s));

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
        header->disconnectAllAct->trigger();
        verifyIdleRow(fresh);
        QVERIFY(!fresh->sessions.contains(r2));
        for (const SimStart& start : rig->runners().mid(before.size()))
            QTRY_VERIFY(!alive(start.pid));

        // With no session left, "Logs" still opens the folder named by the workspace's and the robot's names.
        QDesktopServices::setUrlHandler(u"file"_s, this, "openUrl");
        rowOf(fresh, r1)->logsAct->trigger();
        QDesktopServices::unsetUrlHandler(u"file"_s);
        const QString folder = QDir::homePath() + u"/AppData/Local/Oxmerel/logs/Acme Corp/Invoices"_s;
        QCOMPARE(openedUrls, QList<QUrl>({ QUrl::fromLocalFile(folder) }));
    }

    void rememberedRobotsStayRememberedUntilTheirRuntimeEnds()
    {
        Workspace* ws = rig->signIn(u"[r1, r2]"_s);
        QVERIFY(ws);
        QTRY_VERIFY(isConnected(ws, r1) && isConnected(ws, r2));
        QCOMPARE(chosenRobots(rig->runners()), QStringList({ r1, r2 }));
        // A runtime that ends by itself leaves its robot idle and no longer remembered.
        for (const SimStart& runner : rig->runners()) {
            if (runner.input.value(1) == r1)
                ::kill(static_cast<pid_t>(runner.pid), SIGKILL);
        }
        QTRY_VERIFY(!ws->sessions.contains(r1));
        verifyIdleRow(ws);
        // Quitting stops every runtime before the window goes, and keeps the other robot for the next start; the other
        // entry keeps its own.
        rig->dialog()->exit();
        for (const SimStart& start : rig->runners() + rig->agents())
            QTRY_VERIFY(!alive(start.pid));
        const YAML::Node entries = loadCredentials()["credentials"];
        QCOMPARE(entries[testWorkspace]["robots"].as<QStringList>(), QStringList({ r2 }));
        QCOMPARE(entries[u"globex.oxmerel.cloud"_s]["robots"].as<QStringList>(), QStringList({ r1 }));
    }

    void filterAndFollowKeepTheBoundAndBadges_data()
    {
        QTest::addColumn<int>("filter");
        QTest::addColumn<int>("before");
        QTest::addColumn<bool>("hold");
        QTest::addColumn<int>("after");
        // Lines 10, 20, … are errors and 5, 15, … warnings. `before` lines arrive while the view follows, then the
        // reader scrolls up when `hold` is set, then `after` more lines arrive.
        QTest::newRow("all lines, one burst over the bound") << 0 << 1 << false << 18192;
        QTest::newRow("errors only, following, over the bound") << 2 << 5000 << false << 4000;
        QTest::newRow("all lines, held while old lines go") << 0 << 8192 << true << 300;
        QTest::newRow("warnings and errors, held past the bound") << 1 << 4000 << true << 9000;
    }

    void filterAndFollowKeepTheBoundAndBadges()
    {
        QFETCH(int, filter);
        QFETCH(int, before);
        QFETCH(bool, hold);
        QFETCH(int, after);
        Workspace* ws = rig->list({ r1, r2 });
        Session* other = openRobot(ws, r2);
        Session* s = rig->showLog(r1);
        LogView* view = s->logView;
        QScrollBar* bar = view->verticalScrollBar();
        view->setFilter(static_cast<LogView::Filter>(filter));
        const auto feed = [this, s, other, view](int from, int to) {
            for (int i = from; i <= to; ++i) {
                for (Session* each : { s, other })
                    rig->logLine(each, QString::number(i), levelOf(i));
            }
            QTRY_COMPARE(view->document()->lastBlock().text(), textOf(to));
        };

        feed(1, before);
        if (hold)
            bar->setValue(bar->maximum() / 2);
        const QString top = topLineText(view);
        feed(before + 1, before + after);

        // The bound keeps the newest 8192 lines whatever the filter shows; hidden lines keep their place in it.
        const int total = before + after;
        const int first = qMax(1, total - 8191);
        QCOMPARE(view->blockCount(), total - first + 1);
        QStringList expected;
        int arrivedShown = 0;
        for (int i = 1; i <= total; ++i) {
            const bool shown = view->severityOf(levelOf(i)) >= filter;
            if (shown && i >= first)
                expected.append(textOf(i));
            arrivedShown += shown && i > before;
        }
        // What is saved is what is shown; the robot whose log was never on screen gets the same once its view is built.
        QCOMPARE(view->linesToSave(), expected);
        rig->logView(other)->setFilter(static_cast<LogView::Filter>(filter));
        QCOMPARE(other->logView->linesToSave(), expected);

        // Held, the view counts what arrived and keeps its top line while that line is kept; following, it shows the
        // end.
        QCOMPARE(view->heldLines(), hold ? arrivedShown : 0);
        if (!hold)
            QCOMPARE(bar->value(), bar->maximum());
        else if (top.section(QLatin1Char(' '), -1).toInt() >= first)
            QCOMPARE(topLineText(view), top);

        // Hidden lines count for the badges as much as shown ones; the robot on screen counts none.
        QCOMPARE(rowOf(ws, r2)->badgeLabel->accessibleName(), u"%1 unread lines"_s.arg(total));
        QCOMPARE(rowOf(ws, r1)->unreadCount(), 0);

        // "Clear Logs" empties the view, also of lines still on their way, and the next line starts it afresh.
        rig->logLine(s, u"queued"_s, u"error"_s);
        QTest::mouseClick(toolButton(s, u"Clear Logs"_s), Qt::LeftButton);
        QVERIFY(view->linesToSave().isEmpty());
        rig->logLine(s, u"next"_s, u"error"_s);
        QTRY_COMPARE(view->linesToSave(), QStringList({ u"t ERROR next"_s }));
    }

    void keysReachTheToolsAndBadgesCountUnseenLines()
    {
        Workspace* ws = rig->list({ r1 });
        Session* s = rig->showLog(r1);
        LogView* view = s->logView;
        rig->dialog()->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(rig->dialog()));
        const QStringList levels = { u"info"_s, u"error"_s, u"warning"_s, u"error"_s, u"info"_s };
        const QStringList messages = { u"start"_s, u"first failure"_s, u"careful"_s, u"second\nfailure"_s, u"end"_s };
        for (int i = 0; i < levels.size(); ++i)
            rig->logLine(s, messages[i], levels[i]);
        QTRY_COMPARE(view->blockCount(), 6);
        view->setFocus(Qt::TabFocusReason);

        // Previous and next error walk the error lines shown, a line of a broken message each, and say when none is
        // left.
        QStringList visited;
        for (int i = 0; i < 4; ++i) {
            QTest::keyClick(view, Qt::Key_F8, Qt::ShiftModifier);
            visited.append(view->textCursor().selectedText());
        }
        QCOMPARE(visited,
            QStringList({ u"failure"_s, u"t ERROR second"_s, u"t ERROR first failure"_s, u"t ERROR first failure"_s }));
        QCOMPARE(view->statusText(), u"No earlier error"_s);
        QTest::keyClick(view, Qt::Key_F8);
        QCOMPARE(view->textCursor().selectedText(), u"t ERROR second"_s);

        // Ctrl+F goes to the search field; F3 and Shift+F3 search on from the view with the field's text, and past the
        // last match either way the search wraps once.
        QTest::keyClick(view, Qt::Key_F, Qt::ControlModifier);
        QCOMPARE(QApplication::focusWidget(), s->searchEdit);
        QTest::keyClicks(s->searchEdit, u"INFO"_s);
        view->setFocus(Qt::TabFocusReason);
        QStringList found;
        for (const auto modifier : { Qt::NoModifier, Qt::ShiftModifier, Qt::ShiftModifier, Qt::NoModifier }) {
            QTest::keyClick(view, Qt::Key_F3, modifier);
            found.append(view->textCursor().block().text());
        }
        QCOMPARE(found, QStringList({ u"t INFO end"_s, u"t INFO start"_s, u"t INFO end"_s, u"t INFO start"_s }));
        // A text found nowhere is reported and leaves the cursor.
        const int position = view->textCursor().position();
        s->searchEdit->setText(u"absent"_s);
        QTest::keyClick(view, Qt::Key_F3);
        QVERIFY(answerModal(u"OK"_s).contains(u"Not Found"_s));
        QCOMPARE(view->textCursor().position(), position);

        // With a filter on, copying takes only the lines shown, and every kind of break inside a message keeps its
        // pieces together.
        view->setFilter(LogView::Filter::ErrorsOnly);
        QTest::keyClick(view, Qt::Key_A, Qt::ControlModifier);
        QTest::keyClick(view, Qt::Key_C, Qt::ControlModifier);
        QCOMPARE(QApplication::clipboard()->text(), u"t ERROR first failure\nt ERROR second\nfailure"_s);
        rig->logLine(s, u"a\rb%1c\r\n"_s.arg(QChar(QChar::ParagraphSeparator)), u"error"_s);
        rig->logLine(s, u"z\r"_s, u"info"_s);
        QTRY_COMPARE(view->linesToSave().mid(3), QStringList({ u"t ERROR a"_s, u"b"_s, u"c"_s, QString() }));

        // In a workspace that is not current, the badge sums the rows before the new line is counted: one line behind.
        rig->addConnect();
        for (const QString& expected : { u"0|1"_s, u"1|2"_s }) {
            rig->logLine(s, u"line"_s);
            QCOMPARE(ws->badge->text() + u'|' + rowOf(ws, r1)->badgeLabel->text(), expected);
        }
        QVERIFY(!ws->badge->isHidden());
        rig->selectWorkspace(ws);
        QVERIFY(ws->badge->isHidden());
    }

private:
    std::unique_ptr<ConnectDialogProbe> rig;
    QList<QUrl> openedUrls;
};

QTEST_MAIN(TestConnectDialog)
#include "test_connectdialog.moc"
