#include "connectdialog.h"
#include "connectdialogprobe.h"
#include "paths.h"
#include "qbutton.h"
#include "qloadingbutton.h"
#include "robotinfo.h"
#include "session.h"
#include "tempfiles.h"
#include "treeitem.h"
#include "treewidget.h"
#include "workspace.h"

#include <QAction>
#include <QApplication>
#include <QDir>
#include <QFile>
#include <QLayout>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTest>
#include <QTreeWidgetItem>

#include <memory>

namespace {

// Two stored workspaces, the first with vault secrets and a key the program does not know.
const QByteArray twoWorkspaces = "credentials:\n"
                                 "  acme.oxmerel.cloud:\n"
                                 "    identity: ann@acme.com\n"
                                 "    password: c2VjcmV0LXBhc3M=\n" // secret-pass
                                 "    connected_at: 2025-04-10T12:34:56.789Z\n"
                                 "    robots: [r-1, r-2]\n"
                                 "    vaults:\n"
                                 "      v1: hidden\n"
                                 "  globex.oxmerel.cloud:\n"
                                 "    identity: bob@globex.com\n"
                                 "    password: Z2xvYmV4LXB3\n" // globex-pw
                                 "    robots: []\n"
                                 "    extra: kept\n";

QLayout* sidebarOf(ConnectDialog& dialog)
{
    return dialog.findChild<QLayout*>(QStringLiteral("scroll_v_layout"));
}

Session* signInSession(Workspace* ws)
{
    return ws->sessions.value(QString());
}

QTreeWidgetItem* robotsItem(Workspace* ws)
{
    return ws->tree->topLevelItem(0);
}

TreeItem* rowWidget(Workspace* ws, QTreeWidgetItem* item)
{
    return qobject_cast<TreeItem*>(ws->tree->itemWidget(item, 0));
}

QTreeWidgetItem* rowOf(Workspace* ws, const QString& robotId)
{
    QTreeWidgetItem* root = robotsItem(ws);
    for (int i = 0; i < root->childCount(); ++i) {
        if (root->child(i)->data(0, Qt::UserRole).toString() == robotId) {
            return root->child(i);
        }
    }
    return nullptr;
}

void clickRow(Workspace* ws, QTreeWidgetItem* item)
{
    QTest::mouseClick(ws->tree->viewport(), Qt::LeftButton, {}, ws->tree->visualItemRect(item).center());
}

// Answers the window's own modal question by clicking the button with that text.
bool answerModal(const QString& buttonText)
{
    if (!QTest::qWaitFor([] { return QApplication::activeModalWidget() != nullptr; }, 5000)) {
        return false;
    }
    for (QPushButton* button : QApplication::activeModalWidget()->findChildren<QPushButton*>()) {
        if (button->text() == buttonText) {
            QTest::mouseClick(button, Qt::LeftButton);
            return true;
        }
    }
    return false;
}

class Robots
{
public:
    QList<RobotInfo*> list(const QStringList& ids)
    {
        QList<RobotInfo*> result;
        for (const QString& id : ids) {
            owned.push_back(std::make_unique<RobotInfo>(id, QStringLiteral("Robot ") + id));
            result.append(owned.back().get());
        }
        return result;
    }

private:
    std::vector<std::unique_ptr<RobotInfo>> owned;
};

} // namespace

class TestWorkspaces final : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void loadsUsableEntriesInDocumentOrder();
    void showsOneEmptyWorkspaceWhenNothingIsUsable_data();
    void showsOneEmptyWorkspaceWhenNothingIsUsable();
    void addsWorkspacesAboveTheColumnEnd();
    void selectionSnapsBackToTheLastRobot();
    void listingsHideRowsAndNeverDuplicate();
    void rowsFollowLockFilesAndFindSessionsLate();
    void removeAsksAndRewritesTheFile();
    void removingTheLastWorkspaceLeavesAFreshOne();
};

void TestWorkspaces::init()
{
    QFile::remove(credentialsYamlPath());
    QFile::remove(credentialsJsonPath());
    QDir(robotLocksDir()).removeRecursively();
}

void TestWorkspaces::loadsUsableEntriesInDocumentOrder()
{
    // "zeta" comes first in the file although it sorts last; "skipped" lacks a password.
    QVERIFY(testsupport::writeFile(credentialsYamlPath(),
        "credentials:\n"
        "  zeta.oxmerel.cloud:\n"
        "    identity: z@zeta.com\n"
        "    password: cMOkc3N3w7ZydA==\n" // pässwört
        "    robots: [r-9, r-3]\n"
        "  skipped.oxmerel.cloud:\n"
        "    identity: s@skipped.com\n"
        "    robots: []\n"
        "  alpha.oxmerel.cloud:\n"
        "    identity: a@alpha.com\n"
        "    password: YWxwaGEtcHc=\n" // alpha-pw
        "    robots: []\n"));
    ConnectDialog dialog(nullptr);
    ConnectDialogProbe probe(&dialog);

    const QList<Workspace*> workspaces = probe.workspaces();
    QCOMPARE(workspaces.size(), 2);
    Session* zeta = signInSession(workspaces.at(0));
    QCOMPARE(zeta->workspaceEdit->text(), QStringLiteral("zeta.oxmerel.cloud"));
    QCOMPARE(zeta->identityEdit->text(), QStringLiteral("z@zeta.com"));
    QCOMPARE(zeta->passwordEdit->text(), QStringLiteral("pässwört"));
    QCOMPARE(workspaces.at(0)->robots, QStringList({ QStringLiteral("r-9"), QStringLiteral("r-3") }));
    QCOMPARE(signInSession(workspaces.at(1))->workspaceEdit->text(), QStringLiteral("alpha.oxmerel.cloud"));
    QCOMPARE(signInSession(workspaces.at(1))->passwordEdit->text(), QStringLiteral("alpha-pw"));
    // The form validated what was loaded.
    QVERIFY(zeta->signInButton->isEnabled());

    // Buttons sit in the same order in the side column.
    QLayout* sidebar = sidebarOf(dialog);
    QVERIFY(sidebar->indexOf(workspaces.at(0)->page) < sidebar->indexOf(workspaces.at(1)->page));
    // Loading never writes the file.
    QVERIFY(testsupport::readFile(credentialsYamlPath()).contains("skipped.oxmerel.cloud"));
}

void TestWorkspaces::showsOneEmptyWorkspaceWhenNothingIsUsable_data()
{
    QTest::addColumn<QByteArray>("yaml");
    QTest::newRow("no file") << QByteArray();
    QTest::newRow("no credentials key") << QByteArray("other: 1\n");
    QTest::newRow("every entry incomplete") << QByteArray("credentials:\n"
                                                          "  a.oxmerel.cloud:\n"
                                                          "    identity: a@a.com\n"
                                                          "  b.oxmerel.cloud:\n"
                                                          "    password: eA==\n");
}

void TestWorkspaces::showsOneEmptyWorkspaceWhenNothingIsUsable()
{
    QFETCH(QByteArray, yaml);
    if (!yaml.isEmpty()) {
        QVERIFY(testsupport::writeFile(credentialsYamlPath(), yaml));
    }
    ConnectDialog dialog(nullptr);
    ConnectDialogProbe probe(&dialog);

    QCOMPARE(probe.workspaces().size(), 1);
    Workspace* ws = probe.current();
    QCOMPARE(probe.workspaces().first(), ws);
    QCOMPARE(ws->name, QStringLiteral("Workspace"));
    QCOMPARE(ws->button->text(), QStringLiteral("WS"));
    QVERIFY(signInSession(ws)->workspaceEdit->text().isEmpty());
    QVERIFY(!signInSession(ws)->signInButton->isEnabled());
    QVERIFY(!ws->signOutAction->isEnabled());
    QVERIFY(ws->removeAction->isEnabled());
    QCOMPARE(probe.shownPage(), signInSession(ws)->page);
    QCOMPARE(QFile::exists(credentialsYamlPath()), !yaml.isEmpty());
}

void TestWorkspaces::addsWorkspacesAboveTheColumnEnd()
{
    ConnectDialog dialog(nullptr);
    ConnectDialogProbe probe(&dialog);
    QLayout* sidebar = sidebarOf(dialog);
    Workspace* first = probe.current();
    auto* addButton = qobject_cast<QPushButton*>(sidebar->itemAt(0)->widget());

    QTest::mouseClick(addButton, Qt::LeftButton);
    Workspace* second = probe.current();
    QVERIFY(second != first);
    QCOMPARE(sidebar->indexOf(second->page), sidebar->count() - 3);
    QCOMPARE(sidebar->indexOf(first->page), sidebar->count() - 4);
    QTRY_VERIFY(second->selectionBar->isVisible());
    QVERIFY(first->selectionBar->isHidden());
    QVERIFY(!second->tree->isHidden() && first->tree->isHidden());

    Workspace* top = nullptr;
    QVERIFY(QMetaObject::invokeMethod(
        &dialog, "addConnect", Qt::DirectConnection, Q_RETURN_ARG(Workspace*, top), Q_ARG(int, 0)));
    QCOMPARE(sidebar->indexOf(top->page), 0);
    QCOMPARE(probe.workspaces(), QList<Workspace*>({ first, second, top }));

    // Clicking a workspace makes it current and clears its badge.
    first->badge->setText(QStringLiteral("3"));
    first->badge->show();
    QTest::mouseClick(first->button, Qt::LeftButton);
    QCOMPARE(probe.current(), first);
    QVERIFY(first->badge->isHidden());
    QVERIFY(first->badge->text().isEmpty());
    QVERIFY(top->selectionBar->isHidden() && first->selectionBar->isVisible());
    QCOMPARE(probe.shownPage(), signInSession(first)->page);
}

void TestWorkspaces::selectionSnapsBackToTheLastRobot()
{
    Robots robots;
    ConnectDialog dialog(nullptr);
    ConnectDialogProbe probe(&dialog);
    Workspace* ws = probe.current();
    ws->tree->show();

    // The placeholder row is selected at first and has no session of its own.
    QCOMPARE(ws->sessions.keys(), QStringList({ QString() }));
    probe.mergeListedRobots(ws, robots.list({ QStringLiteral("a"), QStringLiteral("b") }));
    QCOMPARE(ws->sessions.keys(), QStringList({ QString() }));

    QTreeWidgetItem* a = rowOf(ws, QStringLiteral("a"));
    clickRow(ws, a);
    QCOMPARE(ws->selectedItem, a);
    QCOMPARE(ws->currentRobotId, QStringLiteral("a"));
    Session* session = ws->sessions.value(QStringLiteral("a"));
    QVERIFY(session);
    QCOMPARE(session->robot->name, QStringLiteral("Robot a"));
    QCOMPARE(probe.shownPage(), session->page);

    clickRow(ws, robotsItem(ws));
    QCOMPARE(ws->tree->selectedItems(), QList<QTreeWidgetItem*>({ a }));
    ws->tree->clearSelection();
    QCOMPARE(ws->tree->selectedItems(), QList<QTreeWidgetItem*>({ a }));
    QCOMPARE(ws->sessions.value(QStringLiteral("a")), session);
}

void TestWorkspaces::listingsHideRowsAndNeverDuplicate()
{
    Robots robots;
    ConnectDialog dialog(nullptr);
    ConnectDialogProbe probe(&dialog);
    Workspace* ws = probe.current();

    probe.mergeListedRobots(ws, robots.list({ QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("a") }));
    QTreeWidgetItem* root = robotsItem(ws);
    QCOMPARE(root->childCount(), 3);
    QVERIFY(root->child(0)->isHidden());
    QCOMPARE(rowWidget(ws, rowOf(ws, QStringLiteral("b")))->nameLabel->text(), QStringLiteral("Robot b"));
    QCOMPARE(rowWidget(ws, rowOf(ws, QStringLiteral("b")))->nameLabel->property("connected"), QVariant(false));

    probe.mergeListedRobots(ws, robots.list({ QStringLiteral("a") }));
    QVERIFY(rowOf(ws, QStringLiteral("b"))->isHidden());
    probe.mergeListedRobots(ws, robots.list({ QStringLiteral("b"), QStringLiteral("a"), QStringLiteral("c") }));
    QCOMPARE(root->childCount(), 4);
    QVERIFY(rowOf(ws, QStringLiteral("b"))->isHidden());
    QVERIFY(!rowOf(ws, QStringLiteral("a"))->isHidden());
    QVERIFY(!rowOf(ws, QStringLiteral("c"))->isHidden());
    QVERIFY(root->isExpanded());
}

void TestWorkspaces::rowsFollowLockFilesAndFindSessionsLate()
{
    QVERIFY(testsupport::writeFile(robotLocksDir() + QStringLiteral("/locked.lock"), QByteArray()));
    Robots robots;
    ConnectDialog dialog(nullptr);
    ConnectDialogProbe probe(&dialog);
    Workspace* ws = probe.current();
    probe.mergeListedRobots(ws, robots.list({ QStringLiteral("locked"), QStringLiteral("free") }));

    TreeItem* locked = rowWidget(ws, rowOf(ws, QStringLiteral("locked")));
    QVERIFY(locked->lockAct->isChecked());
    QCOMPARE(locked->lockAct->text(), QStringLiteral("Unlock"));
    QVERIFY(!locked->lockLabel->isHidden());
    // Listing the row must not have touched the file it was read from.
    QVERIFY(QFile::exists(robotLocksDir() + QStringLiteral("/locked.lock")));
    TreeItem* free = rowWidget(ws, rowOf(ws, QStringLiteral("free")));
    QVERIFY(!free->lockAct->isChecked());
    QVERIFY(free->lockLabel->isHidden());

    // The row was wired before its robot had a session: the signal finds the session that exists when it fires.
    ws->tree->show();
    clickRow(ws, rowOf(ws, QStringLiteral("free")));
    Session* session = ws->sessions.value(QStringLiteral("free"));
    QVERIFY(session && session->logView);
    session->logView->appendPlainText(QStringLiteral("12:00 INFO started"));
    free->clearClicked();
    QTRY_VERIFY(session->logView->toPlainText().isEmpty());

    free->lockAct->activate(QAction::Trigger);
    QVERIFY(QFile::exists(robotLocksDir() + QStringLiteral("/free.lock")));
    QVERIFY(!free->lockLabel->isHidden());
}

void TestWorkspaces::removeAsksAndRewritesTheFile()
{
    QVERIFY(testsupport::writeFile(credentialsYamlPath(), twoWorkspaces));
    ConnectDialog dialog(nullptr);
    ConnectDialogProbe probe(&dialog);
    Workspace* acme = probe.workspaces().at(0);
    Workspace* globex = probe.workspaces().at(1);

    acme->removeAction->trigger();
    QVERIFY(answerModal(QStringLiteral("No")));
    QCOMPARE(testsupport::readFile(credentialsYamlPath()), twoWorkspaces);
    QCOMPARE(probe.workspaces().size(), 2);

    acme->removeAction->trigger();
    QVERIFY(answerModal(QStringLiteral("Yes")));
    QCOMPARE(probe.workspaces(), QList<Workspace*>({ globex }));
    QCOMPARE(probe.current(), globex);
    QCOMPARE(sidebarOf(dialog)->count(), 4);

    const QByteArray rewritten = testsupport::readFile(credentialsYamlPath());
    QVERIFY(!rewritten.contains("acme"));
    QVERIFY(!rewritten.contains("hidden"));
    QVERIFY(rewritten.contains("globex.oxmerel.cloud"));
    QVERIFY(rewritten.contains("bob@globex.com"));
    QVERIFY(rewritten.contains("extra: kept"));
}

void TestWorkspaces::removingTheLastWorkspaceLeavesAFreshOne()
{
    QVERIFY(testsupport::writeFile(credentialsYamlPath(),
        "credentials:\n"
        "  solo.oxmerel.cloud:\n"
        "    identity: s@solo.com\n"
        "    password: c29sby1wdw==\n"
        "    robots: [r-1]\n"
        "    vaults:\n"
        "      v: secret-of-solo\n"));
    ConnectDialog dialog(nullptr);
    ConnectDialogProbe probe(&dialog);
    Workspace* solo = probe.current();

    solo->removeAction->trigger();
    QVERIFY(answerModal(QStringLiteral("Yes")));

    QCOMPARE(probe.workspaces().size(), 1);
    Workspace* fresh = probe.current();
    QCOMPARE(probe.workspaces().first(), fresh);
    QCOMPARE(fresh->button->text(), QStringLiteral("WS"));
    QVERIFY(!fresh->signOutAction->isEnabled());
    QVERIFY(signInSession(fresh)->workspaceEdit->text().isEmpty());
    QCOMPARE(probe.shownPage(), signInSession(fresh)->page);
    QVERIFY(probe.shownPage()->isVisibleTo(&dialog));
    QCOMPARE(sidebarOf(dialog)->count(), 4);

    const QByteArray rewritten = testsupport::readFile(credentialsYamlPath());
    QVERIFY(!rewritten.contains("solo"));
    QVERIFY(rewritten.contains("credentials"));
}

QTEST_MAIN(TestWorkspaces)
#include "test_workspaces.moc"
