#include "appglobals.h"
#include "messagedialog.h"
#include "qbutton.h"
#include "qgrip.h"
#include "titlebar.h"

#include <QApplication>
#include <QLabel>
#include <QMouseEvent>
#include <QPointer>
#include <QSettings>
#include <QTest>
#include <QVBoxLayout>

#include <memory>
#include <utility>

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

// Sends the move of a held left button to where the cursor now is on screen, as the windowing system would.
void dragTo(QWidget* widget, QPoint global)
{
    QMouseEvent move(QEvent::MouseMove, widget->mapFromGlobal(QPointF(global)), QPointF(global), Qt::NoButton,
        Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(widget, &move);
}

QList<int> stored(const QStringList& keys)
{
    QList<int> values;
    for (const QString& key : keys)
        values << traySettings->value(key, -1).toInt();
    return values;
}

QButton* button(QWidget* dialog, const QString& text)
{
    for (QButton* candidate : dialog->findChildren<QButton*>()) {
        if (candidate->text() == text)
            return candidate;
    }
    return nullptr;
}

} // namespace

// The frame replacement (title bar and grips) and the message dialog.
class TestWindows final : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void dragMovesAndDropAboveTheScreenMaximises();
    void restoresStoredState();
    void gripsResizeWithinTheLimits();
    void okAloneClearsTheFlag();
    void iconFollowsTheKind();

private:
    std::unique_ptr<FramedWindow> window;
    Titlebar* bar = nullptr;
    const QFont font;
};

void TestWindows::init()
{
    traySettings->clear();
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

void TestWindows::dragMovesAndDropAboveTheScreenMaximises()
{
    const QPoint grab(200, 20);
    QTest::mousePress(bar, Qt::LeftButton, {}, grab);
    dragTo(bar, bar->mapToGlobal(grab) + QPoint(30, 15));
    QCOMPARE(window->pos(), QPoint(130, 115));
    QTest::mouseRelease(bar, Qt::LeftButton, {}, grab);
    QCOMPARE(stored({ QStringLiteral("x"), QStringLiteral("y") }), QList<int>({ 130, 115 }));
    // Without a press, moves do nothing.
    dragTo(bar, bar->mapToGlobal(grab) + QPoint(50, 50));
    QCOMPARE(window->pos(), QPoint(130, 115));

    // Dropped above the screen, it maximises; a double click with any button restores it.
    QTest::mousePress(bar, Qt::LeftButton, {}, grab);
    dragTo(bar, bar->mapToGlobal(grab) + QPoint(0, -165));
    QTest::mouseRelease(bar, Qt::LeftButton, {}, grab);
    QVERIFY(window->isMaximized());
    QCOMPARE(traySettings->value(QStringLiteral("fullscreen")), QVariant(true));
    QTest::mouseDClick(bar, Qt::RightButton, {}, grab);
    QVERIFY(!window->isMaximized());
    QCOMPARE(traySettings->value(QStringLiteral("fullscreen")), QVariant(false));
}

void TestWindows::restoresStoredState()
{
    const auto restored = [](const QVariantMap& values) {
        traySettings->clear();
        for (auto it = values.cbegin(); it != values.cend(); ++it)
            traySettings->setValue(it.key(), it.value());
        FramedWindow w;
        w.setGeometry(100, 100, 600, 400);
        new Titlebar(&w);
        return w.isMaximized() ? QRect() : w.geometry();
    };
    QCOMPARE(restored({ { QStringLiteral("x"), -50 }, { QStringLiteral("y"), 20 }, { QStringLiteral("width"), 5000 },
                 { QStringLiteral("height"), 300 } }),
        QRect(0, 20, 5000, 300));
    // Without a stored size the designed geometry stays.
    QCOMPARE(restored({ { QStringLiteral("x"), 40 }, { QStringLiteral("y"), 30 } }), QRect(100, 100, 600, 400));
    QCOMPARE(restored({ { QStringLiteral("fullscreen"), QStringLiteral("true") } }), QRect());
}

void TestWindows::gripsResizeWithinTheLimits()
{
    window->setMinimumSize(300, 200);
    const auto pressGrip = [&](int position, QPoint at) {
        auto* grip = new QGrip(2, position, QStringLiteral("#40444b"), QStringLiteral("#202225"));
        grip->setParent(window.get());
        grip->move(at);
        grip->show();
        QTest::mousePress(grip, Qt::LeftButton, {}, QPoint(2, 2));
        return grip;
    };
    QGrip* bottomRight = pressGrip(7, QPoint(596, 396));
    dragTo(bottomRight, bottomRight->mapToGlobal(QPoint(2, 2)) + QPoint(50, 30));
    QCOMPARE(window->geometry(), QRect(100, 100, 650, 430));
    QTest::mouseRelease(bottomRight, Qt::LeftButton, {}, QPoint(2, 2));
    QCOMPARE(stored({ QStringLiteral("x"), QStringLiteral("y"), QStringLiteral("width"), QStringLiteral("height") }),
        QList<int>({ 100, 100, 650, 430 }));

    // Too low a height stays at the minimum with the top edge still, while the width follows the drag.
    QGrip* topLeft = pressGrip(4, QPoint(0, 0));
    dragTo(topLeft, topLeft->mapToGlobal(QPoint(2, 2)) + QPoint(40, 300));
    QCOMPARE(window->geometry(), QRect(140, 100, 610, 200));
}

void TestWindows::okAloneClearsTheFlag()
{
    bool messageOpen = false;
    QPointer<MessageDialog> message = MessageDialog::showMessage(
        font, font, &messageOpen, MessageDialog::Info, QStringLiteral("Saved"), QStringLiteral("All done."));
    // Reaching this line at all shows that the call did not block.
    QVERIFY(messageOpen);
    QVERIFY(QTest::qWaitForWindowExposed(message));
    QVERIFY(message->isModal());
    QTest::mouseClick(button(message, QStringLiteral("OK")), Qt::LeftButton);
    QVERIFY(!messageOpen);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(message.isNull());

    // The answers close the dialog but leave the flag set and the dialog to its owner.
    for (const bool yes : { true, false }) {
        messageOpen = false;
        QList<bool> answers;
        QPointer<MessageDialog> confirm
            = MessageDialog::showConfirm(font, font, &messageOpen, MessageDialog::Warning, QStringLiteral("Remove"),
                QStringLiteral("Remove this workspace?"), [&](bool answer) { answers << answer; });
        QTest::mouseClick(button(confirm, yes ? QStringLiteral("Yes") : QStringLiteral("No")), Qt::LeftButton);
        QCOMPARE(answers, QList<bool> { yes });
        QVERIFY(!confirm->isVisible() && messageOpen);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(!confirm.isNull());
        delete confirm;
    }
}

void TestWindows::iconFollowsTheKind()
{
    const QList<std::pair<int, QSize>> kinds = { { MessageDialog::Warning, QSize(37, 32) }, { 3, QSize(0, 0) } };
    for (const auto& [kind, size] : kinds) {
        std::unique_ptr<MessageDialog> dialog(MessageDialog::showConfirm(
            font, font, nullptr, kind, QStringLiteral("Title"), QStringLiteral("Text"), nullptr));
        // The icon's label is the one without a text.
        QSize shown(-1, -1);
        for (const QLabel* label : dialog->findChildren<QLabel*>()) {
            if (label->text().isEmpty())
                shown = label->pixmap().size();
        }
        QCOMPARE(shown, size);
    }
}

QTEST_MAIN(TestWindows)
#include "test_windows.moc"
