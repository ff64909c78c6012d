#include "programdriver.h"
#include "runtool.h"
#include "tempfiles.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using testsupport::ProgramDriver;

// The real program where it cannot run: on a private X server without a tray host, and without a temporary folder
// for its single-instance guard.
class TestNotray final : public QObject
{
    Q_OBJECT

private slots:
    void criticalMessageThenExitOne()
    {
        ProgramDriver program;
        const QString box = program.waitForWindow(u"Oxmerel"_s, 20000);
        // An instance started outside this test would turn ours away at once.
        QVERIFY2(!box.isEmpty(), program.running() ? "no box" : "ended before a box showed");
        // The box alone shows, and the program waits for the user.
        QCOMPARE(program.visibleWindows().size(), 1);
        QCOMPARE(program.waitForExit(500), -1);
        ProgramDriver::keys(box, { u"Return"_s });
        QCOMPARE(program.waitForExit(15000), 1);
    }

    void guardFailureSaysWhy()
    {
        // A file where the temporary folder should be: the guard's names cannot be made there.
        QTemporaryDir dir;
        const QString notAFolder = dir.filePath(u"tmp"_s);
        QVERIFY(testsupport::writeFile(notAFolder, {}));
        const QByteArray tmp = qgetenv("TMPDIR");
        qputenv("TMPDIR", QFile::encodeName(notAFolder));
        const auto program = testsupport::runTool(qEnvironmentVariable("OXMEREL_TRAY_BIN"), {}, 30000);
        qputenv("TMPDIR", tmp);
        QCOMPARE(program.exitCode, 0);
        const QString error = QString::fromLocal8Bit(program.err).trimmed();
        QVERIFY2(error.startsWith(u"Oxmerel Connect: cannot create the single-instance guard"_s), qPrintable(error));
        QVERIFY2(error.contains(notAFolder) && !error.contains('\n'_L1), qPrintable(error));
    }
};

QTEST_GUILESS_MAIN(TestNotray)
#include "test_notray.moc"
