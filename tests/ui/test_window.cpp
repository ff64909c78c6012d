#include "connectdialog.h"
#include "connectdialogprobe.h"
#include "launchoptions.h"

#include <QApplication>
#include <QLabel>
#include <QLayout>
#include <QPointer>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>

class TestWindow final : public QObject
{
    Q_OBJECT

private slots:
    void autoStartFlag_data();
    void autoStartFlag();
    void opensFramelessAtItsDesignedSize();
    void sideColumnsKeepTheirWidths_data();
    void sideColumnsKeepTheirWidths();
    void closeButtonOnlyHides();
};

void TestWindow::autoStartFlag_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<bool>("autoStart");
    const QString program = QStringLiteral("/opt/oxmerel/oxmerel-tray");
    QTest::newRow("first argument") << QStringList { program, QStringLiteral("--auto-start") } << true;
    QTest::newRow("other letter case") << QStringList { program, QStringLiteral("--AUTO-START") } << false;
    QTest::newRow("second argument") << QStringList { program, QStringLiteral("-v"), QStringLiteral("--auto-start") }
                                     << false;
    QTest::newRow("no argument") << QStringList { program } << false;
    QTest::newRow("program path only spelled like the flag") << QStringList { QStringLiteral("--auto-start") } << false;
}

void TestWindow::autoStartFlag()
{
    QFETCH(QStringList, arguments);
    QFETCH(bool, autoStart);
    QCOMPARE(isAutoStartLaunch(arguments), autoStart);
}

void TestWindow::opensFramelessAtItsDesignedSize()
{
    ConnectDialog dialog(nullptr);
    QVERIFY(dialog.isVisible());
    QCOMPARE(dialog.size(), QSize(993, 568));
    QCOMPARE(dialog.windowTitle(), QStringLiteral("Oxmerel Connect"));
    // No native frame, title or system buttons: the frameless hint is the only hint left.
    QCOMPARE(dialog.windowFlags() & ~Qt::WindowType_Mask, Qt::WindowFlags(Qt::FramelessWindowHint));
    QVERIFY(dialog.testAttribute(Qt::WA_TranslucentBackground));

    auto* version = dialog.findChild<QLabel*>(QStringLiteral("versionText"));
    QVERIFY(version);
    QCOMPARE(version->text(), QStringLiteral("v25.4.2"));
    QCOMPARE(version->styleSheet(), QStringLiteral("color: #777; padding: 0; margin: 0;"));

    // The sidebar holds the add button on top and keeps the spacer and the version text last.
    auto* sidebar = dialog.findChild<QLayout*>(QStringLiteral("scroll_v_layout"));
    QVERIFY(sidebar);
    auto* addButton = qobject_cast<QPushButton*>(sidebar->itemAt(0)->widget());
    QVERIFY(addButton);
    QCOMPARE(addButton->toolTip(), QStringLiteral("Add Workspace"));
    QCOMPARE(sidebar->itemAt(sidebar->count() - 1)->widget(), version);
    QVERIFY(sidebar->itemAt(sidebar->count() - 2)->spacerItem());

    // The tree column waits for a signed-in workspace.
    QVERIFY(dialog.findChild<QWidget*>(QStringLiteral("tabBarWidget"))->isHidden());
}

void TestWindow::sideColumnsKeepTheirWidths_data()
{
    QTest::addColumn<QSize>("size");
    QTest::newRow("designed") << QSize(993, 568);
    QTest::newRow("large") << QSize(1600, 1000);
    QTest::newRow("narrow") << QSize(700, 480);
}

void TestWindow::sideColumnsKeepTheirWidths()
{
    QFETCH(QSize, size);
    ConnectDialog dialog(nullptr);
    auto* tabBar = dialog.findChild<QWidget*>(QStringLiteral("tabBarWidget"));
    tabBar->show();
    dialog.resize(size);
    dialog.layout()->activate();
    QCoreApplication::processEvents();

    QCOMPARE(dialog.findChild<QWidget*>(QStringLiteral("scrollWidget"))->width(), 72);
    QCOMPARE(tabBar->width(), 240);
    // The right-hand page takes what is left between the two columns and the right edge.
    QWidget* page = ConnectDialogProbe(&dialog).shownPage();
    QVERIFY(page && page->isVisible());
    QCOMPARE(page->geometry().left(), tabBar->geometry().right() + 1 + dialog.layout()->spacing());
    QVERIFY2(page->width() > dialog.width() - 72 - 240 - 40,
        qPrintable(QStringLiteral("right pane is %1 wide in a %2 wide window").arg(page->width()).arg(dialog.width())));
}

void TestWindow::closeButtonOnlyHides()
{
    ConnectDialog dialog(nullptr);
    ConnectDialogProbe probe(&dialog);
    Workspace* ws = probe.current();
    QPointer<QWidget> page = probe.shownPage();

    QPushButton* close = nullptr;
    for (QPushButton* button : dialog.findChildren<QPushButton*>()) {
        if (button->toolTip() == QStringLiteral("Close")) {
            close = button;
        }
    }
    QVERIFY(close);
    QSignalSpy minimized(&dialog, &ConnectDialog::minimizeToTray);
    QTest::mouseClick(close, Qt::LeftButton);

    QCOMPARE(minimized.count(), 1);
    QVERIFY(dialog.isHidden());
    QVERIFY(!dialog.testAttribute(Qt::WA_DeleteOnClose));

    // Shown again, it is the same window with the same workspace and page.
    dialog.show();
    QCOMPARE(probe.current(), ws);
    QCOMPARE(probe.shownPage(), page.data());
    QVERIFY(page && page->isVisible());
}

QTEST_MAIN(TestWindow)
#include "test_window.moc"
