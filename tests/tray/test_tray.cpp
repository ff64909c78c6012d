#include "autostart.h"
#include "connectdialog.h"
#include "statusdialog.h"
#include "tempfiles.h"
#include "tray.h"

#include <QAction>
#include <QDesktopServices>
#include <QDir>
#include <QElapsedTimer>
#include <QLabel>
#include <QMenu>
#include <QPointer>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <QTextBlock>
#include <QTextEdit>
#include <QUrl>

#include <memory>

using namespace Qt::StringLiterals;

// The tray, its auto-start entries and a status dialog in process, on a display with a tray host, so that the tray's
// icon is a real embedded window and its balloon shows.
class TestTray final : public QObject
{
    Q_OBJECT

    std::unique_ptr<Tray> tray;
    std::unique_ptr<StatusDialog> status;
    QList<QUrl> openedUrls;

    QAction* entry(const QString& text) const
    {
        const QList<QAction*> actions = tray->findChildren<QAction*>();
        const auto found = std::find_if(actions.begin(), actions.end(), [&](QAction* a) { return a->text() == text; });
        return found == actions.end() ? nullptr : *found;
    }
    static QWidget* topLevel(const char* className)
    {
        const QWidgetList widgets = QApplication::topLevelWidgets();
        const auto found
            = std::find_if(widgets.begin(), widgets.end(), [&](QWidget* w) { return w->inherits(className); });
        return found == widgets.end() ? nullptr : *found;
    }
    static ConnectDialog* mainWindow() { return qobject_cast<ConnectDialog*>(topLevel("ConnectDialog")); }
    QString state() const { return status->findChild<QLabel*>(u"statusLabel"_s)->text(); }
    QPushButton* button(const QString& name) const { return status->findChild<QPushButton*>(name); }
    // Whether "&Auto-Start" and "&Do not Auto-Start" are checked.
    std::pair<bool, bool> checks() const
    {
        return { entry(u"&Auto-Start"_s)->isChecked(), entry(u"&Do not Auto-Start"_s)->isChecked() };
    }

public slots:
    void openUrl(const QUrl& url) { openedUrls.append(url); }

private slots:
    void init()
    {
        tray = std::make_unique<Tray>();
        status = std::make_unique<StatusDialog>(nullptr);
    }

    void cleanup()
    {
        status.reset();
        tray.reset();
    }

    void menuAndItsChecks()
    {
        const auto texts = [](const QMenu* menu) {
            QStringList result;
            for (const QAction* action : menu->actions())
                result << (action->isSeparator() ? u"-"_s : action->text());
            return result;
        };
        const QMenu* menu = tray->findChild<QSystemTrayIcon*>()->contextMenu();
        QCOMPARE(texts(menu), QStringList({ u"Settings"_s, u"-"_s, u"&Get Logs"_s, u"&Open"_s, u"&Quit"_s }));
        QCOMPARE(
            texts(menu->actions().constFirst()->menu()), QStringList({ u"&Auto-Start"_s, u"&Do not Auto-Start"_s }));
        // No entry yet: exactly "do not" is checked, and choosing it again keeps it checked.
        QCOMPARE(checks(), std::pair(false, true));
        entry(u"&Do not Auto-Start"_s)->trigger();
        QCOMPARE(checks(), std::pair(false, true));
        // At start the checks follow the entry on disk.
        entry(u"&Auto-Start"_s)->trigger();
        tray = std::make_unique<Tray>();
        QCOMPARE(checks(), std::pair(true, false));
        entry(u"&Do not Auto-Start"_s)->trigger();
        QCOMPARE(checks(), std::pair(false, true));

        // When the autostart folder cannot be made (a file holds its name), the checks still follow the choice.
        const QString folder = qEnvironmentVariable("XDG_CONFIG_HOME") + u"/autostart"_s;
        QVERIFY(QDir(folder).removeRecursively());
        QVERIFY(testsupport::writeFile(folder, {}));
        entry(u"&Auto-Start"_s)->trigger();
        QCOMPARE(checks(), std::pair(true, false));
    }

    void autoStartEntriesNameTheExecutable()
    {
        // Quoting escapes ", `, $ and \ with a backslash; the key file's own escaping then doubles every backslash.
        const QList<std::pair<QString, QString>> quoted
            = { { u"/home/a b/tray"_s, u"\"/home/a b/tray\""_s }, { u"/x/$HOME"_s, u"\"/x/\\\\$HOME\""_s },
                  { u"/x/a\"b"_s, u"\"/x/a\\\\\"b\""_s }, { u"/x/a\\b"_s, u"\"/x/a\\\\\\\\b\""_s },
                  { u"/x/100%u"_s, u"\"/x/100%%u\""_s }, { u"/x/a\nb"_s, u"\"/x/a\\nb\""_s } };
        for (const auto& [argument, written] : quoted)
            QCOMPARE(autostart::quoteExecArgument(argument), written);
        QCOMPARE(
            autostart::runValue(u"C:/Program Files/App/app.exe"_s), u"C:\\Program Files\\App\\app.exe --auto-start"_s);

        const QByteArray entry
            = autostart::desktopEntry(testsupport::readFile(u":/resources/oxmerel.desktop"_s), u"/home/a b/tray"_s);
        QCOMPARE(QString::fromUtf8(entry).split('\n'_L1, Qt::SkipEmptyParts),
            QStringList({ u"[Desktop Entry]"_s, u"Name=Oxmerel"_s, u"StartupWMClass=Oxmerel"_s,
                u"Comment=Oxmerel RPA"_s, u"Exec=\"/home/a b/tray\" --auto-start"_s, u"Terminal=false"_s,
                u"Type=Application"_s, u"Encoding=UTF-8"_s, u"Categories=Network;Application;"_s }));

        // Program and the first of ProgramArguments both name the executable; nothing else changes.
        const QByteArray agentTemplate = testsupport::readFile(u":/resources/oxmerel.plist"_s);
        QByteArray agent = agentTemplate;
        agent.replace("/Applications/Oxmerel.app/Contents/MacOS/oxmerel-tray", "/Users/a&amp;b/tray");
        QCOMPARE(agent.count("/Users/a&amp;b/tray"), 2);
        QVERIFY(agent.contains("<key>RunAtLoad</key>"));
        QVERIFY(agent.contains("<key>PATH</key>\n        <string>/usr/local/bin:/usr/bin</string>"));
        QCOMPARE(autostart::launchAgent(agentTemplate, u"/Users/a&b/tray"_s), agent);
    }

    void middleClickShowsNothingTheEntriesDo()
    {
        QWidget* icon = topLevel("QSystemTrayIconSys");
        QVERIFY2(icon, "no tray icon embedded in the tray host");
        mainWindow()->hide();
        QTest::mouseClick(icon, Qt::MiddleButton, {}, icon->rect().center());
        QVERIFY(!mainWindow()->isVisible());
        entry(u"&Open"_s)->trigger();
        QVERIFY(mainWindow()->isVisible());
        QVERIFY(!tray->isVisible());
        // The tray's entry and the status dialog's button hand over the logs folder's path as it is, not as a file:
        // address.
        QDesktopServices::setUrlHandler(QString(), this, "openUrl");
        entry(u"&Get Logs"_s)->trigger();
        button(u"logsButton"_s)->click();
        QDesktopServices::unsetUrlHandler(QString());
        const QUrl folder(QDir::homePath() + u"/AppData/Local/Oxmerel/logs"_s);
        QCOMPARE(openedUrls, QList<QUrl>({ folder, folder }));
    }

    void connectedShowsBalloonForThreeSeconds()
    {
        // Measured from the signal rather than sampled at fixed waits, so that a busy machine's stalls cannot make a
        // balloon look as if it closed early.
        QElapsedTimer sinceConnected;
        sinceConnected.start();
        emit mainWindow()->connected(u"acme"_s);
        QPointer<QWidget> balloon;
        QVERIFY(QTest::qWaitFor([&] { return (balloon = topLevel("QBalloonTip")) && balloon->isVisible(); }, 5000));
        QStringList texts;
        for (const QLabel* label : balloon->findChildren<QLabel*>())
            texts << label->text();
        QVERIFY(texts.contains(u"Oxmerel"_s) && texts.contains(u"Robot connected to acme"_s));
        QVERIFY(QTest::qWaitFor([&] { return !balloon || !balloon->isVisible(); }, 15000));
        // Qt's own default is ten seconds; a coarse timer such as the balloon's may fire up to 5% early.
        const qint64 shownFor = sinceConnected.elapsed();
        QVERIFY2(shownFor >= 2850 && shownFor < 9000, QByteArray::number(shownFor));
    }

    void statusTextsSignalsAndLog()
    {
        QSignalSpy connected(status.get(), &StatusDialog::connected);
        QSignalSpy disconnected(status.get(), &StatusDialog::disconnected);
        // None and values out of range change nothing; the waiting states read as connecting until a connection,
        // which only a disconnect forgets.
        const QList<std::pair<int, QString>> shown = { { StatusDialog::WaitingInput, u"Connecting"_s },
            { StatusDialog::RunningFlow, u"Running flow"_s }, { StatusDialog::Stopped, u"Connected"_s },
            { StatusDialog::Disconnected, u"Disconnected"_s }, { StatusDialog::None, u"Disconnected"_s },
            { 9, u"Disconnected"_s }, { StatusDialog::Connected, u"Connected"_s },
            { StatusDialog::WaitingInput, u"Waiting Input"_s }, { StatusDialog::Failed, u"Failed"_s },
            { StatusDialog::WaitingSelection, u"Waiting Selection"_s }, { StatusDialog::Connecting, u"Connecting"_s } };
        for (const auto& [value, text] : shown) {
            // Owners drive the slot through the meta-object system, with the registered enumeration.
            QVERIFY(QMetaObject::invokeMethod(status.get(), "handleStatusChange",
                Q_ARG(StatusDialog::Status, static_cast<StatusDialog::Status>(value))));
            QCOMPARE(state(), text);
        }
        QCOMPARE(connected.count(), 1);
        QCOMPARE(disconnected.count(), 1);

        QTest::mouseClick(button(u"disconnectButton"_s), Qt::LeftButton);
        QCOMPARE(disconnected.count(), 2);
        QCOMPARE(state(), QString());
        status->handleStatusChange(StatusDialog::WaitingSelection);
        QCOMPARE(state(), u"Connecting"_s);

        status->handleLog(u"10:32:05"_s, u"warn"_s, u"Flow started"_s);
        QTextDocument* document = status->findChild<QTextEdit*>(u"logs"_s)->document();
        QCOMPARE(document->toPlainText(), u"10:32:05 WARN Flow started"_s);
        for (int line = 2; line <= 8300; ++line)
            status->handleLog(u"t"_s, u"info"_s, QString::number(line));
        // The newest 8192 lines stay; a full log clears like any other.
        QCOMPARE(document->blockCount(), 8192);
        QCOMPARE(document->firstBlock().text(), u"t INFO 109"_s);
        // A huge line is cut as in the robot's log view.
        // Laying out one huge wrapped line would freeze the window: a longer line is cut with its length, a pair of
        // surrogates at the cut going whole.
        const QString fits(16377, 'x'_L1);
        const QList<std::pair<QString, QString>> cuts
            = { { fits, fits }, { fits + u"y"_s, fits + u"\u2026 [cut from 16385 characters]"_s },
                  { fits.chopped(1) + u"\U0001F600z"_s, fits.chopped(1) + u"\u2026 [cut from 16386 characters]"_s } };
        for (const auto& [message, cut] : cuts) {
            status->handleLog(u"t"_s, u"info"_s, message);
            QCOMPARE(document->lastBlock().text(), u"t INFO "_s + cut);
        }
        QTest::mouseClick(button(u"clearButton"_s), Qt::LeftButton);
        QCOMPARE(document->toPlainText(), QString());
    }
};

QTEST_MAIN(TestTray)
#include "test_tray.moc"
