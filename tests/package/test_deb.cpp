#include "paths.h"
#include "processes.h"
#include "programdriver.h"
#include "runtool.h"
#include "tempfiles.h"

#include <QDir>
#include <QDirIterator>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

// The Debian package as a user gets it: made by CPack from this build, unpacked with dpkg-deb, started.
class TestDeb final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        const QString out = dir.filePath(u"out"_s);
        QVERIFY(!run(QStringLiteral(OXMEREL_CPACK),
            { u"-G"_s, u"DEB"_s, u"-B"_s, out, u"--config"_s, QStringLiteral(OXMEREL_BUILD_DIR "/CPackConfig.cmake") })
                     .isNull());
        const QStringList debs = QDir(out).entryList({ u"*.deb"_s }, QDir::Files);
        QCOMPARE(debs.size(), 1);
        package = QDir(out).filePath(debs.first());
        root = dir.filePath(u"root"_s);
        QVERIFY(!run(u"dpkg-deb"_s, { u"-x"_s, package, root }).isNull());
    }

    void filesDependenciesAndDesktopEntry()
    {
        // The program and its desktop files, nothing of the simulator, tests or benchmarks.
        QStringList expected { u"usr/bin/oxmerel-tray"_s, u"usr/share/applications/oxmerel-tray.desktop"_s,
            u"usr/share/icons/hicolor/scalable/apps/oxmerel-tray.svg"_s };
        for (const int size : { 16, 24, 32, 48, 64, 128, 256 })
            expected.append(u"usr/share/icons/hicolor/%1x%1/apps/oxmerel-tray.png"_s.arg(size));
        QStringList files;
        for (QDirIterator it(root, QDir::Files, QDirIterator::Subdirectories); it.hasNext();)
            files.append(QDir(root).relativeFilePath(it.next()));
        expected.sort();
        files.sort();
        QCOMPARE(files, expected);

        const QString depends = run(u"dpkg-deb"_s, { u"-f"_s, package, u"Depends"_s });
        for (const char* name : { "libqt6widgets6", "libqt6gui6", "libqt6core6", "qt6-qpa-plugins", "libyaml-cpp0.7" })
            QVERIFY2(depends.contains(QLatin1String(name)), name);

        // Valid, and naming the packaged program and icon.
        const QString entryPath = root + u"/usr/share/applications/oxmerel-tray.desktop"_s;
        const QString problems = run(u"desktop-file-validate"_s, { entryPath });
        QVERIFY2(!problems.isNull() && problems.isEmpty(), qPrintable(problems));
        QSettings entry(entryPath, QSettings::IniFormat);
        entry.beginGroup(u"Desktop Entry"_s);
        QCOMPARE(entry.value(u"Exec"_s).toString(), u"oxmerel-tray"_s);
        QCOMPARE(entry.value(u"Icon"_s).toString(), u"oxmerel-tray"_s);
    }

    void unpackedProgramRunsTheRuntime()
    {
        // One remembered workspace: "--auto-start" signs it in through the runtime, found on PATH.
        QVERIFY(testsupport::writeFile(credentialsYamlPath(),
            "credentials:\n  acme.oxmerel.cloud: {identity: ann@acme.example, password: czNjcmV0LXB3, robots: []}\n"));
        const QString record = testsupport::useSimulator(dir.path());
        qputenv("OXMEREL_TRAY_BIN", QFile::encodeName(root + u"/usr/bin/oxmerel-tray"_s));
        testsupport::ProgramDriver program({ u"--auto-start"_s });
        QVERIFY(!program.trayIcon().isEmpty());
        QTRY_VERIFY_WITH_TIMEOUT(testsupport::readFile(record).contains("\"program\":\"oxmerel-runner\""), 30000);
    }

private:
    // Runs a tool to its end; answers its output (both channels), or a null text when it failed.
    static QString run(const QString& tool, const QStringList& arguments)
    {
        const auto result = testsupport::runTool(tool, arguments, 120000);
        const QString output = QString::fromLocal8Bit(result.out + result.err);
        if (result.exitCode == 0)
            return output.isNull() ? u""_s : output;
        qWarning().noquote() << tool << "failed:" << output;
        return {};
    }

    QTemporaryDir dir;
    QString package;
    QString root;
};

QTEST_GUILESS_MAIN(TestDeb)
#include "test_deb.moc"
