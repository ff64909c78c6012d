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
    void styleSheetIsFilledFromPaddedLists();
    void normalAndDisabledStatesAreCrossed();
    void clickEmitsOnClickedAndReleaseDropsFocus();
    void firstGifStaysAndIconFollowsFrames();
    void finiteAnimationRestartsAtItsEnd();
};

void TestButtons::styleSheetIsFilledFromPaddedLists()
{
    QButton plain;
    QCOMPARE(plain.objectName(), QStringLiteral("QButton"));
    QCOMPARE(plain.styleSheet(), plain.styleSheetText);
    QCOMPARE(plain.styleSheetText.count(QStringLiteral("background-color: #fff;")), 4);
    QCOMPARE(plain.styleSheetText.count(QStringLiteral("color: #fff;")), 8);
    QCOMPARE(plain.styleSheetText.count(QStringLiteral("border-radius: 6px;")), 4);

    QButton button({ QStringLiteral("#111"), QStringLiteral("#222") }, { QStringLiteral("#333") },
        { QStringLiteral("1px"), QStringLiteral("2px"), QStringLiteral("3px"), QStringLiteral("4px"),
            QStringLiteral("5px") },
        QStringLiteral("#abc"), QStringLiteral("1px"), QStringLiteral("2px 3px"), QStringLiteral("40px"),
        QStringLiteral("18px"));
    const QString sheet = button.styleSheetText;
    QVERIFY(!sheet.contains(QLatin1Char('%')));
    QVERIFY(
        sheet.contains(QStringLiteral("QPushButton:hover { background-color: #222; color: #333; border-radius: 3px;")));
    QVERIFY(sheet.contains(QStringLiteral("border: 1px solid #abc; border-radius: 4px;")));
    // The last value goes to the highest placeholder, which skips two numbers; a fifth list entry is never used.
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
    auto* button = new QButton();
    (new QVBoxLayout(&window))->addWidget(button);
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
}

void TestButtons::firstGifStaysAndIconFollowsFrames()
{
    QLoadingButton button;
    button.start();
    button.stop();
    QVERIFY(!button.movie);

    button.setGif(QStringLiteral(":/images/loading.gif"));
    QMovie* first = button.movie;
    QVERIFY(first && first->isValid());
    QVERIFY(button.icon().isNull());
    button.start();
    QTRY_VERIFY(!button.icon().isNull());
    const qint64 firstFrame = button.icon().pixmap(16).cacheKey();
    QTRY_VERIFY(button.icon().pixmap(16).cacheKey() != firstFrame);

    button.setGif(QStringLiteral(WIDGETS_TEST_DATA "/once.gif"));
    QCOMPARE(button.movie, first);
    QCOMPARE(first->fileName(), QStringLiteral(":/images/loading.gif"));
    QCOMPARE(first->state(), QMovie::NotRunning);
    QVERIFY(button.icon().isNull());
    button.start();
    button.stop();
    QCOMPARE(first->state(), QMovie::NotRunning);
    QVERIFY(button.icon().isNull());
}

void TestButtons::finiteAnimationRestartsAtItsEnd()
{
    QLoadingButton button;
    button.setGif(QStringLiteral(WIDGETS_TEST_DATA "/once.gif"));
    QVERIFY(button.movie->loopCount() != -1);
    QSignalSpy finished(button.movie, &QMovie::finished);
    button.start();
    QTRY_VERIFY(finished.count() >= 2);
    QCOMPARE(button.movie->state(), QMovie::Running);
}

QTEST_MAIN(TestButtons)
#include "test_buttons.moc"
