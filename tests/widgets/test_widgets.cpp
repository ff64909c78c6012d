#include "appglobals.h"
#include "keyboardnavigation.h"
#include "messagedialog.h"
#include "qbutton.h"
#include "qgrip.h"
#include "titlebar.h"
#include "treeheader.h"
#include "treeitem.h"

#include <QAction>
#include <QApplication>
#include <QContextMenuEvent>
#include <QLabel>
#include <QMenu>
#include <QPointer>
#include <QSettings>
#include <QTest>
#include <QTimer>
#include <QVBoxLayout>

#include <memory>

using namespace Qt::StringLiterals;

namespace {

// A frameless top-level window like the main one, with the slot its title bar's close button calls.
class FramedWindow final : public QWidget
{
    Q_OBJECT

public:
    FramedWindow() { setWindowFlags(Qt::FramelessWindowHint); }

public slots:
    void doHide() { }
};

// Presses the left button at (2, 2) of widget, moves it by offset as the windowing system would report it, and lets
// go. A move after that, without a press, must change nothing.
void drag(QWidget* widget, QPoint offset)
{
    const QPoint grab(2, 2);
    const auto move = [widget](QPoint to) {
        const QPointF global = widget->mapToGlobal(to);
        QMouseEvent event(QEvent::MouseMove, widget->mapFromGlobal(global), global, Qt::NoButton, Qt::LeftButton, {});
        QApplication::sendEvent(widget, &event);
    };
    QTest::mousePress(widget, Qt::LeftButton, {}, grab);
    move(grab + offset);
    QTest::mouseRelease(widget, Qt::LeftButton, {}, grab);
    const QRect dropped = widget->window()->geometry();
    move(grab + offset + offset);
    QCOMPARE(widget->window()->geometry(), dropped);
}

// What the next window comes back as, from the stored state: its geometry, or an empty rectangle when maximised.
QRect reopened()
{
    FramedWindow next;
    next.setGeometry(100, 100, 600, 400);
    new Titlebar(&next);
    return next.isMaximized() ? QRect() : next.geometry();
}

template<typename Widget, typename Property> Widget* child(QWidget* parent, Property property, const QString& value)
{
    for (Widget* candidate : parent->findChildren<Widget*>()) {
        if ((candidate->*property)() == value)
            return candidate;
    }
    return nullptr;
}

// Right-clicks the widget, or presses Shift+F10 on it, and answers the entries of the menu that opens, a disabled one
// with a leading "-".
QStringList contextMenu(QWidget* widget, bool byKeyboard = false)
{
    QStringList entries;
    // Scoped, so that it cannot fire after the function when no menu opened.
    QTimer timer;
    timer.setSingleShot(true);
    QObject::connect(&timer, &QTimer::timeout, widget, [&] {
        if (auto* popup = qobject_cast<QMenu*>(QApplication::activePopupWidget())) {
            for (const QAction* action : popup->actions())
                entries << (action->isEnabled() ? QString() : u"-"_s) + action->text();
            popup->close();
        }
    });
    timer.start(0);
    if (byKeyboard) {
        QTest::keyClick(widget, Qt::Key_F10, Qt::ShiftModifier);
    } else {
        QContextMenuEvent event(QContextMenuEvent::Mouse, QPoint(5, 5), widget->mapToGlobal(QPoint(5, 5)));
        QApplication::sendEvent(widget, &event);
    }
    return entries;
}

} // namespace

// The frame replacement (title bar and grips), the message dialog and the rows of the robot tree.
class TestWidgets final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        // A size is stored, so that a window comes back where the last one was dropped.
        traySettings->clear();
        traySettings->setValue(u"width"_s, 600);
        traySettings->setValue(u"height"_s, 400);
        window = std::make_unique<FramedWindow>();
        auto* layout = new QVBoxLayout(window.get());
        layout->setContentsMargins(0, 0, 0, 0);
        bar = new Titlebar(window.get());
        layout->addWidget(bar);
        layout->addStretch();
        window->setGeometry(100, 100, 600, 400);
        window->show();
        QVERIFY(QTest::qWaitForWindowExposed(window.get()));
    }

    void titleBar_data()
    {
        QTest::addColumn<bool>("maximised");
        QTest::addColumn<QString>("action");
        QTest::addColumn<QPoint>("offset");
        QTest::addColumn<Qt::WindowState>("state");
        QTest::addColumn<QPoint>("position");
        QTest::newRow("drag moves") << false << u"drag"_s << QPoint(30, 15) << Qt::WindowNoState << QPoint(130, 115);
        // The window restores under the cursor and stays there until the next move.
        QTest::newRow("drag restores") << true << u"drag"_s << QPoint(30, 15) << Qt::WindowNoState << QPoint(100, 100);
        QTest::newRow("right double click") << true << u"double"_s << QPoint() << Qt::WindowNoState << QPoint(100, 100);
        QTest::newRow("maximise") << false << u"Maximize"_s << QPoint() << Qt::WindowMaximized << QPoint();
        QTest::newRow("maximise restores")
            << true << u"Maximize"_s << QPoint() << Qt::WindowNoState << QPoint(100, 100);
        QTest::newRow("minimise") << false << u"Minimize"_s << QPoint() << Qt::WindowMinimized << QPoint(100, 100);
    }

    void titleBar()
    {
        QFETCH(bool, maximised);
        QFETCH(QString, action);
        QFETCH(QPoint, offset);
        QFETCH(Qt::WindowState, state);
        QFETCH(QPoint, position);
        if (maximised)
            bar->btn_maximize_clicked();
        if (action == u"drag"_s)
            drag(bar, offset);
        else if (action == u"double"_s)
            QTest::mouseDClick(bar, Qt::RightButton);
        else
            QTest::mouseClick(child<QButton>(bar, &QWidget::toolTip, action), Qt::LeftButton);
        QCOMPARE(window->windowState(), state);
        if (state == Qt::WindowNoState)
            QCOMPARE(window->pos(), position);
        // The next window comes back as this one was left.
        QCOMPARE(reopened(), state == Qt::WindowMaximized ? QRect() : QRect(position, QSize(600, 400)));
    }

    void gripsResizeWithinTheLimits_data()
    {
        // Positions: 0 top, 1 right, 2 bottom, 3 left, 4 top left, 5 top right, 6 bottom left, 7 bottom right. At a
        // size limit the dragged edge stops and the opposite one stays.
        QTest::addColumn<int>("position");
        QTest::addColumn<QPoint>("offset");
        QTest::addColumn<QRect>("geometry");
        QTest::newRow("top") << 0 << QPoint(9, -50) << QRect(100, 50, 600, 450);
        QTest::newRow("right") << 1 << QPoint(30, 9) << QRect(100, 100, 630, 400);
        QTest::newRow("bottom") << 2 << QPoint(9, 20) << QRect(100, 100, 600, 420);
        QTest::newRow("left at the maximum width") << 3 << QPoint(-300, 9) << QRect(100, 100, 800, 400);
        QTest::newRow("top left at the minimum height") << 4 << QPoint(40, 300) << QRect(140, 100, 560, 200);
        QTest::newRow("top right at the maximum height") << 5 << QPoint(10, -200) << QRect(100, 100, 610, 500);
        QTest::newRow("bottom left at the minimum width") << 6 << QPoint(400, 10) << QRect(100, 100, 300, 410);
        QTest::newRow("bottom right") << 7 << QPoint(50, 30) << QRect(100, 100, 650, 430);
    }

    void gripsResizeWithinTheLimits()
    {
        QFETCH(int, position);
        QFETCH(QPoint, offset);
        QFETCH(QRect, geometry);
        window->setMinimumSize(300, 200);
        window->setMaximumSize(800, 500);
        auto* grip = new QGrip(2, position, u"#40444b"_s, u"#202225"_s);
        grip->setParent(window.get());
        grip->show();
        drag(grip, offset);
        QCOMPARE(window->geometry(), geometry);
        QCOMPARE(reopened(), geometry);
    }

    void messageKindsAndAnswers_data()
    {
        // A question's answer is a button's text or a key: Escape answers as "No" or "OK" do, Return as the first
        // button.
        QTest::addColumn<int>("kind");
        QTest::addColumn<QSize>("icon");
        QTest::addColumn<bool>("question");
        QTest::addColumn<QString>("answer");
        QTest::newRow("error") << int(MessageDialog::Error) << QSize(32, 32) << false << u"OK"_s;
        QTest::newRow("info, Escape") << int(MessageDialog::Info) << QSize(32, 32) << false << u"Escape"_s;
        QTest::newRow("warning, Escape") << int(MessageDialog::Warning) << QSize(37, 32) << true << u"Escape"_s;
        QTest::newRow("no kind, Return") << 3 << QSize(0, 0) << true << u"Return"_s;
    }

    void messageKindsAndAnswers()
    {
        QFETCH(int, kind);
        QFETCH(QSize, icon);
        QFETCH(bool, question);
        QFETCH(QString, answer);
        const QFont font;
        bool messageOpen = false;
        QList<bool> answers;
        QPointer<MessageDialog> dialog = question
            ? MessageDialog::showConfirm(font, font, &messageOpen, kind, u"Remove"_s, u"Remove this workspace?"_s,
                [&](bool yes) { answers << yes; })
            : MessageDialog::showMessage(font, font, &messageOpen, kind, u"Saved"_s, u"All done."_s);
        // Reaching this line at all shows that the call did not block.
        QVERIFY(messageOpen);
        QVERIFY(QTest::qWaitForWindowExposed(dialog));
        // The icon's label is the one without a text.
        QCOMPARE(child<QLabel>(dialog, &QLabel::text, QString())->pixmap().size(), icon);

        if (QButton* button = child<QButton>(dialog, &QAbstractButton::text, answer))
            QTest::mouseClick(button, Qt::LeftButton);
        else
            QTest::keyClick(dialog, answer == u"Escape"_s ? Qt::Key_Escape : Qt::Key_Return);
        // "OK" closes the dialog and clears the flag; the answers leave that to the dialog's owner.
        QVERIFY(!dialog->isVisible());
        QCOMPARE(messageOpen, question);
        const bool yes = answer == u"Yes"_s || answer == u"Return"_s;
        QCOMPARE(answers, question ? QList<bool> { yes } : QList<bool>());
        delete dialog;
    }

    void rowMenusLockAndBadge()
    {
        TreeItem row(u"Invoices"_s);
        TreeHeader header(u"ROBOTS"_s);
        row.show();
        header.show();
        QVERIFY(QTest::qWaitForWindowExposed(&row) && QTest::qWaitForWindowExposed(&header));
        QCOMPARE(contextMenu(&header), QStringList({ u"Connect All"_s, u"Disconnect All"_s }));

        const QStringList disconnected = { u"Connect"_s, u"Logs"_s, u"-Clear"_s, u"-Disconnect"_s, u"Lock"_s };
        QCOMPARE(contextMenu(&row), disconnected);
        row.connectAct->trigger();
        QCOMPARE(contextMenu(&row), QStringList({ u"-Connect"_s, u"Logs"_s, u"Clear"_s, u"Disconnect"_s, u"Lock"_s }));
        row.disconnectAct->trigger();
        // The window's keyboard handling opens the same menu on Shift+F10.
        new KeyboardNavigation(&row, {}, nullptr);
        QCOMPARE(contextMenu(&row, true), disconnected);
        row.lockAct->trigger();
        QCOMPARE(row.lockAct->text(), u"Unlock"_s);
        row.lockAct->trigger();
        QCOMPARE(row.lockAct->text(), u"Lock"_s);

        row.addUnread(9);
        QCOMPARE(row.badgeLabel->text(), u"9"_s);
        row.addUnread(1);
        QCOMPARE(row.badgeLabel->text(), u"9+"_s);
        QCOMPARE(row.badgeLabel->toolTip(), u"10 new messages"_s);
        row.resetUnread();
        QVERIFY(row.badgeLabel->isHidden());
    }

private:
    std::unique_ptr<FramedWindow> window;
    Titlebar* bar = nullptr;
};

QTEST_MAIN(TestWidgets)
#include "test_widgets.moc"
