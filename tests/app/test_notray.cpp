#include "programdriver.h"

#include <QTest>

using testsupport::ProgramDriver;

// The real program on a private X server without a tray host.
class TestNotray final : public QObject
{
    Q_OBJECT

private slots:
    void criticalMessageThenExitOne();
};

void TestNotray::criticalMessageThenExitOne()
{
    ProgramDriver driver;
    // Twice: the first run must release the single-instance guard on its way out, or the second would end with 0.
    for (int run = 0; run < 2; ++run) {
        QProcess* program = driver.start();
        QVERIFY(program);
        const QString box = ProgramDriver::waitForWindow(program->processId(), QStringLiteral("Oxmerel"), 20000);
        // An instance started outside this test would turn ours away at once.
        QVERIFY2(!box.isEmpty(),
            program->state() == QProcess::NotRunning
                ? qPrintable(QStringLiteral("ended with %1 before a box showed").arg(program->exitCode()))
                : "no box");
        // The box alone shows, and the program waits for the user.
        QCOMPARE(ProgramDriver::visibleWindows(program->processId()).size(), 1);
        QVERIFY(!program->waitForFinished(500));

        ProgramDriver::keys(box, { QStringLiteral("Return") });
        QCOMPARE(ProgramDriver::waitForExit(program, 15000), 1);
    }
}

QTEST_GUILESS_MAIN(TestNotray)
#include "test_notray.moc"
