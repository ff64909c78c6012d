#include "paths.h"
#include "processes.h"
#include "programdriver.h"
#include "runtool.h"
#include "tempfiles.h"

#include <QDir>
#include <QDirIterator>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

// The Debian package as a user gets it: made by CPack from this build, unpacked with dpkg-deb, started.
class TestDeb final : public QObject
{
    Q_OBJECT

private slots:
    void unpackedPackageRunsTheRuntime()
    {
        QTemporaryDir dir;
        const QString out = dir.filePath(u"out"_s);
        const QString root = dir.filePath(u"root"_s);
        const auto made = testsupport::runTool(QStringLiteral(OXMEREL_CPACK),
            { u"-G"_s, u"DEB"_s, u"-B"_s, out, u"--config"_s, QStringLiteral(OXMEREL_BUILD_DIR "/CPackConfig.cmake") },
            120000);
        QVERIFY2(made.exitCode == 0, QByteArray(made.out + made.err).constData());
        const QStringList debs = QDir(out).entryList({ u"*.deb"_s }, QDir::Files);
        QCOMPARE(debs.size(), 1);
        QCOMPARE(testsupport::runTool(u"dpkg-deb"_s, { u"-x"_s, QDir(out).filePath(debs.first()), root }).exitCode, 0);

        // The program and its desktop entry and icons, nothing of the simulator, tests or benchmarks.
        for (QDirIterator it(root, QDir::Files, QDirIterator::Subdirectories); it.hasNext();) {
            const QString file = QDir(root).relativeFilePath(it.next());
            QVERIFY2(file == u"usr/bin/oxmerel-tray"_s
                    || (file.startsWith(u"usr/share/"_s) && file.section(u'/', -1).startsWith(u"oxmerel-tray."_s)),
                qPrintable(file));
        }
        // Valid, and naming the packaged program and icon.
        const QString entryPath = root + u"/usr/share/applications/oxmerel-tray.desktop"_s;
        const auto problems = testsupport::runTool(u"desktop-file-validate"_s, { entryPath });
        QVERIFY2(problems.exitCode == 0 && problems.out.isEmpty(), QByteArray(problems.out + problems.err).constData());
        const QByteArray entry = testsupport::readFile(entryPath);
        QVERIFY(entry.contains("\nExec=oxmerel-tray\n") && entry.contains("\nIcon=oxmerel-tray\n"));

        // One remembered workspace: "--auto-start" signs it in through the runtime, found on PATH.
        QVERIFY(testsupport::writeFile(credentialsYamlPath(),
            "credentials:\n  acme.oxmerel.cloud: {identity: ann@acme.example, password: czNjcmV0LXB3, robots: []}\n"));
        const QString record = testsupport::useSimulator(dir.path());
        qputenv("OXMEREL_TRAY_BIN", QFile::encodeName(root + u"/usr/bin/oxmerel-tray"_s));
        testsupport::ProgramDriver program({ u"--auto-start"_s });
        QVERIFY(!program.trayIcon().isEmpty());
        QTRY_VERIFY_WITH_TIMEOUT(testsupport::readFile(record).contains("\"program\":\"oxmerel-runner\""), 30000);
    }
};

QTEST_GUILESS_MAIN(TestDeb)
#include "test_deb.moc"
