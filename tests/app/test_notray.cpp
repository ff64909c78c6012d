#include "appglobals.h"
#include "programdriver.h"
#include "runguard.h"
#include "runtool.h"
#include "tempfiles.h"

#include <QFile>
#include <QSharedMemory>
#include <QTemporaryDir>
#include <QTest>

#include <sys/shm.h>

using namespace Qt::StringLiterals;
using testsupport::ProgramDriver;

// The real program where it cannot run: on a private X server without a tray host, and without a temporary folder
// for its single-instance guard; and a guard that a killed instance's leftovers must not turn away.
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

    void segmentNobodyHoldsGivesWay()
    {
        // What a killed instance leaves: a segment that nobody is attached to (one may be there already). Its name
        // comes from the key file's inode, which a new key file can share, so it appears after the guard was made.
        RunGuard guard(applicationKey);
        const QString keyFile = QSharedMemory(RunGuard::deriveKey(applicationKey, u"_sharedmemKey"_s)).nativeKey();
        QVERIFY(testsupport::writeFile(keyFile, {}));
        QVERIFY(shmget(ftok(QFile::encodeName(keyFile).constData(), 'Q'), 8, IPC_CREAT | 0600) != -1);
        QVERIFY(guard.tryClaimInstance());
        // A claim that holds: the next start gives way until this one lets go.
        RunGuard next(applicationKey);
        QVERIFY(!next.tryClaimInstance());
        guard.releaseInstance();
        QVERIFY(next.tryClaimInstance());
    }
};

QTEST_GUILESS_MAIN(TestNotray)
#include "test_notray.moc"
