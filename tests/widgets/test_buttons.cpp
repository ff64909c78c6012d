#include "qbutton.h"
#include "qloadingbutton.h"

#include <QMovie>
#include <QSignalSpy>
#include <QTest>
#include <QVBoxLayout>

namespace {

// The colour the style sheet paints in the middle of the button.
QColor centreColour(QPushButton* button)
{
    const QImage image = button->grab().toImage();
    return image.pixelColor(image.width() / 2, image.height() / 2);
}

} // namespace

class TestButtons final : public QObject
{
    Q_OBJECT

private slots:
    void defaultsAreWhiteEverywhere();
    void shortListsRepeatTheirLastEntry();
    void normalAndDisabledStatesAreCrossed();
    void clickEmitsOnClickedAndReleaseDropsFocus();
    void secondGifIsIgnored();
    void loadingIconFollowsTheAnimation();
    void finiteAnimationRestartsAtItsEnd();
};

void TestButtons::defaultsAreWhiteEverywhere()
{
    QButton button;
    QCOMPARE(button.objectName(), QStringLiteral("QButton"));
    QCOMPARE(button.cursor().shape(), Qt::PointingHandCursor);
    const QString sheet = button.styleSheetText;
    QCOMPARE(button.styleSheet(), sheet);
    QVERIFY(!sheet.contains(QLatin1Char('%')));
    for (const char* state :
        { "QPushButton {", "QPushButton:disabled {", "QPushButton:hover {", "QPushButton:focus {" })
        QVERIFY2(sheet.contains(QLatin1String(state) + QStringLiteral(" background-color: #fff;")), state);
    QCOMPARE(sheet.count(QStringLiteral("color: #fff;")), 8);
    QCOMPARE(sheet.count(QStringLiteral("border-radius: 6px;")), 4);
    QVERIFY(sheet.contains(QStringLiteral("margin: 0px; padding: 4px; min-width: 0px; min-height: 0px;")));
    QVERIFY(sheet.contains(QStringLiteral("border: 1px solid transparent;")));
}

void TestButtons::shortListsRepeatTheirLastEntry()
{
    QButton button({ QStringLiteral("#111"), QStringLiteral("#222") }, { QStringLiteral("#333") },
        { QStringLiteral("1px"), QStringLiteral("2px"), QStringLiteral("3px"), QStringLiteral("4px"),
            QStringLiteral("5px") },
        QStringLiteral("#abc"), QStringLiteral("1px"), QStringLiteral("2px 3px"), QStringLiteral("40px"),
        QStringLiteral("18px"));
    QCOMPARE(button.backgroundColors,
        QStringList(
            { QStringLiteral("#111"), QStringLiteral("#222"), QStringLiteral("#222"), QStringLiteral("#222") }));
    QCOMPARE(button.textColors, QStringList(4, QStringLiteral("#333")));
    QCOMPARE(button.borderRadii.size(), 5);
    const QString sheet = button.styleSheetText;
    QVERIFY(
        sheet.contains(QStringLiteral("QPushButton:hover { background-color: #222; color: #333; border-radius: 3px;")));
    QVERIFY(sheet.contains(QStringLiteral(
        "QPushButton:focus { background-color: #222; color: #333; border: 1px solid #abc; border-radius: "
        "4px;")));
    // The last value goes to the highest placeholder, which skips two numbers.
    QVERIFY(sheet.contains(QStringLiteral("margin: 1px; padding: 2px 3px; min-width: 40px; min-height: 18px;")));
    QVERIFY(!sheet.contains(QStringLiteral("5px")));
}

void TestButtons::normalAndDisabledStatesAreCrossed()
{
    QButton button({ QStringLiteral("#ff0000"), QStringLiteral("#00ff00") });
    button.resize(80, 40);
    QCOMPARE(centreColour(&button), QColor(0, 255, 0));
    button.setEnabled(false);
    QCOMPARE(centreColour(&button), QColor(255, 0, 0));
}

void TestButtons::clickEmitsOnClickedAndReleaseDropsFocus()
{
    QWidget window;
    auto* layout = new QVBoxLayout(&window);
    auto* button = new QButton();
    button->setText(QStringLiteral("Press"));
    layout->addWidget(button);
    window.show();
    window.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&window));

    QSignalSpy clicks(button, &QButton::onClicked);
    button->setFocus();
    QVERIFY(button->hasFocus());
    QTest::mousePress(button, Qt::LeftButton);
    QCOMPARE(clicks.count(), 0);
    QTest::mouseRelease(button, Qt::LeftButton);
    QCOMPARE(clicks.count(), 1);
    QVERIFY(!button->hasFocus());

    QTest::mouseClick(button, Qt::LeftButton);
    QCOMPARE(clicks.count(), 2);
}

void TestButtons::secondGifIsIgnored()
{
    QLoadingButton button;
    button.start();
    button.stop();
    QVERIFY(!button.movie);

    button.setGif(QStringLiteral(WIDGETS_TEST_DATA "/once.gif"));
    QMovie* first = button.movie;
    QVERIFY(first);
    button.start();
    QTRY_VERIFY(!button.icon().isNull());
    button.setGif(QStringLiteral(WIDGETS_TEST_DATA "/forever.gif"));
    QCOMPARE(button.movie, first);
    QCOMPARE(first->fileName(), QStringLiteral(WIDGETS_TEST_DATA "/once.gif"));
    QCOMPARE(first->state(), QMovie::NotRunning);
    QVERIFY(button.icon().isNull());
}

void TestButtons::loadingIconFollowsTheAnimation()
{
    QLoadingButton button;
    button.setGif(QStringLiteral(":/images/loading.gif"));
    QVERIFY(button.movie->isValid());
    QVERIFY(button.icon().isNull());
    button.start();
    QTRY_VERIFY(!button.icon().isNull());
    const qint64 firstFrame = button.icon().pixmap(16).cacheKey();
    QTRY_VERIFY(button.icon().pixmap(16).cacheKey() != firstFrame);
    button.stop();
    QCOMPARE(button.movie->state(), QMovie::NotRunning);
    QVERIFY(button.icon().isNull());
}

void TestButtons::finiteAnimationRestartsAtItsEnd()
{
    QLoadingButton button;
    button.setGif(QStringLiteral(WIDGETS_TEST_DATA "/once.gif"));
    QVERIFY(button.movie->loopCount() != -1);
    QSignalSpy finished(button.movie, &QMovie::finished);
    QSignalSpy frames(button.movie, &QMovie::frameChanged);
    button.start();
    QTRY_VERIFY(finished.count() >= 2);
    QCOMPARE(button.movie->state(), QMovie::Running);
    QVERIFY(frames.count() >= 4);
    button.stop();
}

QTEST_MAIN(TestButtons)
#include "test_buttons.moc"
