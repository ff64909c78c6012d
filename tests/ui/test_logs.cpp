// The robot log view: line format and order, the line bound, unread badges, search, clear and the log folder.
#include "connectdialog.h"
#include "connectdialogprobe.h"
#include "paths.h"
#include "recordtypes.h"
#include "robotinfo.h"
#include "simrig.h"
#include "treeitem.h"
#include "treewidget.h"

#include <QApplication>
#include <QDesktopServices>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QSignalSpy>
#include <QTest>
#include <QTextBlock>
#include <QToolButton>

#include <memory>

namespace {

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
    return qobject_cast<TreeItem*>(ws->tree->itemWidget(rowItem(ws, id), 0));
}

QStringList viewLines(const QPlainTextEdit* view)
{
    return view->toPlainText().split(QLatin1Char('\n'));
}

QToolButton* toolButton(QWidget* page, const QString& toolTip)
{
    const QList<QToolButton*> buttons = page->findChildren<QToolButton*>();
    for (QToolButton* button : buttons) {
        if (button->toolTip() == toolTip)
            return button;
    }
    return nullptr;
}

} // namespace

// Catches what the window asks the desktop to open.
class UrlCatcher : public QObject
{
    Q_OBJECT

public:
    QList<QUrl> urls;

public slots:
    void open(const QUrl& url) { urls.append(url); }
};

class TestLogs final : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void linesKeepFormatAndOrderAcrossBatches();
    void viewKeepsTheNewest8192Lines();
    void badgesCountUnreadLinesWithTheWorkspaceBadgeOneBehind();
    void linesOfTheViewedRobotCountNothing();
    void searchWrapsOnceThenReportsNotFound();
    void toggleButtonsAreCrossed();
    void clearEmptiesTheViewAndDropsQueuedLines();
    void logsOpensTheRobotsFolder();

private:
    Session* openRobot(Workspace* ws, const QString& id);

    std::unique_ptr<ConnectDialog> dialog;
    std::unique_ptr<ConnectDialogProbe> probe;
    Workspace* ws = nullptr;
};

void TestLogs::init()
{
    registerRecordMetaTypes();
    dialog = std::make_unique<ConnectDialog>(nullptr);
    probe = std::make_unique<ConnectDialogProbe>(dialog.get());
    ws = probe->current();
    probe->mergeListedRobots(ws,
        { new RobotInfo(QStringLiteral("r1"), QStringLiteral("Robot One")),
            new RobotInfo(QStringLiteral("r2"), QStringLiteral("Robot Two")) });
}

void TestLogs::cleanup()
{
    probe.reset();
    dialog.reset();
}

Session* TestLogs::openRobot(Workspace* workspace, const QString& id)
{
    workspace->tree->setCurrentItem(rowItem(workspace, id));
    Session* s = workspace->sessions.value(id);
    probe->showLogPage(s);
    return s;
}

void TestLogs::linesKeepFormatAndOrderAcrossBatches()
{
    Session* s = openRobot(ws, QStringLiteral("r1"));
    QVERIFY(s && s->logView);
    probe->receivedLog(s, QStringLiteral("2025-04-10T12:00:00Z"), QStringLiteral("info"), QStringLiteral("first"));
    probe->receivedLog(s, QStringLiteral("t2"), QStringLiteral("Error"), QStringLiteral("second"));
    QTRY_COMPARE(s->logView->blockCount(), 2);
    probe->receivedLog(s, QString(), QString(), QStringLiteral("only a message"));
    probe->receivedLog(s, QStringLiteral("t4"), QStringLiteral("warn"), QStringLiteral("fourth"));
    QTRY_COMPARE(s->logView->blockCount(), 4);
    QCOMPARE(viewLines(s->logView),
        QStringList({ QStringLiteral("2025-04-10T12:00:00Z INFO first"), QStringLiteral("t2 ERROR second"),
            QStringLiteral("  only a message"), QStringLiteral("t4 WARN fourth") }));
}

void TestLogs::viewKeepsTheNewest8192Lines()
{
    Session* s = openRobot(ws, QStringLiteral("r1"));
    // In two batches, so that the bound is met both inside one append and across appends.
    for (int i = 1; i <= 5000; ++i)
        probe->receivedLog(s, QStringLiteral("t"), QStringLiteral("info"), QString::number(i));
    QTRY_COMPARE(s->logView->blockCount(), 5000);
    for (int i = 5001; i <= 8193; ++i)
        probe->receivedLog(s, QStringLiteral("t"), QStringLiteral("info"), QString::number(i));
    QTRY_COMPARE(s->logView->document()->lastBlock().text(), QStringLiteral("t INFO 8193"));
    QCOMPARE(s->logView->blockCount(), 8192);
    QCOMPARE(s->logView->document()->firstBlock().text(), QStringLiteral("t INFO 2"));
    QVERIFY(!s->logView->document()->isUndoRedoEnabled());
}

void TestLogs::badgesCountUnreadLinesWithTheWorkspaceBadgeOneBehind()
{
    Session* s = openRobot(ws, QStringLiteral("r1"));
    Workspace* other = probe->addConnect();
    QCOMPARE(probe->current(), other);
    TreeItem* row = rowOf(ws, QStringLiteral("r1"));

    probe->receivedLog(s, QStringLiteral("t"), QStringLiteral("info"), QStringLiteral("one"));
    QCOMPARE(ws->badge->text(), QStringLiteral("0"));
    QCOMPARE(ws->badge->toolTip(), QStringLiteral("0 new messages"));
    QVERIFY(!ws->badge->isHidden());
    QCOMPARE(row->badgeLabel->text(), QStringLiteral("1"));

    probe->receivedLog(s, QStringLiteral("t"), QStringLiteral("info"), QStringLiteral("two"));
    QCOMPARE(ws->badge->text(), QStringLiteral("1"));
    QCOMPARE(ws->badge->toolTip(), QStringLiteral("1 new messages"));
    QCOMPARE(row->badgeLabel->text(), QStringLiteral("2"));

    // Returning to the workspace clears its badge and the viewed robot's row.
    probe->selectWorkspace(ws);
    QVERIFY(ws->badge->isHidden());
    QCOMPARE(row->unreadCount(), 0);
}

void TestLogs::linesOfTheViewedRobotCountNothing()
{
    Session* viewed = openRobot(ws, QStringLiteral("r1"));
    Session* background = openRobot(ws, QStringLiteral("r2"));
    openRobot(ws, QStringLiteral("r1"));
    TreeItem* viewedRow = rowOf(ws, QStringLiteral("r1"));
    TreeItem* backgroundRow = rowOf(ws, QStringLiteral("r2"));

    probe->receivedLog(viewed, QStringLiteral("t"), QStringLiteral("info"), QStringLiteral("seen"));
    probe->receivedLog(background, QStringLiteral("t"), QStringLiteral("info"), QStringLiteral("unseen"));
    QCOMPARE(viewedRow->unreadCount(), 0);
    QCOMPARE(backgroundRow->unreadCount(), 1);
    QVERIFY(ws->badge->isHidden());
}

void TestLogs::searchWrapsOnceThenReportsNotFound()
{
    Session* s = openRobot(ws, QStringLiteral("r1"));
    probe->receivedLog(s, QStringLiteral("t"), QStringLiteral("info"), QStringLiteral("needle near the top"));
    for (int i = 0; i < 20; ++i)
        probe->receivedLog(s, QStringLiteral("t"), QStringLiteral("info"), QStringLiteral("hay %1").arg(i));
    QTRY_COMPARE(s->logView->blockCount(), 21);
    s->logView->moveCursor(QTextCursor::End);

    QTest::keyClicks(s->searchEdit, QStringLiteral("needle"));
    QTest::keyClick(s->searchEdit, Qt::Key_Return);
    QCOMPARE(s->logView->textCursor().selectedText(), QStringLiteral("needle"));
    QCOMPARE(s->logView->textCursor().blockNumber(), 0);
    QVERIFY(!QApplication::activeModalWidget());

    const int before = s->logView->textCursor().position();
    s->searchEdit->clear();
    QTest::keyClicks(s->searchEdit, QStringLiteral("absent"));
    QTest::keyClick(s->searchEdit, Qt::Key_Return);
    QTRY_VERIFY(QApplication::activeModalWidget());
    QVERIFY(SimRig::modalTexts().contains(QStringLiteral("Not Found")));
    QVERIFY(SimRig::modalTexts().contains(QStringLiteral("Cannot find \"absent\".")));
    QCOMPARE(s->logView->textCursor().position(), before);
    QVERIFY(SimRig::clickModalButton(QStringLiteral("OK")));
    QTRY_VERIFY(!QApplication::activeModalWidget());

    // Return in the search field searches and nothing else: no workspace added, the window still up.
    QCOMPARE(probe->workspaces().size(), 1);
    QVERIFY(dialog->isVisible());

    // An empty field does nothing.
    s->searchEdit->clear();
    QTest::keyClick(s->searchEdit, Qt::Key_Return);
    QCOMPARE(s->logView->textCursor().position(), before);
    QVERIFY(!QApplication::activeModalWidget());
}

void TestLogs::toggleButtonsAreCrossed()
{
    Session* s = openRobot(ws, QStringLiteral("r1"));
    probe->receivedLog(s, QStringLiteral("t"), QStringLiteral("info"), QStringLiteral("Alpha beta"));
    probe->receivedLog(s, QStringLiteral("t"), QStringLiteral("info"), QStringLiteral("alphabet soup"));
    probe->receivedLog(s, QStringLiteral("t"), QStringLiteral("info"), QStringLiteral("alpha end"));
    QTRY_COMPARE(s->logView->blockCount(), 3);
    QToolButton* wordMatch = toolButton(s->logPage, QStringLiteral("Word match"));
    QToolButton* caseSensitive = toolButton(s->logPage, QStringLiteral("Case sensitive"));
    QVERIFY(wordMatch && caseSensitive);
    QTest::keyClicks(s->searchEdit, QStringLiteral("alpha"));

    const auto searchFromStart = [s] {
        s->logView->moveCursor(QTextCursor::Start);
        QTest::keyClick(s->searchEdit, Qt::Key_Return);
        return s->logView->textCursor().blockNumber();
    };
    QCOMPARE(searchFromStart(), 0);

    // "Word match" makes the search case-sensitive: "Alpha" no longer matches, "alphabet" still does.
    QTest::mouseClick(wordMatch, Qt::LeftButton);
    QVERIFY(s->searchCaseSensitive && !s->searchWholeWords);
    QCOMPARE(searchFromStart(), 1);

    // "Case sensitive" makes it match whole words: "alphabet" no longer matches.
    QTest::mouseClick(caseSensitive, Qt::LeftButton);
    QVERIFY(s->searchCaseSensitive && s->searchWholeWords);
    QCOMPARE(searchFromStart(), 2);

    QTest::mouseClick(wordMatch, Qt::LeftButton);
    QVERIFY(!s->searchCaseSensitive && s->searchWholeWords);
    QCOMPARE(searchFromStart(), 0);
}

void TestLogs::clearEmptiesTheViewAndDropsQueuedLines()
{
    Session* s = openRobot(ws, QStringLiteral("r1"));
    Session* background = openRobot(ws, QStringLiteral("r2"));
    openRobot(ws, QStringLiteral("r1"));
    probe->receivedLog(s, QStringLiteral("t"), QStringLiteral("info"), QStringLiteral("shown"));
    QTRY_COMPARE(s->logView->blockCount(), 1);
    probe->receivedLog(background, QStringLiteral("t"), QStringLiteral("info"), QStringLiteral("unread"));
    probe->receivedLog(s, QStringLiteral("t"), QStringLiteral("info"), QStringLiteral("still queued"));

    QToolButton* clear = toolButton(s->logPage, QStringLiteral("Clear Logs"));
    QVERIFY(clear && clear->isVisible());
    QTest::mouseClick(clear, Qt::LeftButton);
    QTest::qWait(20);
    QVERIFY(s->logView->toPlainText().isEmpty());
    QCOMPARE(rowOf(ws, QStringLiteral("r2"))->unreadCount(), 1);

    probe->receivedLog(s, QStringLiteral("t"), QStringLiteral("info"), QStringLiteral("after"));
    QTRY_COMPARE(s->logView->toPlainText(), QStringLiteral("t INFO after"));
}

void TestLogs::logsOpensTheRobotsFolder()
{
    UrlCatcher catcher;
    QDesktopServices::setUrlHandler(QStringLiteral("file"), &catcher, "open");
    openRobot(ws, QStringLiteral("r2"));
    ws->name = QStringLiteral("Acme Prod");
    rowOf(ws, QStringLiteral("r2"))->logsAct->trigger();
    QDesktopServices::unsetUrlHandler(QStringLiteral("file"));

    QCOMPARE(catcher.urls.size(), 1);
    QCOMPARE(catcher.urls.first(), QUrl::fromLocalFile(logsRoot() + QStringLiteral("/Acme Prod/Robot Two")));
}

QTEST_MAIN(TestLogs)
#include "test_logs.moc"
