#include "connectdialog.h"
#include "statusdialog.h"
#include "tempfiles.h"
#include "tray.h"

#include <QAction>
#include <QApplication>
#include <QDesktopServices>
#include <QDir>
#include <QElapsedTimer>
#include <QLabel>
#include <QMenu>
#include <QPointer>
#include <QPushButton>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextEdit>
#include <QUrl>

#include <memory>
#include <utility>

// Records the addresses QDesktopServices is asked to open.
class UrlRecorder : public QObject
{
    Q_OBJECT

public:
    QList<QUrl> opened;

public slots:
    void open(const QUrl& url) { opened.append(url); }
};

// The tray and a status dialog in process, on a display with a tray host, so that the tray's icon is a real
// embedded window and its balloon shows.
class TestTray final : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void menuOrderTextsAndChecks();
    void autoStartFailureKeepsTheChecks();
    void middleClickShowsNothingOpenDoes();
    void getLogsOpensTheFolder();
    void connectedShowsBalloonForThreeSeconds();
    void statusTextsAndSignals();
    void logLinesAndBound();

private:
    QAction* menuEntry(const QString& text) const;
    static QWidget* topLevel(const char* className);
    static ConnectDialog* mainWindow() { return qobject_cast<ConnectDialog*>(topLevel("ConnectDialog")); }
    QString state() const { return status->findChild<QLabel*>(QStringLiteral("statusLabel"))->text(); }
    QPushButton* button(const char* name) const { return status->findChild<QPushButton*>(QLatin1String(name)); }

    // Never the user's own: the tests switch auto-start.
    const QTemporaryDir configHome;
    std::unique_ptr<Tray> tray;
    std::unique_ptr<StatusDialog> status;
};

void TestTray::init()
{
    qputenv("XDG_CONFIG_HOME", configHome.path().toUtf8());
    tray = std::make_unique<Tray>();
    status = std::make_unique<StatusDialog>(nullptr);
}

void TestTray::cleanup()
{
    status.reset();
    tray.reset();
}

QAction* TestTray::menuEntry(const QString& text) const
{
    for (QAction* action : tray->findChildren<QAction*>()) {
        if (action->text() == text)
            return action;
    }
    return nullptr;
}

QWidget* TestTray::topLevel(const char* className)
{
    for (QWidget* widget : QApplication::topLevelWidgets()) {
        if (widget->inherits(className))
            return widget;
    }
    return nullptr;
}

void TestTray::menuOrderTextsAndChecks()
{
    QSystemTrayIcon* icon = tray->findChild<QSystemTrayIcon*>();
    const auto texts = [](const QMenu* menu) {
        QStringList result;
        for (const QAction* action : menu->actions())
            result << (action->isSeparator() ? QStringLiteral("-") : action->text());
        return result;
    };
    QCOMPARE(texts(icon->contextMenu()),
        QStringList({ QStringLiteral("Settings"), QStringLiteral("-"), QStringLiteral("&Get Logs"),
            QStringLiteral("&Open"), QStringLiteral("&Quit") }));
    QMenu* settings = icon->contextMenu()->actions().constFirst()->menu();
    QVERIFY(settings);
    QCOMPARE(texts(settings), QStringList({ QStringLiteral("&Auto-Start"), QStringLiteral("&Do not Auto-Start") }));
    // No entry yet: exactly "do not" is checked, and choosing it again keeps it checked.
    QAction* on = settings->actions().at(0);
    QAction* off = settings->actions().at(1);
    QVERIFY(on->isCheckable() && !on->isChecked());
    off->trigger();
    QVERIFY(off->isCheckable() && off->isChecked());

    // At start the checks follow the entry on disk.
    on->trigger();
    tray.reset();
    tray = std::make_unique<Tray>();
    QVERIFY(menuEntry(QStringLiteral("&Auto-Start"))->isChecked());
    menuEntry(QStringLiteral("&Do not Auto-Start"))->trigger();
    QVERIFY(!menuEntry(QStringLiteral("&Auto-Start"))->isChecked());
}

void TestTray::autoStartFailureKeepsTheChecks()
{
    // The autostart folder cannot be made: a file holds its name.
    QVERIFY(QDir(configHome.path() + QStringLiteral("/autostart")).removeRecursively());
    QVERIFY(testsupport::writeFile(configHome.path() + QStringLiteral("/autostart"), {}));
    menuEntry(QStringLiteral("&Auto-Start"))->trigger();
    QVERIFY(menuEntry(QStringLiteral("&Auto-Start"))->isChecked());
    QVERIFY(!menuEntry(QStringLiteral("&Do not Auto-Start"))->isChecked());
}

void TestTray::middleClickShowsNothingOpenDoes()
{
    QWidget* icon = topLevel("QSystemTrayIconSys");
    QVERIFY2(icon, "no tray icon embedded in the tray host");
    mainWindow()->hide();
    QTest::mouseClick(icon, Qt::MiddleButton, {}, icon->rect().center());
    QVERIFY(!mainWindow()->isVisible());
    menuEntry(QStringLiteral("&Open"))->trigger();
    QVERIFY(mainWindow()->isVisible());
    QVERIFY(!tray->isVisible());
}

void TestTray::getLogsOpensTheFolder()
{
    // The tray's entry and the status dialog's button hand over the logs folder's path as it is, not as a file:
    // address.
    UrlRecorder recorder;
    QDesktopServices::setUrlHandler(QString(), &recorder, "open");
    menuEntry(QStringLiteral("&Get Logs"))->trigger();
    button("logsButton")->click();
    QDesktopServices::unsetUrlHandler(QString());
    const QUrl folder(QDir::homePath() + QStringLiteral("/AppData/Local/Oxmerel/logs"));
    QCOMPARE(recorder.opened, QList<QUrl>({ folder, folder }));
}

void TestTray::connectedShowsBalloonForThreeSeconds()
{
    // Measured from the signal rather than sampled at fixed waits, so that a busy machine's stalls cannot make a
    // balloon look as if it closed early.
    QElapsedTimer sinceConnected;
    sinceConnected.start();
    emit mainWindow()->connected(QStringLiteral("acme"));
    QPointer<QWidget> balloon;
    QVERIFY(QTest::qWaitFor(
        [&] {
            balloon = topLevel("QBalloonTip");
            return balloon && balloon->isVisible();
        },
        5000));
    QStringList texts;
    for (const QLabel* label : balloon->findChildren<QLabel*>())
        texts << label->text();
    QVERIFY(texts.contains(QStringLiteral("Oxmerel")) && texts.contains(QStringLiteral("Robot connected to acme")));
    QVERIFY(QTest::qWaitFor([&] { return !balloon || !balloon->isVisible(); }, 15000));
    const qint64 shownFor = sinceConnected.elapsed();
    // Qt's own default is ten seconds; a coarse timer such as the balloon's may fire up to 5% early.
    QVERIFY2(shownFor >= 2850 && shownFor < 9000, QByteArray::number(shownFor));
}

void TestTray::statusTextsAndSignals()
{
    QSignalSpy connected(status.get(), &StatusDialog::connected);
    QSignalSpy disconnected(status.get(), &StatusDialog::disconnected);
    // None and values out of range change nothing; the waiting states read as connecting until a connection, which
    // only a disconnect forgets.
    const QList<std::pair<int, QString>> shown = { { StatusDialog::WaitingInput, QStringLiteral("Connecting") },
        { StatusDialog::RunningFlow, QStringLiteral("Running flow") },
        { StatusDialog::Stopped, QStringLiteral("Connected") },
        { StatusDialog::Disconnected, QStringLiteral("Disconnected") },
        { StatusDialog::None, QStringLiteral("Disconnected") }, { 9, QStringLiteral("Disconnected") },
        { StatusDialog::Connected, QStringLiteral("Connected") },
        { StatusDialog::WaitingInput, QStringLiteral("Waiting Input") },
        { StatusDialog::Failed, QStringLiteral("Failed") },
        { StatusDialog::WaitingSelection, QStringLiteral("Waiting Selection") },
        { StatusDialog::Connecting, QStringLiteral("Connecting") } };
    for (const auto& [value, text] : shown) {
        // Owners drive the slot through the meta-object system, with the registered enumeration.
        QVERIFY(QMetaObject::invokeMethod(
            status.get(), "handleStatusChange", Q_ARG(StatusDialog::Status, static_cast<StatusDialog::Status>(value))));
        QCOMPARE(state(), text);
    }
    QCOMPARE(connected.count(), 1);
    QCOMPARE(disconnected.count(), 1);

    QTest::mouseClick(button("disconnectButton"), Qt::LeftButton);
    QCOMPARE(disconnected.count(), 2);
    QCOMPARE(state(), QString());
    status->handleStatusChange(StatusDialog::WaitingSelection);
    QCOMPARE(state(), QStringLiteral("Connecting"));
}

void TestTray::logLinesAndBound()
{
    status->handleLog(QStringLiteral("10:32:05"), QStringLiteral("warn"), QStringLiteral("Flow started"));
    QTextDocument* document = status->findChild<QTextEdit*>(QStringLiteral("logs"))->document();
    QCOMPARE(document->toPlainText(), QStringLiteral("10:32:05 WARN Flow started"));
    for (int line = 2; line <= 8300; ++line)
        status->handleLog(QStringLiteral("t"), QStringLiteral("info"), QString::number(line));
    // The newest 8192 lines stay, with no undo history behind them.
    QCOMPARE(document->blockCount(), 8192);
    QCOMPARE(document->firstBlock().text(), QStringLiteral("t INFO 109"));
    QVERIFY(!document->isUndoAvailable());
    // A huge line is cut as in the robot's log view.
    status->handleLog(QStringLiteral("t"), QStringLiteral("info"), QString(20000, QLatin1Char('x')));
    QCOMPARE(document->lastBlock().text(),
        QStringLiteral("t INFO ") + QString(16377, QLatin1Char('x'))
            + QStringLiteral("\u2026 [cut from 20007 characters]"));
}

QTEST_MAIN(TestTray)
#include "test_tray.moc"
