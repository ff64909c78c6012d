#include "messagedialog.h"
#include "qbutton.h"

#include <QCoreApplication>
#include <QLabel>
#include <QPointer>
#include <QTest>

namespace {

QButton* button(QWidget* dialog, const char* name)
{
    return dialog->findChild<QButton*>(QLatin1String(name));
}

QStringList labelTexts(QWidget* dialog)
{
    QStringList texts;
    for (const QLabel* label : dialog->findChildren<QLabel*>())
        texts << label->text();
    return texts;
}

void processDeferredDeletes()
{
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

} // namespace

class TestMessageDialog final : public QObject
{
    Q_OBJECT

private slots:
    void messageShowsWithoutBlockingAndOkClearsTheFlag();
    void iconFollowsTheKind_data();
    void iconFollowsTheKind();
    void confirmAnswersAndLeavesTheFlagSet_data();
    void confirmAnswersAndLeavesTheFlagSet();

private:
    QFont titleFont = QFont(QStringLiteral("Sans"), 14);
    QFont textFont = QFont(QStringLiteral("Serif"), 9);
};

void TestMessageDialog::messageShowsWithoutBlockingAndOkClearsTheFlag()
{
    bool messageOpen = false;
    QPointer<MessageDialog> dialog = MessageDialog::showMessage(
        titleFont, textFont, &messageOpen, MessageDialog::Info, QStringLiteral("Saved"), QStringLiteral("All done."));
    // Reaching this line at all shows that the call did not block.
    QVERIFY(messageOpen);
    QVERIFY(QTest::qWaitForWindowExposed(dialog));
    QVERIFY(dialog->isModal());
    QCOMPARE(dialog->windowFlags() & ~Qt::WindowType_Mask, Qt::FramelessWindowHint);
    QVERIFY(dialog->testAttribute(Qt::WA_TranslucentBackground));
    QVERIFY(labelTexts(dialog).contains(QStringLiteral("All done.")));
    QVERIFY(!button(dialog, "yesButton"));
    // The title is a band above the icon row, in the caller's font.
    auto* title = dialog->findChildren<QLabel*>().value(labelTexts(dialog).indexOf(QStringLiteral("Saved")));
    auto* icon = dialog->findChild<QLabel*>(QStringLiteral("iconLabel"));
    QCOMPARE(title->font().family(), titleFont.family());
    QVERIFY(title->mapTo(dialog, QPoint(0, 0)).y() < icon->mapTo(dialog, QPoint(0, 0)).y());

    QCOMPARE(button(dialog, "okButton")->text(), QStringLiteral("OK"));
    QTest::mouseClick(button(dialog, "okButton"), Qt::LeftButton);
    QVERIFY(!messageOpen);
    QVERIFY(!dialog->isVisible());
    processDeferredDeletes();
    QVERIFY(dialog.isNull());

    // A dialog without a flag owner works as well.
    dialog = MessageDialog::showMessage(titleFont, textFont, nullptr, 0, QStringLiteral("Free"), QString());
    QTest::mouseClick(button(dialog, "okButton"), Qt::LeftButton);
    processDeferredDeletes();
    QVERIFY(dialog.isNull());
}

void TestMessageDialog::iconFollowsTheKind_data()
{
    QTest::addColumn<int>("kind");
    QTest::addColumn<QSize>("iconSize");
    QTest::newRow("error") << int(MessageDialog::Error) << QSize(32, 32);
    QTest::newRow("info") << int(MessageDialog::Info) << QSize(32, 32);
    QTest::newRow("warning") << int(MessageDialog::Warning) << QSize(37, 32);
    QTest::newRow("unknown kind") << 3 << QSize();
}

void TestMessageDialog::iconFollowsTheKind()
{
    QFETCH(int, kind);
    QFETCH(QSize, iconSize);
    bool messageOpen = false;
    std::unique_ptr<MessageDialog> dialog(MessageDialog::showConfirm(
        titleFont, textFont, &messageOpen, kind, QStringLiteral("Title"), QStringLiteral("Text"), nullptr));
    auto* icon = dialog->findChild<QLabel*>(QStringLiteral("iconLabel"));
    QVERIFY(icon);
    QCOMPARE(icon->pixmap().isNull(), iconSize.isEmpty());
    if (!iconSize.isEmpty())
        QCOMPARE(icon->pixmap().size(), iconSize);

    // Without a callback "Yes" only closes.
    QTest::mouseClick(button(dialog.get(), "yesButton"), Qt::LeftButton);
    QVERIFY(!dialog->isVisible());
    QVERIFY(messageOpen);
}

void TestMessageDialog::confirmAnswersAndLeavesTheFlagSet_data()
{
    QTest::addColumn<QByteArray>("buttonName");
    QTest::addColumn<bool>("answer");
    QTest::newRow("yes") << QByteArray("yesButton") << true;
    QTest::newRow("no") << QByteArray("noButton") << false;
}

void TestMessageDialog::confirmAnswersAndLeavesTheFlagSet()
{
    QFETCH(QByteArray, buttonName);
    QFETCH(bool, answer);
    bool messageOpen = false;
    QList<bool> answers;
    bool visibleDuringAnswer = false;
    QPointer<MessageDialog> dialog;
    dialog = MessageDialog::showConfirm(titleFont, textFont, &messageOpen, MessageDialog::Warning,
        QStringLiteral("Remove"), QStringLiteral("Remove this workspace?"), [&](bool yes) {
            answers << yes;
            visibleDuringAnswer = dialog->isVisible();
        });
    QVERIFY(QTest::qWaitForWindowExposed(dialog));
    QCOMPARE(button(dialog, "yesButton")->text(), QStringLiteral("Yes"));
    QCOMPARE(button(dialog, "noButton")->text(), QStringLiteral("No"));
    QVERIFY(button(dialog, "yesButton")->x() < button(dialog, "noButton")->x());
    QVERIFY(!button(dialog, "okButton"));

    QTest::mouseClick(button(dialog, buttonName.constData()), Qt::LeftButton);
    QCOMPARE(answers, QList<bool>({ answer }));
    QVERIFY(visibleDuringAnswer);
    QVERIFY(!dialog->isVisible());
    QVERIFY(messageOpen);
    processDeferredDeletes();
    QVERIFY(!dialog.isNull());
    delete dialog;
}

QTEST_MAIN(TestMessageDialog)
#include "test_messagedialog.moc"
