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
    void shortListsArePaddedAndStatesCrossed();
    void releaseDropsFocus();
    void secondGifIsIgnored();
    void finiteAnimationLoopsOnlyWhileShown();
    void rowMenusFollowConnectAndDisconnect();
    void rowLockAndBadge();
    void rowsRegisterTheirFontOnce();
};

void TestControls::shortListsArePaddedAndStatesCrossed()
{
    QButton button({ QStringLiteral("#ff0000"), QStringLiteral("#00ff00") }, { QStringLiteral("#333") });
    QVERIFY(!button.styleSheetText.contains(QLatin1Char('%')));
    QVERIFY(
        button.styleSheetText.contains(QStringLiteral("QPushButton:focus { background-color: #00ff00; color: #333;")));

    // The first entry is the disabled state's, the second the normal one's.
    const auto centreColour = [&] {
        const QImage image = button.grab().toImage();
        return image.pixelColor(image.width() / 2, image.height() / 2);
    };
    button.resize(80, 40);
    QCOMPARE(centreColour(), QColor(0, 255, 0));
    button.setEnabled(false);
    QCOMPARE(centreColour(), QColor(255, 0, 0));
}

void TestControls::releaseDropsFocus()
{
    QWidget window;
    auto* button = new QButton();
    (new QVBoxLayout(&window))->addWidget(button);
    window.show();
    window.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    button->setFocus();
    QTest::mouseClick(button, Qt::LeftButton);
    QVERIFY(!button->hasFocus());
}

void TestControls::secondGifIsIgnored()
{
    QLoadingButton button;
    button.setGif(QStringLiteral(":/images/loading.gif"));
    button.start();
    QTRY_VERIFY(!button.icon().isNull());
    // The call still stops the animation and clears the icon.
    button.setGif(QStringLiteral(TEST_DATA_DIR "/once.gif"));
    QCOMPARE(button.movie->fileName(), QStringLiteral(":/images/loading.gif"));
    QCOMPARE(button.movie->state(), QMovie::NotRunning);
    QVERIFY(button.icon().isNull());
}

void TestControls::finiteAnimationLoopsOnlyWhileShown()
{
    QLoadingButton button;
    button.show();
    QVERIFY(QTest::qWaitForWindowExposed(&button));
    button.setGif(QStringLiteral(TEST_DATA_DIR "/once.gif"));
    QSignalSpy finished(button.movie, &QMovie::finished);
    button.start();
    QTRY_VERIFY(finished.count() >= 2);
    QCOMPARE(button.movie->state(), QMovie::Running);
    // A hidden button's animation must not keep a timer running.
    button.hide();
    QCOMPARE(button.movie->state(), QMovie::Paused);
    button.show();
    QCOMPARE(button.movie->state(), QMovie::Running);
}

void TestControls::rowMenusFollowConnectAndDisconnect()
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
}

void TestControls::rowLockAndBadge()
{
    TreeItem row(QStringLiteral("Invoices"));
    QSignalSpy locks(&row, &TreeItem::lockAction);
    row.lockAct->trigger();
    QCOMPARE(row.lockAct->text(), QStringLiteral("Unlock"));
    row.lockAct->trigger();
    QCOMPARE(row.lockAct->text(), QStringLiteral("Lock"));
    QCOMPARE(locks.count(), 2);
    QVERIFY(locks.at(0).at(0).toBool() && !locks.at(1).at(0).toBool());

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
