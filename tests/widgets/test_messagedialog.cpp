#include "messagedialog.h"
#include "qbutton.h"

#include <QApplication>
#include <QLabel>
#include <QPointer>
#include <QSignalSpy>
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
    void messageIsShownModalWithoutBlocking();
    void iconFollowsTheKind_data();
    void iconFollowsTheKind();
    void okClosesDeletesAndClearsTheFlag();
    void confirmAnswersAndLeavesTheFlagSet_data();
    void confirmAnswersAndLeavesTheFlagSet();
    void confirmWithoutCallbackOnlyCloses();

private:
    QFont titleFont = QFont(QStringLiteral("Sans"), 14);
    QFont textFont = QFont(QStringLiteral("Serif"), 9);
};

void TestMessageDialog::messageIsShownModalWithoutBlocking()
{
    bool messageOpen = false;
    QPointer<MessageDialog> dialog = MessageDialog::showMessage(
        titleFont, textFont, &messageOpen, MessageDialog::Info, QStringLiteral("Saved"), QStringLiteral("All done."));
    // Reaching this line at all shows that the call did not block.
    QVERIFY(dialog);
    QVERIFY(messageOpen);
    QVERIFY(dialog->isVisible());
    QVERIFY(dialog->isModal());
    QCOMPARE(dialog->windowFlags() & ~Qt::WindowType_Mask, Qt::FramelessWindowHint);
    QVERIFY(dialog->testAttribute(Qt::WA_TranslucentBackground));
    QVERIFY(!dialog->parent());
    QVERIFY(dialog->findChild<QWidget*>(QStringLiteral("dialog_widget")));
    QVERIFY(labelTexts(dialog).contains(QStringLiteral("Saved")));
    QVERIFY(labelTexts(dialog).contains(QStringLiteral("All done.")));
    QVERIFY(button(dialog, "okButton"));
    QCOMPARE(button(dialog, "okButton")->text(), QStringLiteral("OK"));
    QVERIFY(!button(dialog, "yesButton"));

    // The title is a band above the icon row; the fonts are the caller's.
    QLabel* title = nullptr;
    QLabel* text = nullptr;
    for (QLabel* label : dialog->findChildren<QLabel*>()) {
        if (label->text() == QStringLiteral("Saved"))
            title = label;
        if (label->text() == QStringLiteral("All done."))
            text = label;
    }
    QVERIFY(title && text);
    QCOMPARE(title->font().family(), titleFont.family());
    QCOMPARE(text->font().family(), textFont.family());
    auto* icon = dialog->findChild<QLabel*>(QStringLiteral("iconLabel"));
    QVERIFY(title->mapTo(dialog, QPoint(0, 0)).y() < icon->mapTo(dialog, QPoint(0, 0)).y());
    QVERIFY(icon->mapTo(dialog, QPoint(0, 0)).x() < text->mapTo(dialog, QPoint(0, 0)).x());
    QVERIFY(text->mapTo(dialog, QPoint(0, 0)).y() < button(dialog, "okButton")->mapTo(dialog, QPoint(0, 0)).y());
    delete dialog;
}

void TestMessageDialog::iconFollowsTheKind_data()
{
    QTest::addColumn<int>("kind");
    QTest::addColumn<QSize>("iconSize");
    QTest::newRow("error") << int(MessageDialog::Error) << QSize(32, 32);
    QTest::newRow("info") << int(MessageDialog::Info) << QSize(32, 32);
    QTest::newRow("warning") << int(MessageDialog::Warning) << QSize(37, 32);
    QTest::newRow("unknown kind") << 3 << QSize();
    QTest::newRow("negative kind") << -1 << QSize();
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
    QVERIFY(messageOpen);
}

void TestMessageDialog::okClosesDeletesAndClearsTheFlag()
{
    bool messageOpen = false;
    QPointer<MessageDialog> first = MessageDialog::showMessage(
        titleFont, textFont, &messageOpen, MessageDialog::Error, QStringLiteral("Failed"), QStringLiteral("No."));
    QVERIFY(QTest::qWaitForWindowExposed(first));
    QTest::mouseClick(button(first, "okButton"), Qt::LeftButton);
    QVERIFY(!messageOpen);
    QVERIFY(!first->isVisible());
    processDeferredDeletes();
    QVERIFY(first.isNull());

    // Another message can follow, and a dialog without a flag owner works as well.
    QPointer<MessageDialog> second = MessageDialog::showMessage(
        titleFont, textFont, &messageOpen, MessageDialog::Warning, QStringLiteral("Again"), QString());
    QVERIFY(messageOpen);
    QPointer<MessageDialog> unowned = MessageDialog::showMessage(
        titleFont, textFont, nullptr, MessageDialog::Info, QStringLiteral("Free"), QString());
    QTest::mouseClick(button(unowned, "okButton"), Qt::LeftButton);
    QTest::mouseClick(button(second, "okButton"), Qt::LeftButton);
    processDeferredDeletes();
    QVERIFY(second.isNull() && unowned.isNull());
    QVERIFY(!messageOpen);
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

void TestMessageDialog::confirmWithoutCallbackOnlyCloses()
{
    bool messageOpen = false;
    std::unique_ptr<MessageDialog> dialog(MessageDialog::showConfirm(
        titleFont, textFont, &messageOpen, MessageDialog::Info, QStringLiteral("Sure?"), QString(), nullptr));
    QTest::mouseClick(button(dialog.get(), "yesButton"), Qt::LeftButton);
    QVERIFY(!dialog->isVisible());
    QVERIFY(messageOpen);
}

QTEST_MAIN(TestMessageDialog)
#include "test_messagedialog.moc"
