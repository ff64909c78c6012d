#include "connectdialog.h"
#include "tray.h"

#include <QAction>
#include <QApplication>
#include <QDesktopServices>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QMenu>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QUrl>

#include <memory>

// Records the addresses QDesktopServices is asked to open.
class UrlRecorder : public QObject
{
    Q_OBJECT

public:
    QList<QUrl> opened;

public slots:
    void open(const QUrl& url) { opened.append(url); }
};

// The tray in process on a display with a tray host, so that its icon is a real embedded window.
class TestTray final : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void menuOrderTextsAndChecks();
    void autoStartSwitchWritesTheDesktopEntry();
    void autoStartFailureKeepsTheChecks();
    void iconClicksShowTheWindow();
    void openAndGetLogs();
    void connectedShowsBalloon();

private:
    QSystemTrayIcon* trayIcon() const { return tray->findChild<QSystemTrayIcon*>(); }
    QAction* menuEntry(const QString& text) const;
    static ConnectDialog* mainWindow();
    static QWidget* topLevel(const char* className);
    static QString entryPath();

    std::unique_ptr<QTemporaryDir> configHome;
    std::unique_ptr<Tray> tray;
};

void TestTray::init()
{
    // A folder name with a blank, as a real home may have.
    configHome = std::make_unique<QTemporaryDir>(QDir::tempPath() + QStringLiteral("/config home XXXXXX"));
    qputenv("XDG_CONFIG_HOME", configHome->path().toUtf8());
    tray = std::make_unique<Tray>();
}

void TestTray::cleanup()
{
    tray.reset();
    configHome.reset();
}

QAction* TestTray::menuEntry(const QString& text) const
{
    const QList<QAction*> actions = tray->findChildren<QAction*>();
    for (QAction* action : actions) {
        if (action->text() == text) {
            return action;
        }
    }
    return nullptr;
}

ConnectDialog* TestTray::mainWindow()
{
    return qobject_cast<ConnectDialog*>(topLevel("ConnectDialog"));
}

QWidget* TestTray::topLevel(const char* className)
{
    const QWidgetList widgets = QApplication::topLevelWidgets();
    for (QWidget* widget : widgets) {
        if (widget->inherits(className)) {
            return widget;
        }
    }
    return nullptr;
}

QString TestTray::entryPath()
{
    return QStandardPaths::writableLocation(QStandardPaths::ConfigLocation)
        + QStringLiteral("/autostart/oxmerel.desktop");
}

void TestTray::menuOrderTextsAndChecks()
{
    QVERIFY(!tray->isVisible());
    QVERIFY(trayIcon()->isVisible());
    QCOMPARE(trayIcon()->toolTip(), QStringLiteral("Oxmerel"));
    QVERIFY(!trayIcon()->icon().isNull());
    QVERIFY(!tray->windowIcon().isNull());
    QVERIFY(mainWindow() && mainWindow()->isVisible());

    const QList<QAction*> entries = trayIcon()->contextMenu()->actions();
    QCOMPARE(entries.size(), 5);
    QCOMPARE(entries[0]->text(), QStringLiteral("Settings"));
    QVERIFY(entries[0]->menu());
    QVERIFY(entries[1]->isSeparator());
    QCOMPARE(entries[2]->text(), QStringLiteral("&Get Logs"));
    QCOMPARE(entries[3]->text(), QStringLiteral("&Open"));
    QCOMPARE(entries[4]->text(), QStringLiteral("&Quit"));

    const QList<QAction*> settings = entries[0]->menu()->actions();
    QCOMPARE(settings.size(), 2);
    QCOMPARE(settings[0]->text(), QStringLiteral("&Auto-Start"));
    QCOMPARE(settings[1]->text(), QStringLiteral("&Do not Auto-Start"));
    // No entry yet: exactly "do not" is checked.
    QVERIFY(settings[0]->isCheckable() && !settings[0]->isChecked());
    QVERIFY(settings[1]->isCheckable() && settings[1]->isChecked());
}

void TestTray::autoStartSwitchWritesTheDesktopEntry()
{
    QAction* on = menuEntry(QStringLiteral("&Auto-Start"));
    QAction* off = menuEntry(QStringLiteral("&Do not Auto-Start"));
    QVERIFY(entryPath().startsWith(configHome->path()));

    on->trigger();
    QVERIFY(on->isChecked() && !off->isChecked());
    QFile entry(entryPath());
    QVERIFY(entry.open(QIODevice::ReadOnly));
    const QList<QByteArray> lines = entry.readAll().split('\n');
    entry.close();
    QVERIFY(lines.contains("Exec=\"" + QCoreApplication::applicationFilePath().toUtf8() + "\" --auto-start"));
    QVERIFY(lines.contains("Name=Oxmerel"));

    // Choosing the checked entry again keeps it checked (the action's own toggle must not win).
    on->trigger();
    QVERIFY(on->isChecked() && !off->isChecked());
    QVERIFY(QFile::exists(entryPath()));

    // A new start reads the switch from the entry.
    tray.reset();
    tray = std::make_unique<Tray>();
    on = menuEntry(QStringLiteral("&Auto-Start"));
    off = menuEntry(QStringLiteral("&Do not Auto-Start"));
    QVERIFY(on->isChecked() && !off->isChecked());

    off->trigger();
    QVERIFY(!on->isChecked() && off->isChecked());
    QVERIFY(!QFile::exists(entryPath()));
    off->trigger();
    QVERIFY(!on->isChecked() && off->isChecked());
}

void TestTray::autoStartFailureKeepsTheChecks()
{
    // The autostart folder cannot be made: a file holds its name.
    QVERIFY(QDir().mkpath(configHome->path()));
    QFile blocker(configHome->path() + QStringLiteral("/autostart"));
    QVERIFY(blocker.open(QIODevice::WriteOnly));
    blocker.close();

    QAction* on = menuEntry(QStringLiteral("&Auto-Start"));
    on->trigger();
    QVERIFY(on->isChecked());
    QVERIFY(!menuEntry(QStringLiteral("&Do not Auto-Start"))->isChecked());
    QVERIFY(!QFile::exists(entryPath()));
}

void TestTray::iconClicksShowTheWindow()
{
    QWidget* icon = topLevel("QSystemTrayIconSys");
    QVERIFY2(icon, "no tray icon embedded in the tray host");
    ConnectDialog* window = mainWindow();
    const QPoint middle = icon->rect().center();

    window->hide();
    QTest::mouseClick(icon, Qt::LeftButton, {}, middle);
    QVERIFY(window->isVisible());

    window->hide();
    QTest::mouseDClick(icon, Qt::LeftButton, {}, middle);
    QVERIFY(window->isVisible());

    window->hide();
    QTest::mouseClick(icon, Qt::MiddleButton, {}, middle);
    QVERIFY(!window->isVisible());

    // The right button opens the menu and nothing else.
    QTest::mousePress(icon, Qt::RightButton, {}, middle);
    QMenu* menu = trayIcon()->contextMenu();
    QVERIFY(QTest::qWaitFor([&] { return menu->isVisible(); }, 5000));
    QVERIFY(!window->isVisible());
    menu->hide();
}

void TestTray::openAndGetLogs()
{
    ConnectDialog* window = mainWindow();
    window->hide();
    menuEntry(QStringLiteral("&Open"))->trigger();
    QVERIFY(window->isVisible());
    QVERIFY(!tray->isVisible());

    UrlRecorder recorder;
    QDesktopServices::setUrlHandler(QString(), &recorder, "open");
    menuEntry(QStringLiteral("&Get Logs"))->trigger();
    QDesktopServices::unsetUrlHandler(QString());
    QCOMPARE(recorder.opened, QList<QUrl> { QUrl(QDir::homePath() + QStringLiteral("/AppData/Local/Oxmerel/logs")) });
}

void TestTray::connectedShowsBalloon()
{
    emit mainWindow()->connected(QStringLiteral("acme"));
    QWidget* balloon = nullptr;
    QVERIFY(QTest::qWaitFor(
        [&] {
            balloon = topLevel("QBalloonTip");
            return balloon && balloon->isVisible();
        },
        5000));
    QStringList texts;
    const QList<QLabel*> labels = balloon->findChildren<QLabel*>();
    for (const QLabel* label : labels) {
        texts.append(label->text());
    }
    QVERIFY2(texts.contains(QStringLiteral("Oxmerel")), qPrintable(texts.join(QLatin1Char('|'))));
    QVERIFY2(texts.contains(QStringLiteral("Robot connected to acme")), qPrintable(texts.join(QLatin1Char('|'))));
    // It goes by itself after its three seconds.
    QVERIFY(QTest::qWaitFor([&] { return !topLevel("QBalloonTip") || !balloon->isVisible(); }, 10000));
}

QTEST_MAIN(TestTray)
#include "test_tray.moc"
