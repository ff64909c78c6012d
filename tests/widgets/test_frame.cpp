#include "appglobals.h"
#include "qbutton.h"
#include "qgrip.h"
#include "titlebar.h"

#include <QApplication>
#include <QMouseEvent>
#include <QSettings>
#include <QSignalSpy>
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

QVariant stored(const char* key)
{
    return traySettings->value(QLatin1String(key));
}

void storeGeometry(const QVariantMap& values)
{
    traySettings->clear();
    for (auto it = values.cbegin(); it != values.cend(); ++it)
        traySettings->setValue(it.key(), it.value());
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
    void buttonsHideMinimiseAndToggleMaximise();
    void doubleClickTogglesMaximise();
    void dragMovesTheWindowAndStoresItsPlace();
    void dropAboveTheScreenMaximises();
    void dragWhileMaximisedRestoresFirst();
    void restoresStoredGeometry_data();
    void restoresStoredGeometry();
    void restoresMaximisedState();
    void gripShapes_data();
    void gripShapes();
    void cornerGripResizesAndStores();
    void gripStopsAtTheSizeLimitsWithTheOppositeEdgeStill();

private:
    // A window of 600 x 400 at (100, 100) holding a title bar, shown and active.
    void buildWindow();
    QGrip* addGrip(int kind, int position, QPoint at);

    std::unique_ptr<FramedWindow> window;
    Titlebar* bar = nullptr;
};

void TestFrame::init()
{
    traySettings->clear();
    window.reset();
}

void TestFrame::buildWindow()
{
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

void TestFrame::buttonsHideMinimiseAndToggleMaximise()
{
    buildWindow();
    const QList<QButton*> buttons = bar->findChildren<QButton*>();
    QCOMPARE(buttons.size(), 3);
    QVERIFY(buttons[0]->x() < buttons[1]->x() && buttons[1]->x() < buttons[2]->x());
    QCOMPARE(buttons[2]->toolTip(), QStringLiteral("Close"));
    QVERIFY(buttons[2]->styleSheetText.contains(QStringLiteral("QPushButton:hover { background-color: #c00;")));
    QVERIFY(buttons[0]->styleSheetText.contains(QStringLiteral("QPushButton:focus { background-color: #202225;")));
    QVERIFY(buttons[2]->x() + buttons[2]->width() > bar->width() - 40);

    QTest::mouseClick(buttons[2], Qt::LeftButton);
    QCOMPARE(window->hides, 1);
    QVERIFY(window->isVisible());

    QTest::mouseClick(titleButton(bar, QStringLiteral("Maximize")), Qt::LeftButton);
    QVERIFY(window->isMaximized());
    QCOMPARE(stored("fullscreen"), QVariant(true));
    QTest::mouseClick(titleButton(bar, QStringLiteral("Maximize")), Qt::LeftButton);
    QVERIFY(!window->isMaximized());
    QCOMPARE(stored("fullscreen"), QVariant(false));

    QTest::mouseClick(titleButton(bar, QStringLiteral("Minimize")), Qt::LeftButton);
    QVERIFY(window->isMinimized());
}

void TestFrame::doubleClickTogglesMaximise()
{
    buildWindow();
    QTest::mouseDClick(bar, Qt::LeftButton, {}, QPoint(200, 20));
    QVERIFY(window->isMaximized());
    QTest::mouseDClick(bar, Qt::RightButton, {}, QPoint(200, 20));
    QVERIFY(!window->isMaximized());
    QCOMPARE(stored("fullscreen"), QVariant(false));
}

void TestFrame::dragMovesTheWindowAndStoresItsPlace()
{
    buildWindow();
    const QPoint grab(200, 20);
    QTest::mousePress(bar, Qt::LeftButton, {}, grab);
    dragTo(bar, bar->mapToGlobal(grab) + QPoint(30, 15));
    QCOMPARE(window->pos(), QPoint(130, 115));
    dragTo(bar, bar->mapToGlobal(grab) + QPoint(-10, 5));
    QCOMPARE(window->pos(), QPoint(120, 120));
    QVERIFY(!traySettings->contains(QStringLiteral("x")));
    QTest::mouseRelease(bar, Qt::LeftButton, {}, grab);
    QCOMPARE(bar->pressPos, QPoint(-1, -1));
    QCOMPARE(stored("x").toInt(), 120);
    QCOMPARE(stored("y").toInt(), 120);
    QVERIFY(!traySettings->contains(QStringLiteral("width")));

    // After the release, moves without a new press do nothing.
    dragTo(bar, bar->mapToGlobal(grab) + QPoint(50, 50));
    QCOMPARE(window->pos(), QPoint(120, 120));
}

void TestFrame::dropAboveTheScreenMaximises()
{
    buildWindow();
    const QPoint grab(200, 20);
    QTest::mousePress(bar, Qt::LeftButton, {}, grab);
    dragTo(bar, bar->mapToGlobal(grab) + QPoint(0, -150));
    QCOMPARE(window->y(), -50);
    QTest::mouseRelease(bar, Qt::LeftButton, {}, grab);
    QVERIFY(window->isMaximized());
    QCOMPARE(stored("fullscreen"), QVariant(true));
    QCOMPARE(stored("y").toInt(), window->y());
}

void TestFrame::dragWhileMaximisedRestoresFirst()
{
    buildWindow();
    bar->btn_maximize_clicked();
    QVERIFY(window->isMaximized());
    const QPoint grab(300, 20);
    QTest::mousePress(bar, Qt::LeftButton, {}, grab);
    dragTo(bar, bar->mapToGlobal(QPoint(301, 20)));
    QVERIFY(!window->isMaximized());
    QCOMPARE(stored("fullscreen"), QVariant(false));
    // The grab point moves left by half the cursor's x (300 - 150.5, truncated); this event does not move the window.
    QCOMPARE(bar->pressPos, QPoint(149, 20));
    const QPoint restored = window->pos();
    QCOMPARE(window->size(), QSize(600, 400));

    dragTo(bar, bar->mapToGlobal(QPoint(159, 25)));
    QCOMPARE(window->pos(), restored + QPoint(10, 5));
}

void TestFrame::restoresStoredGeometry_data()
{
    QTest::addColumn<QVariantMap>("values");
    QTest::addColumn<QRect>("geometry");
    const QRect designed(100, 100, 600, 400);
    QTest::newRow("all four") << QVariantMap { { QStringLiteral("x"), 40 }, { QStringLiteral("y"), 30 },
        { QStringLiteral("width"), 700 }, { QStringLiteral("height"), 500 } }
                              << QRect(40, 30, 700, 500);
    QTest::newRow("negative place clamped, sizes as stored") << QVariantMap { { QStringLiteral("x"), -50 },
        { QStringLiteral("y"), 20 }, { QStringLiteral("width"), 5000 }, { QStringLiteral("height"), 300 } }
                                                             << QRect(0, 20, 5000, 300);
    QTest::newRow("only the place stored")
        << QVariantMap { { QStringLiteral("x"), 40 }, { QStringLiteral("y"), 30 } } << designed;
    QTest::newRow("height missing") << QVariantMap { { QStringLiteral("x"), 40 }, { QStringLiteral("y"), 30 },
        { QStringLiteral("width"), 700 } }
                                    << designed;
}

void TestFrame::restoresStoredGeometry()
{
    QFETCH(QVariantMap, values);
    QFETCH(QRect, geometry);
    storeGeometry(values);
    FramedWindow w;
    w.setGeometry(100, 100, 600, 400);
    auto* titlebar = new Titlebar(&w);
    QCOMPARE(titlebar->pressPos, QPoint(0, 0));
    QCOMPARE(w.geometry(), geometry);
    QVERIFY(!w.isMaximized());
}

void TestFrame::restoresMaximisedState()
{
    storeGeometry({ { QStringLiteral("fullscreen"), QStringLiteral("true") } });
    FramedWindow w;
    new Titlebar(&w);
    QVERIFY(w.isMaximized());
    QCOMPARE(stored("fullscreen"), QVariant(true));

    storeGeometry({ { QStringLiteral("fullscreen"), false } });
    FramedWindow normal;
    new Titlebar(&normal);
    QVERIFY(!normal.isMaximized());
}

void TestFrame::gripShapes_data()
{
    QTest::addColumn<int>("kind");
    QTest::addColumn<int>("position");
    QTest::addColumn<Qt::CursorShape>("cursor");
    QTest::addColumn<QSize>("fixedSize");
    const int free = QWIDGETSIZE_MAX;
    QTest::newRow("top edge") << 0 << 0 << Qt::SizeVerCursor << QSize(free, 4);
    QTest::newRow("left edge") << 1 << 3 << Qt::SizeHorCursor << QSize(4, free);
    QTest::newRow("top-left") << 2 << 4 << Qt::SizeFDiagCursor << QSize(4, 4);
    QTest::newRow("top-right") << 2 << 5 << Qt::SizeBDiagCursor << QSize(4, 4);
    QTest::newRow("bottom-left") << 2 << 6 << Qt::SizeBDiagCursor << QSize(4, 4);
    QTest::newRow("bottom-right") << 2 << 7 << Qt::SizeFDiagCursor << QSize(4, 4);
}

void TestFrame::gripShapes()
{
    QFETCH(int, kind);
    QFETCH(int, position);
    QFETCH(Qt::CursorShape, cursor);
    QFETCH(QSize, fixedSize);
    QGrip grip(kind, position, QStringLiteral("#40444b"), QStringLiteral("#202225"));
    QCOMPARE(grip.cursor().shape(), cursor);
    QCOMPARE(QSize(fixedSize.width() == QWIDGETSIZE_MAX ? grip.maximumWidth() : grip.width(),
                 fixedSize.height() == QWIDGETSIZE_MAX ? grip.maximumHeight() : grip.height()),
        fixedSize);
    QVERIFY(grip.styleSheet().startsWith(QStringLiteral("background-color: #40444b; border: 1px solid #202225; ")));
}

void TestFrame::cornerGripResizesAndStores()
{
    buildWindow();
    QGrip* bottomRight = addGrip(2, 7, QPoint(596, 396));
    QTest::mousePress(bottomRight, Qt::LeftButton, {}, QPoint(2, 2));
    dragTo(bottomRight, bottomRight->mapToGlobal(QPoint(2, 2)) + QPoint(50, 30));
    QCOMPARE(window->geometry(), QRect(100, 100, 650, 430));
    QTest::mouseRelease(bottomRight, Qt::LeftButton, {}, QPoint(2, 2));
    QCOMPARE(bottomRight->pressPos, QPoint(-1, -1));
    QCOMPARE(stored("x").toInt(), 100);
    QCOMPARE(stored("y").toInt(), 100);
    QCOMPARE(stored("width").toInt(), 650);
    QCOMPARE(stored("height").toInt(), 430);

    QGrip* topLeft = addGrip(2, 4, QPoint(0, 0));
    QTest::mousePress(topLeft, Qt::LeftButton, {}, QPoint(2, 2));
    dragTo(topLeft, topLeft->mapToGlobal(QPoint(2, 2)) + QPoint(-20, -30));
    QCOMPARE(window->geometry(), QRect(80, 70, 670, 460));
    QTest::mouseRelease(topLeft, Qt::LeftButton, {}, QPoint(2, 2));

    // A grip that was released ignores moves until pressed again.
    dragTo(topLeft, topLeft->mapToGlobal(QPoint(2, 2)) + QPoint(-20, -30));
    QCOMPARE(window->geometry(), QRect(80, 70, 670, 460));
}

void TestFrame::gripStopsAtTheSizeLimitsWithTheOppositeEdgeStill()
{
    buildWindow();
    window->setMinimumSize(300, 200);
    window->setMaximumWidth(800);
    QGrip* topLeft = addGrip(2, 4, QPoint(0, 0));
    QTest::mousePress(topLeft, Qt::LeftButton, {}, QPoint(2, 2));
    dragTo(topLeft, topLeft->mapToGlobal(QPoint(2, 2)) + QPoint(40, 250));
    // The height would drop to 150: it stays at the minimum and the top edge stays; the width follows.
    QCOMPARE(window->geometry(), QRect(140, 100, 560, 200));
    dragTo(topLeft, topLeft->mapToGlobal(QPoint(2, 2)) + QPoint(-300, 0));
    QCOMPARE(window->geometry(), QRect(140, 100, 800, 200));

    QGrip* right = addGrip(1, 1, QPoint(window->width() - 4, 50));
    QTest::mousePress(right, Qt::LeftButton, {}, QPoint(2, 2));
    dragTo(right, right->mapToGlobal(QPoint(2, 2)) + QPoint(-600, 0));
    QCOMPARE(window->geometry(), QRect(140, 100, 300, 200));
}

QTEST_MAIN(TestFrame)
#include "test_frame.moc"
