#include "programdriver.h"

#include <QTest>

using testsupport::ProgramDriver;

// The real program on a private X server without a tray host.
class TestNotray final : public QObject
{
    Q_OBJECT

private slots:
    void criticalMessageThenExitOne()
    {
        ProgramDriver program;
        const QString box = program.waitForWindow(QStringLiteral("Oxmerel"), 20000);
        // An instance started outside this test would turn ours away at once.
        QVERIFY2(!box.isEmpty(), program.running() ? "no box" : "ended before a box showed");
        // The box alone shows, and the program waits for the user.
        QCOMPARE(program.visibleWindows().size(), 1);
        QCOMPARE(program.waitForExit(500), -1);
        ProgramDriver::keys(box, { QStringLiteral("Return") });
        QCOMPARE(program.waitForExit(15000), 1);
    }
};

QTEST_GUILESS_MAIN(TestNotray)
#include "test_notray.moc"
