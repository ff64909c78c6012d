// The robot log view: line format and order, the line bound, unread badges, search, clear and the log folder.
#include "paths.h"
#include "simrig.h"
#include "treeitem.h"
#include "treewidget.h"

#include <QApplication>
#include <QDesktopServices>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QTest>
#include <QTextBlock>
#include <QToolButton>

namespace {

QToolButton* toolButton(QWidget* page, const QString& toolTip)
{
    for (QToolButton* button : page->findChildren<QToolButton*>()) {
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
    void cleanup() { rig.reset(); }
    void linesKeepFormatAndOrderAcrossBatches();
    void viewKeepsTheNewest8192Lines();
    void workspaceBadgeRunsOneLineBehindTheRow();
    void linesOfTheViewedRobotCountNothing();
    void searchWrapsOnceThenReportsNotFound();
    void toggleButtonsAreCrossed();
    void clearEmptiesTheViewAndDropsQueuedLines();
    void logsOpensTheRobotsFolder();

private:
    // The robot's session with its log page on screen, as when it is connected.
    Session* show(const QString& id);
    void log(Session* s, const QString& msg)
    {
        probe->receivedLog(s, QStringLiteral("t"), QStringLiteral("info"), msg);
    }

    std::unique_ptr<SimRig> rig;
    ConnectDialogProbe* probe = nullptr;
    Workspace* ws = nullptr;
};

void TestLogs::init()
{
    rig = std::make_unique<SimRig>();
    probe = &rig->open();
    ws = probe->current();
    probe->mergeListedRobots(ws,
        { new RobotInfo(QStringLiteral("r1"), QStringLiteral("Robot One")),
            new RobotInfo(QStringLiteral("r2"), QStringLiteral("Robot Two")) });
}

Session* TestLogs::show(const QString& id)
{
    Session* s = SimRig::openRobot(ws, id);
    probe->showLogPage(s);
    return s;
}

void TestLogs::linesKeepFormatAndOrderAcrossBatches()
{
    Session* s = show(QStringLiteral("r1"));
    probe->receivedLog(s, QStringLiteral("2025-04-10T12:00:00Z"), QStringLiteral("info"), QStringLiteral("first"));
    probe->receivedLog(s, QStringLiteral("t2"), QStringLiteral("Error"), QStringLiteral("second"));
    QTRY_COMPARE(s->logView->blockCount(), 2);
    probe->receivedLog(s, QString(), QString(), QStringLiteral("only a message"));
    QTRY_COMPARE(s->logView->blockCount(), 3);
    QCOMPARE(s->logView->toPlainText(),
        QStringLiteral("2025-04-10T12:00:00Z INFO first\nt2 ERROR second\n  only a message"));
}

void TestLogs::viewKeepsTheNewest8192Lines()
{
    Session* s = show(QStringLiteral("r1"));
    // In two batches, so that the bound holds both inside one append and across appends.
    for (int i = 1; i <= 5000; ++i)
        log(s, QString::number(i));
    QTRY_COMPARE(s->logView->blockCount(), 5000);
    for (int i = 5001; i <= 8193; ++i)
        log(s, QString::number(i));
    QTRY_COMPARE(s->logView->document()->lastBlock().text(), QStringLiteral("t INFO 8193"));
    QCOMPARE(s->logView->blockCount(), 8192);
    QCOMPARE(s->logView->document()->firstBlock().text(), QStringLiteral("t INFO 2"));
}

void TestLogs::workspaceBadgeRunsOneLineBehindTheRow()
{
    Session* s = show(QStringLiteral("r1"));
    Workspace* other = probe->addConnect();
    QCOMPARE(probe->current(), other);
    TreeItem* row = SimRig::rowOf(ws, QStringLiteral("r1"));

    log(s, QStringLiteral("one"));
    QCOMPARE(ws->badge->text(), QStringLiteral("0"));
    QCOMPARE(ws->badge->toolTip(), QStringLiteral("0 new messages"));
    QVERIFY(!ws->badge->isHidden());
    QCOMPARE(row->badgeLabel->text(), QStringLiteral("1"));
    log(s, QStringLiteral("two"));
    QCOMPARE(ws->badge->text(), QStringLiteral("1"));
    QCOMPARE(row->badgeLabel->text(), QStringLiteral("2"));

    // Returning to the workspace clears its badge and the viewed robot's row.
    probe->selectWorkspace(ws);
    QVERIFY(ws->badge->isHidden());
    QCOMPARE(row->unreadCount(), 0);
}

void TestLogs::linesOfTheViewedRobotCountNothing()
{
    Session* background = show(QStringLiteral("r2"));
    Session* viewed = show(QStringLiteral("r1"));
    log(viewed, QStringLiteral("seen"));
    log(background, QStringLiteral("unseen"));
    QCOMPARE(SimRig::rowOf(ws, QStringLiteral("r1"))->unreadCount(), 0);
    QCOMPARE(SimRig::rowOf(ws, QStringLiteral("r2"))->unreadCount(), 1);
    QVERIFY(ws->badge->isHidden());
}

void TestLogs::searchWrapsOnceThenReportsNotFound()
{
    Session* s = show(QStringLiteral("r1"));
    log(s, QStringLiteral("needle near the top"));
    for (int i = 0; i < 20; ++i)
        log(s, QStringLiteral("hay %1").arg(i));
    QTRY_COMPARE(s->logView->blockCount(), 21);
    s->logView->moveCursor(QTextCursor::End);

    QTest::keyClicks(s->searchEdit, QStringLiteral("needle"));
    QTest::keyClick(s->searchEdit, Qt::Key_Return);
    QCOMPARE(s->logView->textCursor().selectedText(), QStringLiteral("needle"));
    QCOMPARE(s->logView->textCursor().blockNumber(), 0);

    const int before = s->logView->textCursor().position();
    s->searchEdit->setText(QStringLiteral("absent"));
    QTest::keyClick(s->searchEdit, Qt::Key_Return);
    QTRY_VERIFY(SimRig::modalTexts().contains(QStringLiteral("Cannot find \"absent\".")));
    QVERIFY(SimRig::modalTexts().contains(QStringLiteral("Not Found")));
    QCOMPARE(s->logView->textCursor().position(), before);
    QVERIFY(SimRig::clickModalButton(QStringLiteral("OK")));

    // Return in the search field searches and does nothing else; an empty field does nothing at all.
    QCOMPARE(probe->workspaces().size(), 1);
    QVERIFY(rig->dialog()->isVisible());
    s->searchEdit->clear();
    QTest::keyClick(s->searchEdit, Qt::Key_Return);
    QCOMPARE(s->logView->textCursor().position(), before);
    QVERIFY(!QApplication::activeModalWidget());
}

void TestLogs::toggleButtonsAreCrossed()
{
    Session* s = show(QStringLiteral("r1"));
    log(s, QStringLiteral("Alpha beta"));
    log(s, QStringLiteral("alphabet soup"));
    log(s, QStringLiteral("alpha end"));
    QTRY_COMPARE(s->logView->blockCount(), 3);
    QToolButton* wordMatch = toolButton(s->logPage, QStringLiteral("Word match"));
    QToolButton* caseSensitive = toolButton(s->logPage, QStringLiteral("Case sensitive"));
    QVERIFY(wordMatch && caseSensitive);
    QTest::keyClicks(s->searchEdit, QStringLiteral("alpha"));
    const auto foundInLine = [s] {
        s->logView->moveCursor(QTextCursor::Start);
        QTest::keyClick(s->searchEdit, Qt::Key_Return);
        return s->logView->textCursor().blockNumber();
    };
    QCOMPARE(foundInLine(), 0);

    // "Word match" makes the search case-sensitive: "Alpha" no longer matches, "alphabet" still does.
    QTest::mouseClick(wordMatch, Qt::LeftButton);
    QCOMPARE(foundInLine(), 1);
    // "Case sensitive" makes it match whole words: "alphabet" no longer matches.
    QTest::mouseClick(caseSensitive, Qt::LeftButton);
    QCOMPARE(foundInLine(), 2);
    QTest::mouseClick(wordMatch, Qt::LeftButton);
    QCOMPARE(foundInLine(), 0);
}

void TestLogs::clearEmptiesTheViewAndDropsQueuedLines()
{
    Session* background = show(QStringLiteral("r2"));
    Session* s = show(QStringLiteral("r1"));
    log(s, QStringLiteral("shown"));
    QTRY_COMPARE(s->logView->blockCount(), 1);
    log(background, QStringLiteral("unread"));
    log(s, QStringLiteral("still queued"));

    QTest::mouseClick(toolButton(s->logPage, QStringLiteral("Clear Logs")), Qt::LeftButton);
    QTest::qWait(20);
    QVERIFY(s->logView->toPlainText().isEmpty());
    QCOMPARE(SimRig::rowOf(ws, QStringLiteral("r2"))->unreadCount(), 1);
    log(s, QStringLiteral("after"));
    QTRY_COMPARE(s->logView->toPlainText(), QStringLiteral("t INFO after"));
}

void TestLogs::logsOpensTheRobotsFolder()
{
    UrlCatcher catcher;
    QDesktopServices::setUrlHandler(QStringLiteral("file"), &catcher, "open");
    show(QStringLiteral("r2"));
    ws->name = QStringLiteral("Acme Prod");
    SimRig::rowOf(ws, QStringLiteral("r2"))->logsAct->trigger();
    QDesktopServices::unsetUrlHandler(QStringLiteral("file"));
    QCOMPARE(catcher.urls, QList<QUrl>({ QUrl::fromLocalFile(logsRoot() + QStringLiteral("/Acme Prod/Robot Two")) }));
}

QTEST_MAIN(TestLogs)
#include "test_logs.moc"
