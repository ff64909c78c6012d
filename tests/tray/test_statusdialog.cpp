#include "statusdialog.h"

#include <QDesktopServices>
#include <QDir>
#include <QLabel>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextEdit>
#include <QUrl>

// Records the addresses QDesktopServices is asked to open.
class UrlRecorder : public QObject
{
    Q_OBJECT

public:
    QList<QUrl> opened;

public slots:
    void open(const QUrl& url) { opened.append(url); }
};

class TestStatusDialog final : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void formAsBuilt();
    void stateTable_data();
    void stateTable();
    void waitingStatesFollowWasConnected();
    void logLinesAndBound();
    void buttons();
    void nameChangesAccumulate();

private:
    QString state() const { return dialog->findChild<QLabel*>(QStringLiteral("statusLabel"))->text(); }
    QPushButton* button(const char* name) const { return dialog->findChild<QPushButton*>(QLatin1String(name)); }
    QTextEdit* logs() const { return dialog->findChild<QTextEdit*>(QStringLiteral("logs")); }

    StatusDialog* dialog = nullptr;
};

void TestStatusDialog::init()
{
    dialog = new StatusDialog(nullptr);
}

void TestStatusDialog::cleanup()
{
    delete dialog;
    dialog = nullptr;
}

void TestStatusDialog::formAsBuilt()
{
    QCOMPARE(dialog->size(), QSize(963, 537));
    QVERIFY(!dialog->isVisible());
    QCOMPARE(dialog->findChild<QLabel*>(QStringLiteral("label"))->text(), QStringLiteral("Current State:"));
    QCOMPARE(state(), QStringLiteral("Connecting"));
    QVERIFY(logs()->isReadOnly());
    QCOMPARE(button("disconnectButton")->maximumWidth(), 128);

    // Left to right: Disconnect, Logs, a gap taking the room, Clear, Hide.
    dialog->show();
    QVERIFY(QTest::qWaitForWindowExposed(dialog));
    const int disconnectX = button("disconnectButton")->x();
    const int logsX = button("logsButton")->x();
    const int clearX = button("clearButton")->x();
    const int hideX = button("hideButton")->x();
    QVERIFY(disconnectX < logsX && logsX < clearX && clearX < hideX);
    QVERIFY(clearX - (logsX + button("logsButton")->width()) > dialog->width() / 2);
    // The state text takes the rest of the line.
    QVERIFY(dialog->findChild<QLabel*>(QStringLiteral("statusLabel"))->width() > dialog->width() / 2);
}

void TestStatusDialog::stateTable_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("connectedSignals");
    QTest::addColumn<int>("disconnectedSignals");
    QTest::newRow("none is ignored") << 0 << QStringLiteral("Disconnected") << 0 << 0;
    QTest::newRow("connecting") << 1 << QStringLiteral("Connecting") << 0 << 0;
    QTest::newRow("disconnected") << 2 << QStringLiteral("Disconnected") << 0 << 0;
    QTest::newRow("connected") << 3 << QStringLiteral("Connected") << 1 << 0;
    QTest::newRow("failed") << 4 << QStringLiteral("Failed") << 0 << 1;
    QTest::newRow("running flow") << 5 << QStringLiteral("Running flow") << 0 << 0;
    QTest::newRow("stopped") << 6 << QStringLiteral("Connected") << 0 << 0;
    QTest::newRow("below range") << -1 << QStringLiteral("Disconnected") << 0 << 0;
    QTest::newRow("above range") << 9 << QStringLiteral("Disconnected") << 0 << 0;
}

void TestStatusDialog::stateTable()
{
    QFETCH(int, status);
    QFETCH(QString, text);
    QFETCH(int, connectedSignals);
    QFETCH(int, disconnectedSignals);

    // A known state first, so that an ignored value visibly changes nothing.
    dialog->handleStatusChange(StatusDialog::Disconnected);
    QSignalSpy connected(dialog, &StatusDialog::connected);
    QSignalSpy disconnected(dialog, &StatusDialog::disconnected);
    // Owners drive the slot through the meta-object system, with the registered enumeration.
    QVERIFY(QMetaObject::invokeMethod(
        dialog, "handleStatusChange", Q_ARG(StatusDialog::Status, static_cast<StatusDialog::Status>(status))));
    QCOMPARE(state(), text);
    QCOMPARE(connected.count(), connectedSignals);
    QCOMPARE(disconnected.count(), disconnectedSignals);
}

void TestStatusDialog::waitingStatesFollowWasConnected()
{
    const auto showsFor = [&](StatusDialog::Status status) {
        dialog->handleStatusChange(status);
        return state();
    };
    QCOMPARE(showsFor(StatusDialog::WaitingInput), QStringLiteral("Connecting"));
    QCOMPARE(showsFor(StatusDialog::WaitingSelection), QStringLiteral("Connecting"));
    dialog->handleStatusChange(StatusDialog::Connected);
    QCOMPARE(showsFor(StatusDialog::WaitingInput), QStringLiteral("Waiting Input"));
    QCOMPARE(showsFor(StatusDialog::WaitingSelection), QStringLiteral("Waiting Selection"));
    // A failure does not forget the connection; only a disconnect does.
    dialog->handleStatusChange(StatusDialog::Failed);
    QCOMPARE(showsFor(StatusDialog::WaitingInput), QStringLiteral("Waiting Input"));

    QSignalSpy disconnected(dialog, &StatusDialog::disconnected);
    QTest::mouseClick(button("disconnectButton"), Qt::LeftButton);
    QCOMPARE(disconnected.count(), 1);
    QCOMPARE(state(), QString());
    QCOMPARE(showsFor(StatusDialog::WaitingInput), QStringLiteral("Connecting"));
    QCOMPARE(showsFor(StatusDialog::WaitingSelection), QStringLiteral("Connecting"));
}

void TestStatusDialog::logLinesAndBound()
{
    dialog->handleLog(QStringLiteral("10:32:05"), QStringLiteral("warn"), QStringLiteral("Flow started"));
    QCOMPARE(logs()->toPlainText(), QStringLiteral("10:32:05 WARN Flow started"));

    for (int line = 2; line <= StatusDialog::maximumLogLines; ++line) {
        dialog->handleLog(QStringLiteral("t"), QStringLiteral("info"), QString::number(line));
    }
    QTextDocument* document = logs()->document();
    QCOMPARE(document->blockCount(), 8192);
    QCOMPARE(document->firstBlock().text(), QStringLiteral("10:32:05 WARN Flow started"));

    // Line 8193 pushes out line 1, and the log keeps the newest lines from then on.
    dialog->handleLog(QStringLiteral("t"), QStringLiteral("info"), QStringLiteral("8193"));
    QCOMPARE(document->blockCount(), 8192);
    QCOMPARE(document->firstBlock().text(), QStringLiteral("t INFO 2"));
    QCOMPARE(document->lastBlock().text(), QStringLiteral("t INFO 8193"));
    for (int line = 8194; line <= 8300; ++line) {
        dialog->handleLog(QStringLiteral("t"), QStringLiteral("info"), QString::number(line));
    }
    QCOMPARE(document->blockCount(), 8192);
    QCOMPARE(document->firstBlock().text(), QStringLiteral("t INFO 109"));
    // No undo history grows behind the bounded log.
    QVERIFY(!document->isUndoAvailable());
}

void TestStatusDialog::buttons()
{
    dialog->handleLog(QStringLiteral("t"), QStringLiteral("info"), QStringLiteral("kept until cleared"));
    dialog->show();
    QVERIFY(QTest::qWaitForWindowExposed(dialog));
    QTest::mouseClick(button("hideButton"), Qt::LeftButton);
    QVERIFY(!dialog->isVisible());
    QCOMPARE(logs()->toPlainText(), QStringLiteral("t INFO kept until cleared"));
    QTest::mouseClick(button("clearButton"), Qt::LeftButton);
    QVERIFY(logs()->toPlainText().isEmpty());

    // The logs folder's path is handed over as it is, not as a file: address.
    UrlRecorder recorder;
    QDesktopServices::setUrlHandler(QString(), &recorder, "open");
    QTest::mouseClick(button("logsButton"), Qt::LeftButton);
    QDesktopServices::unsetUrlHandler(QString());
    QCOMPARE(recorder.opened.size(), 1);
    QCOMPARE(recorder.opened.first(), QUrl(QDir::homePath() + QStringLiteral("/AppData/Local/Oxmerel/logs")));
    QVERIFY(recorder.opened.first().scheme().isEmpty());
}

void TestStatusDialog::nameChangesAccumulate()
{
    const QString placeholder = dialog->windowTitle();
    QVERIFY(placeholder.startsWith(QStringLiteral("Oxmerel Connect (")));
    dialog->handleNameChange(QStringLiteral("Invoices"));
    dialog->handleNameChange(QStringLiteral("Payroll"));
    QCOMPARE(dialog->windowTitle(), placeholder + QStringLiteral(" Robot: Invoices Robot: Payroll"));
}

QTEST_MAIN(TestStatusDialog)
#include "test_statusdialog.moc"
