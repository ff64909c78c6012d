#include "autostart.h"
#include "connectdialog.h"
#include "statusdialog.h"
#include "tempfiles.h"
#include "tray.h"

#include <QAction>
#include <QDesktopServices>
#include <QDir>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QTest>
#include <QTextBlock>
#include <QTextEdit>
#include <QUrl>

#include <memory>

using namespace Qt::StringLiterals;

// The tray, its auto-start entries and its status dialog in process, on a display with a tray host, so that the tray's
// icon is a real embedded window and its balloon shows.
class TestTray final : public QObject
{
    Q_OBJECT

    std::unique_ptr<Tray> tray;
    QList<QUrl> openedUrls;

    QAction* entry(const QString& text) const
    {
        const QList<QAction*> actions = tray->findChildren<QAction*>();
        const auto found = std::find_if(actions.begin(), actions.end(), [&](QAction* a) { return a->text() == text; });
        return found == actions.end() ? nullptr : *found;
    }
    // Whether "&Auto-Start" and "&Do not Auto-Start" are checked.
    std::pair<bool, bool> checks() const
    {
        return { entry(u"&Auto-Start"_s)->isChecked(), entry(u"&Do not Auto-Start"_s)->isChecked() };
    }

public slots:
    void openUrl(const QUrl& url) { openedUrls.append(url); }

private slots:
    void init() { tray = std::make_unique<Tray>(); }
    void cleanup() { tray.reset(); }

    void menuAutoStartChecksAndEntries()
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
        // No entry yet: exactly "do not" is checked.
        QCOMPARE(checks(), std::pair(false, true));
        entry(u"&Auto-Start"_s)->trigger();
        QCOMPARE(checks(), std::pair(true, false));
        // At start the checks follow the entry on disk.
        tray = std::make_unique<Tray>();
        QCOMPARE(checks(), std::pair(true, false));
        entry(u"&Do not Auto-Start"_s)->trigger();
        QCOMPARE(checks(), std::pair(false, true));

        // Quoting escapes ", `, $ and \ with a backslash and doubles %; the key file's own escaping then doubles every
        // backslash.
        const QList<std::pair<QString, QString>> quoted = { { u"/home/a b/tray"_s, u"\"/home/a b/tray\""_s },
            { u"/x/$HOME"_s, u"\"/x/\\\\$HOME\""_s }, { u"/x/100%u"_s, u"\"/x/100%%u\""_s } };
        for (const auto& [argument, written] : quoted)
            QCOMPARE(autostart::quoteExecArgument(argument), written);
        QCOMPARE(
            autostart::runValue(u"C:/Program Files/App/app.exe"_s), u"C:\\Program Files\\App\\app.exe --auto-start"_s);

        // Program and the first of ProgramArguments both name the executable; nothing else changes.
        const QByteArray agentTemplate = testsupport::readFile(u":/resources/oxmerel.plist"_s);
        QByteArray agent = agentTemplate;
        agent.replace("/Applications/Oxmerel.app/Contents/MacOS/oxmerel-tray", "/Users/a&amp;b/tray");
        QCOMPARE(autostart::launchAgent(agentTemplate, u"/Users/a&b/tray"_s), agent);
    }

    void entriesAndBalloon()
    {
        // The window has no parent: it is the tray's only ConnectDialog among the top-level widgets.
        ConnectDialog* window = nullptr;
        for (QWidget* widget : QApplication::topLevelWidgets())
            window = window ? window : qobject_cast<ConnectDialog*>(widget);
        window->hide();
        entry(u"&Open"_s)->trigger();
        QVERIFY(window->isVisible());
        // The logs folder's path is handed over as it is, not as a file: address.
        QDesktopServices::setUrlHandler(QString(), this, "openUrl");
        entry(u"&Get Logs"_s)->trigger();
        QDesktopServices::unsetUrlHandler(QString());
        QCOMPARE(openedUrls, QList<QUrl>({ QUrl(QDir::homePath() + u"/AppData/Local/Oxmerel/logs"_s) }));
        // A robot's connection shows a balloon.
        emit window->connected(u"acme"_s);
        const auto balloonTexts = [] {
            QStringList texts;
            for (const QWidget* widget : QApplication::topLevelWidgets()) {
                if (widget->inherits("QBalloonTip") && widget->isVisible()) {
                    for (const QLabel* label : widget->findChildren<QLabel*>())
                        texts << label->text();
                }
            }
            return texts;
        };
        QTRY_VERIFY(balloonTexts().contains(u"Oxmerel"_s) && balloonTexts().contains(u"Robot connected to acme"_s));
    }

    void statusTextsAndLog()
    {
        StatusDialog status(nullptr);
        const auto state = [&status] { return status.findChild<QLabel*>(u"statusLabel"_s)->text(); };
        // None changes nothing; the waiting states read as connecting until a connection, which only a disconnect
        // forgets.
        const QList<std::pair<StatusDialog::Status, QString>> shown = { { StatusDialog::WaitingInput, u"Connecting"_s },
            { StatusDialog::RunningFlow, u"Running flow"_s }, { StatusDialog::Stopped, u"Connected"_s },
            { StatusDialog::Disconnected, u"Disconnected"_s }, { StatusDialog::None, u"Disconnected"_s },
            { StatusDialog::Connected, u"Connected"_s }, { StatusDialog::WaitingSelection, u"Waiting Selection"_s },
            { StatusDialog::Failed, u"Failed"_s }, { StatusDialog::Connecting, u"Connecting"_s } };
        for (const auto& [value, text] : shown) {
            status.handleStatusChange(value);
            QCOMPARE(state(), text);
        }
        QTest::mouseClick(status.findChild<QPushButton*>(u"disconnectButton"_s), Qt::LeftButton);
        QCOMPARE(state(), QString());
        status.handleStatusChange(StatusDialog::WaitingInput);
        QCOMPARE(state(), u"Connecting"_s);

        QTextDocument* document = status.findChild<QTextEdit*>(u"logs"_s)->document();
        // Laying out one huge wrapped line would freeze the window: a longer line is cut with its length, a pair of
        // surrogates at the cut going whole. The robot's log view cuts the same way.
        const QString fits(16377, 'x'_L1);
        const QList<std::pair<QString, QString>> cuts = { { fits, fits },
            { fits.chopped(1) + u"\U0001F600z"_s, fits.chopped(1) + u"\u2026 [cut from 16386 characters]"_s } };
        for (const auto& [message, cut] : cuts) {
            status.handleLog(u"t"_s, u"info"_s, message);
            QCOMPARE(document->lastBlock().text(), u"t INFO "_s + cut);
        }
        QTest::mouseClick(status.findChild<QPushButton*>(u"clearButton"_s), Qt::LeftButton);
        QCOMPARE(document->toPlainText(), QString());
    }
};

QTEST_MAIN(TestTray)
#include "test_tray.moc"
