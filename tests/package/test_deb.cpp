#include "paths.h"
#include "programdriver.h"
#include "tempfiles.h"

#include <QDir>
#include <QDirIterator>
#include <QProcess>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

using testsupport::ProgramDriver;

// The Debian package as a user gets it: made by CPack from this build, unpacked with dpkg-deb, started.
class TestDeb final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void filesDependenciesAndDesktopEntry();
    void unpackedProgramRunsTheRuntime();

private:
    // Runs a tool to its end; answers its output (both channels), or a null text when it failed.
    static QString run(const QString& tool, const QStringList& arguments);

    QTemporaryDir dir;
    QString package;
    QString root;
};

QString TestDeb::run(const QString& tool, const QStringList& arguments)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(tool, arguments);
    const bool ended = process.waitForFinished(120000) && process.exitStatus() == QProcess::NormalExit;
    const QString output = QString::fromLocal8Bit(process.readAll());
    if (!ended || process.exitCode() != 0) {
        qWarning().noquote() << tool << "failed:" << output;
        return {};
    }
    return output.isNull() ? QStringLiteral("") : output;
}

void TestDeb::initTestCase()
{
    const QString out = dir.filePath(QStringLiteral("out"));
    QVERIFY(!run(QStringLiteral(OXMEREL_CPACK),
        { QStringLiteral("-G"), QStringLiteral("DEB"), QStringLiteral("-B"), out, QStringLiteral("--config"),
            QStringLiteral(OXMEREL_BUILD_DIR "/CPackConfig.cmake") })
                 .isNull());
    const QStringList debs = QDir(out).entryList({ QStringLiteral("*.deb") }, QDir::Files);
    QCOMPARE(debs.size(), 1);
    package = QDir(out).filePath(debs.first());
    root = dir.filePath(QStringLiteral("root"));
    QVERIFY(!run(QStringLiteral("dpkg-deb"), { QStringLiteral("-x"), package, root }).isNull());
}

void TestDeb::filesDependenciesAndDesktopEntry()
{
    // The program and its desktop files, nothing of the simulator, tests or benchmarks.
    QStringList expected { QStringLiteral("usr/bin/oxmerel-tray"),
        QStringLiteral("usr/share/applications/oxmerel-tray.desktop"),
        QStringLiteral("usr/share/icons/hicolor/scalable/apps/oxmerel-tray.svg") };
    for (const int size : { 16, 24, 32, 48, 64, 128, 256 })
        expected.append(QStringLiteral("usr/share/icons/hicolor/%1x%1/apps/oxmerel-tray.png").arg(size));
    QStringList files;
    for (QDirIterator it(root, QDir::Files, QDirIterator::Subdirectories); it.hasNext();)
        files.append(QDir(root).relativeFilePath(it.next()));
    expected.sort();
    files.sort();
    QCOMPARE(files, expected);

    const QString depends
        = run(QStringLiteral("dpkg-deb"), { QStringLiteral("-f"), package, QStringLiteral("Depends") });
    for (const char* name : { "libqt6widgets6", "libqt6gui6", "libqt6core6", "qt6-qpa-plugins", "libyaml-cpp0.7" })
        QVERIFY2(depends.contains(QLatin1String(name)), name);

    // Valid, and naming the packaged program and icon.
    const QString entryPath = root + QStringLiteral("/usr/share/applications/oxmerel-tray.desktop");
    const QString problems = run(QStringLiteral("desktop-file-validate"), { entryPath });
    QVERIFY2(!problems.isNull() && problems.isEmpty(), qPrintable(problems));
    QSettings entry(entryPath, QSettings::IniFormat);
    QCOMPARE(entry.value(QStringLiteral("Desktop Entry/Exec")).toString(), QStringLiteral("oxmerel-tray"));
    QCOMPARE(entry.value(QStringLiteral("Desktop Entry/Icon")).toString(), QStringLiteral("oxmerel-tray"));
}

void TestDeb::unpackedProgramRunsTheRuntime()
{
    // One remembered workspace: "--auto-start" signs it in through the runtime, found on PATH.
    QVERIFY(testsupport::writeFile(credentialsYamlPath(),
        "credentials:\n  acme.oxmerel.cloud:\n    identity: ann@acme.example\n    password: czNjcmV0LXB3\n"
        "    robots: []\n"));
    const QString record = dir.filePath(QStringLiteral("record.jsonl"));
    qputenv("OXMEREL_SIM_RECORD", QFile::encodeName(record));
    qputenv("PATH", qgetenv("OXMEREL_SIM_DIR") + ':' + qgetenv("PATH"));
    qputenv("OXMEREL_TRAY_BIN", QFile::encodeName(root + QStringLiteral("/usr/bin/oxmerel-tray")));

    ProgramDriver driver;
    QProcess* program = driver.start({ QStringLiteral("--auto-start") });
    QVERIFY(program);
    QVERIFY(!ProgramDriver::waitForTrayIcon(program->processId(), 45000).isEmpty());
    QTRY_VERIFY_WITH_TIMEOUT(testsupport::readFile(record).contains("\"program\":\"oxmerel-runner\""), 30000);
}

QTEST_GUILESS_MAIN(TestDeb)
#include "test_deb.moc"
