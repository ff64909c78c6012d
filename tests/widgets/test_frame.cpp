#include "appglobals.h"
#include "qbutton.h"
#include "qgrip.h"
#include "titlebar.h"

#include <QApplication>
#include <QMouseEvent>
#include <QSettings>
#include <QTest>
#include <QVBoxLayout>

namespace {

// A frameless top-level window like the main one: it hides instead of closing.
class FramedWindow final : public QWidget
{
    Q_OBJECT

public:
    FramedWindow() { setWindowFlags(Qt::FramelessWindowHint); }
    int hides = 0;

public slots:
    void doHide() { ++hides; }
};

// Sends the move of a held left button to where the cursor now is on screen, as the windowing system would.
void dragTo(QWidget* widget, QPoint global)
{
    QMouseEvent move(QEvent::MouseMove, widget->mapFromGlobal(QPointF(global)), QPointF(global), Qt::NoButton,
        Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(widget, &move);
}

int storedInt(const char* key)
{
    return traySettings->value(QLatin1String(key), -999).toInt();
}

QButton* titleButton(Titlebar* bar, const QString& toolTip)
{
    for (QButton* button : bar->findChildren<QButton*>()) {
        if (button->toolTip() == toolTip)
            return button;
    }
    return nullptr;
}

} // namespace

class TestFrame final : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void buttonsAndDoubleClick();
    void dragMovesAndDropAboveTheScreenMaximises();
    void dragWhileMaximisedRestoresFirst();
    void restoresStoredState_data();
    void restoresStoredState();
    void gripsResizeWithinTheLimits();

private:
    // A window of 600 x 400 at (100, 100) holding a title bar, shown.
    void buildWindow();
    QGrip* addGrip(int kind, int position, QPoint at);

    std::unique_ptr<FramedWindow> window;
    Titlebar* bar = nullptr;
};

void TestFrame::init()
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

QGrip* TestFrame::addGrip(int kind, int position, QPoint at)
{
    auto* grip = new QGrip(kind, position, QStringLiteral("#40444b"), QStringLiteral("#202225"));
    grip->setParent(window.get());
    grip->move(at);
    grip->show();
    return grip;
}

void TestFrame::buttonsAndDoubleClick()
{
    QTest::mouseClick(titleButton(bar, QStringLiteral("Close")), Qt::LeftButton);
    QCOMPARE(window->hides, 1);
    QVERIFY(window->isVisible());

    QTest::mouseClick(titleButton(bar, QStringLiteral("Maximize")), Qt::LeftButton);
    QVERIFY(window->isMaximized());
    QCOMPARE(traySettings->value(QStringLiteral("fullscreen")), QVariant(true));
    QTest::mouseDClick(bar, Qt::RightButton, {}, QPoint(200, 20));
    QVERIFY(!window->isMaximized());
    QCOMPARE(traySettings->value(QStringLiteral("fullscreen")), QVariant(false));

    QTest::mouseClick(titleButton(bar, QStringLiteral("Minimize")), Qt::LeftButton);
    QVERIFY(window->isMinimized());
}

void TestFrame::dragMovesAndDropAboveTheScreenMaximises()
{
    const QPoint grab(200, 20);
    QTest::mousePress(bar, Qt::LeftButton, {}, grab);
    dragTo(bar, bar->mapToGlobal(grab) + QPoint(30, 15));
    QCOMPARE(window->pos(), QPoint(130, 115));
    QVERIFY(!traySettings->contains(QStringLiteral("x")));
    QTest::mouseRelease(bar, Qt::LeftButton, {}, grab);
    QCOMPARE(storedInt("x"), 130);
    QCOMPARE(storedInt("y"), 115);
    QVERIFY(!traySettings->contains(QStringLiteral("width")));
    QVERIFY(!window->isMaximized());

    // After the release, moves without a new press do nothing.
    dragTo(bar, bar->mapToGlobal(grab) + QPoint(50, 50));
    QCOMPARE(window->pos(), QPoint(130, 115));

    QTest::mousePress(bar, Qt::LeftButton, {}, grab);
    dragTo(bar, bar->mapToGlobal(grab) + QPoint(0, -165));
    QCOMPARE(window->y(), -50);
    QTest::mouseRelease(bar, Qt::LeftButton, {}, grab);
    QVERIFY(window->isMaximized());
    QCOMPARE(traySettings->value(QStringLiteral("fullscreen")), QVariant(true));
}

void TestFrame::dragWhileMaximisedRestoresFirst()
{
    bar->btn_maximize_clicked();
    QTest::mousePress(bar, Qt::LeftButton, {}, QPoint(300, 20));
    dragTo(bar, bar->mapToGlobal(QPoint(301, 20)));
    QVERIFY(!window->isMaximized());
    QCOMPARE(traySettings->value(QStringLiteral("fullscreen")), QVariant(false));
    // The grab point moves left by half the cursor's x (300 - 150.5, truncated); this event does not move the window.
    QCOMPARE(bar->pressPos, QPoint(149, 20));
    const QPoint restored = window->pos();
    QCOMPARE(window->size(), QSize(600, 400));

    dragTo(bar, bar->mapToGlobal(QPoint(159, 25)));
    QCOMPARE(window->pos(), restored + QPoint(10, 5));
}

void TestFrame::restoresStoredState_data()
{
    QTest::addColumn<QVariantMap>("values");
    QTest::addColumn<QRect>("geometry");
    QTest::addColumn<bool>("maximised");
    const QRect designed(100, 100, 600, 400);
    QTest::newRow("negative place clamped, sizes as stored") << QVariantMap { { QStringLiteral("x"), -50 },
        { QStringLiteral("y"), 20 }, { QStringLiteral("width"), 5000 }, { QStringLiteral("height"), 300 } }
                                                             << QRect(0, 20, 5000, 300) << false;
    QTest::newRow("only the place stored")
        << QVariantMap { { QStringLiteral("x"), 40 }, { QStringLiteral("y"), 30 } } << designed << false;
    QTest::newRow("maximised") << QVariantMap { { QStringLiteral("fullscreen"), QStringLiteral("true") } } << QRect()
                               << true;
}

void TestFrame::restoresStoredState()
{
    QFETCH(QVariantMap, values);
    QFETCH(QRect, geometry);
    QFETCH(bool, maximised);
    traySettings->clear();
    for (auto it = values.cbegin(); it != values.cend(); ++it)
        traySettings->setValue(it.key(), it.value());
    FramedWindow w;
    w.setGeometry(100, 100, 600, 400);
    new Titlebar(&w);
    QCOMPARE(w.isMaximized(), maximised);
    if (!maximised)
        QCOMPARE(w.geometry(), geometry);
}

void TestFrame::gripsResizeWithinTheLimits()
{
    window->setMinimumSize(300, 200);
    window->setMaximumWidth(800);
    QGrip* bottomRight = addGrip(2, 7, QPoint(596, 396));
    QTest::mousePress(bottomRight, Qt::LeftButton, {}, QPoint(2, 2));
    dragTo(bottomRight, bottomRight->mapToGlobal(QPoint(2, 2)) + QPoint(50, 30));
    QCOMPARE(window->geometry(), QRect(100, 100, 650, 430));
    QTest::mouseRelease(bottomRight, Qt::LeftButton, {}, QPoint(2, 2));
    QCOMPARE(QList<int>({ storedInt("x"), storedInt("y"), storedInt("width"), storedInt("height") }),
        QList<int>({ 100, 100, 650, 430 }));
    dragTo(bottomRight, bottomRight->mapToGlobal(QPoint(2, 2)) + QPoint(50, 30));
    QCOMPARE(window->geometry(), QRect(100, 100, 650, 430));

    // Too low a height stays at the minimum with the top edge still, while the width follows the drag.
    QGrip* topLeft = addGrip(2, 4, QPoint(0, 0));
    QTest::mousePress(topLeft, Qt::LeftButton, {}, QPoint(2, 2));
    dragTo(topLeft, topLeft->mapToGlobal(QPoint(2, 2)) + QPoint(-20, -30));
    QCOMPARE(window->geometry(), QRect(80, 70, 670, 460));
    dragTo(topLeft, topLeft->mapToGlobal(QPoint(2, 2)) + QPoint(40, 300));
    QCOMPARE(window->geometry(), QRect(120, 70, 630, 200));
    dragTo(topLeft, topLeft->mapToGlobal(QPoint(2, 2)) + QPoint(-300, 0));
    QCOMPARE(window->geometry(), QRect(120, 70, 800, 200));
}

QTEST_MAIN(TestFrame)
#include "test_frame.moc"
