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
        // The guard is machine-wide: an instance started outside this test turns ours away with 0.
        QVERIFY2(!box.isEmpty(),
            program->state() == QProcess::NotRunning ? "ended at once: another instance holds the guard" : "no box");
        QVERIFY(ProgramDriver::visibleWindows(program->processId()).size() == 1);
        // It waits for the user.
        QVERIFY(!program->waitForFinished(500));

        const QRect area = ProgramDriver::geometry(box);
        ProgramDriver::runTool(QStringLiteral("xdotool"),
            { QStringLiteral("mousemove"), QStringLiteral("--window"), box, QString::number(area.width() / 2),
                QString::number(area.height() / 2) });
        ProgramDriver::keys({ QStringLiteral("Return") });
        QCOMPARE(ProgramDriver::waitForExit(program, 15000), 1);
    }
}

QTEST_GUILESS_MAIN(TestNotray)
#include "test_notray.moc"
