// The log page against the runtime simulator rig: the filter and follow rules under the bound, the unread badges, and
// the keys that reach the tools.
#include "simrig.h"

#include <QClipboard>
#include <QScrollBar>
#include <QTextBlock>
#include <QToolButton>

namespace {

const QString r1 = u"r1"_s;
const QString r2 = u"r2"_s;

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

class TestLogView final : public QObject
{
    Q_OBJECT

private slots:
    void init() { rig = std::make_unique<SimRig>(); }
    void cleanup() { rig.reset(); }

    void filterAndFollowKeepTheBoundAndBadges_data()
    {
        QTest::addColumn<int>("filter");
        QTest::addColumn<int>("before");
        QTest::addColumn<bool>("hold");
        QTest::addColumn<int>("after");
        // Lines 10, 20, … are errors and 5, 15, … warnings. `before` lines arrive while the view follows, then the
        // reader scrolls up when `hold` is set, then `after` more lines arrive.
        QTest::newRow("all lines, following, under the bound") << 0 << 3000 << false << 2000;
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

    void keysReachTheTools()
    {
        rig->list({ r1 });
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
        // A text found nowhere is reported and leaves the cursor. The toggles are wired crosswise on purpose: "Word
        // match" makes the search case-sensitive.
        const int position = view->textCursor().position();
        QTest::mouseClick(toolButton(s, u"Word match"_s), Qt::LeftButton);
        s->searchEdit->setText(u"info"_s);
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
    }

    void badgesCountUnseenLines()
    {
        Workspace* ws = rig->list({ r1 });
        Session* viewed = rig->showLog(r1);
        // In a workspace that is not current, the badge sums the rows before the new line is counted: one line behind.
        rig->addConnect();
        for (const QString& expected : { u"0|1"_s, u"1|2"_s }) {
            rig->logLine(viewed, u"line"_s);
            QCOMPARE(ws->badge->text() + u'|' + rowOf(ws, r1)->badgeLabel->text(), expected);
        }
        QVERIFY(!ws->badge->isHidden());
        rig->selectWorkspace(ws);
        QVERIFY(ws->badge->isHidden());
    }

private:
    std::unique_ptr<SimRig> rig;
};

QTEST_MAIN(TestLogView)
#include "test_logview.moc"
