#include "qbutton.h"
#include "qloadingbutton.h"
#include "treeheader.h"
#include "treeitem.h"

#include <QAction>
#include <QApplication>
#include <QContextMenuEvent>
#include <QFontDatabase>
#include <QMenu>
#include <QMovie>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>
#include <QVBoxLayout>

namespace {

// Right-clicks the widget and answers the entries of the menu that opens, a disabled one with a leading "-".
QStringList contextMenu(QWidget* widget)
{
    QStringList entries;
    // Scoped, so that it cannot fire after the function when no menu opened.
    QTimer timer;
    timer.setSingleShot(true);
    QObject::connect(&timer, &QTimer::timeout, widget, [&] {
        if (auto* popup = qobject_cast<QMenu*>(QApplication::activePopupWidget())) {
            for (const QAction* action : popup->actions())
                entries << (action->isEnabled() ? QString() : QStringLiteral("-")) + action->text();
            popup->close();
        }
    });
    timer.start(0);
    QContextMenuEvent event(QContextMenuEvent::Mouse, QPoint(5, 5), widget->mapToGlobal(QPoint(5, 5)));
    QApplication::sendEvent(widget, &event);
    return entries;
}

} // namespace

// The styled buttons and the rows of the robot tree.
class TestControls final : public QObject
{
    Q_OBJECT

private slots:
    void buttonColoursAndFocus();
    void animationLoopsOnlyWhileShown_data();
    void animationLoopsOnlyWhileShown();
    void rowMenusLockAndBadge();
    void rowsRegisterTheirFontOnce();
};

void TestControls::buttonColoursAndFocus()
{
    QWidget window;
    // A short list: the last colour stands for the states not given. The first is the disabled state's.
    auto* button = new QButton({ QStringLiteral("#ff0000"), QStringLiteral("#00ff00") });
    (new QVBoxLayout(&window))->addWidget(button);
    button->setMinimumSize(80, 40);
    window.show();
    window.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    const auto centreColour = [button] {
        const QImage image = button->grab().toImage();
        return image.pixelColor(image.width() / 2, image.height() / 2);
    };
    QCOMPARE(centreColour(), QColor(0, 255, 0));
    // Letting go of the mouse drops the focus.
    button->setFocus();
    QTest::mouseClick(button, Qt::LeftButton);
    QVERIFY(!button->hasFocus());
    button->setEnabled(false);
    QCOMPARE(centreColour(), QColor(255, 0, 0));
}

void TestControls::animationLoopsOnlyWhileShown_data()
{
    QTest::addColumn<QString>("gif");
    QTest::newRow("endless") << QStringLiteral(":/images/loading.gif");
    QTest::newRow("played once, restarted") << QStringLiteral(TEST_DATA_DIR "/once.gif");
}

void TestControls::animationLoopsOnlyWhileShown()
{
    QFETCH(QString, gif);
    QLoadingButton button;
    button.start();
    button.stop();
    button.show();
    QVERIFY(QTest::qWaitForWindowExposed(&button));
    button.setGif(gif);
    QVERIFY(button.icon().isNull());
    button.start();
    QTRY_VERIFY(!button.icon().isNull());
    // Past its last frame the animation goes on from the first (played fast, to get there soon).
    QSignalSpy frames(button.movie, &QMovie::frameChanged);
    button.movie->setSpeed(1000);
    QTRY_VERIFY(frames.count() > button.movie->frameCount());
    QCOMPARE(button.movie->state(), QMovie::Running);
    // A hidden button's animation must not keep a timer running.
    button.hide();
    QCOMPARE(button.movie->state(), QMovie::Paused);
    button.show();
    QCOMPARE(button.movie->state(), QMovie::Running);
    button.stop();
    QVERIFY(button.icon().isNull());
}

void TestControls::rowMenusLockAndBadge()
{
    TreeItem row(QStringLiteral("Invoices"));
    TreeHeader header(QStringLiteral("ROBOTS"));
    row.show();
    header.show();
    QVERIFY(QTest::qWaitForWindowExposed(&row) && QTest::qWaitForWindowExposed(&header));
    QCOMPARE(contextMenu(&header), QStringList({ QStringLiteral("Connect All"), QStringLiteral("Disconnect All") }));

    // Receivers still see the previous enabling while the signal is delivered.
    QList<bool> seen;
    connect(&row, &TreeItem::connectAction, &row, [&] { seen << row.connectAct->isEnabled(); });
    connect(&row, &TreeItem::disconnectAction, &row, [&] { seen << row.disconnectAct->isEnabled(); });
    const QStringList disconnected = { QStringLiteral("Connect"), QStringLiteral("Logs"), QStringLiteral("-Clear"),
        QStringLiteral("-Disconnect"), QStringLiteral("Lock") };
    QCOMPARE(contextMenu(&row), disconnected);
    row.connectAct->trigger();
    QCOMPARE(contextMenu(&row),
        QStringList({ QStringLiteral("-Connect"), QStringLiteral("Logs"), QStringLiteral("Clear"),
            QStringLiteral("Disconnect"), QStringLiteral("Lock") }));
    row.disconnectAct->trigger();
    QCOMPARE(contextMenu(&row), disconnected);
    QCOMPARE(seen, QList<bool>({ true, true }));

    QSignalSpy locks(&row, &TreeItem::lockAction);
    row.lockAct->trigger();
    QCOMPARE(row.lockAct->text(), QStringLiteral("Unlock"));
    row.lockAct->trigger();
    QCOMPARE(row.lockAct->text(), QStringLiteral("Lock"));
    QCOMPARE(locks, QList<QList<QVariant>>({ { true }, { false } }));

    row.addUnread(9);
    QCOMPARE(row.badgeLabel->text(), QStringLiteral("9"));
    row.addUnread(1);
    QCOMPARE(row.badgeLabel->text(), QStringLiteral("9+"));
    QCOMPARE(row.badgeLabel->toolTip(), QStringLiteral("10 new messages"));
    row.resetUnread();
    QVERIFY(row.badgeLabel->isHidden());
}

void TestControls::rowsRegisterTheirFontOnce()
{
    // Font ids count up with each registration, so two probe registrations frame whatever the rows registered.
    const QString probe = QStringLiteral(":/fonts/Poppins-Regular.ttf");
    const TreeItem first(QStringLiteral("a"));
    const int before = QFontDatabase::addApplicationFont(probe);
    const TreeItem second(QStringLiteral("b"));
    const TreeHeader header(QStringLiteral("ROBOTS"));
    QCOMPARE(QFontDatabase::addApplicationFont(probe), before + 1);
}

QTEST_MAIN(TestControls)
#include "test_controls.moc"
