#include "appglobals.h"
#include "paths.h"
#include "runguard.h"

#include <QDir>
#include <QFile>
#include <QFontDatabase>
#include <QImage>
#include <QMovie>
#include <QRegularExpression>
#include <QResource>
#include <QSettings>
#include <QTest>
#include <QUuid>

// The application shell in process: the single-instance guard, the local paths, the settings object and the
// resource bundle.
class TestShell final : public QObject
{
    Q_OBJECT

private slots:
    void derivedNames();
    void guardAdmitsOneHolderAtATime();
    void pathsFollowHome();
    void settingsObjectIsTrayIni();
    void fontsLoad();
    // Only the spinner is stored compressed, and with zlib.
    void imagesLoad();
    void templatesAndLicenceLoad();
};

void TestShell::derivedNames()
{
    const QString memLock = RunGuard::deriveKey(applicationKey, QStringLiteral("_memLockKey"));
    const QString sharedMem = RunGuard::deriveKey(applicationKey, QStringLiteral("_sharedmemKey"));
    const QRegularExpression hex(QStringLiteral("^[0-9a-f]{40}$"));
    QVERIFY(hex.match(memLock).hasMatch());
    QVERIFY(hex.match(sharedMem).hasMatch());
    QVERIFY(memLock != sharedMem);
    QCOMPARE(RunGuard::deriveKey(applicationKey, QStringLiteral("_memLockKey")), memLock);
    // SHA-1 of key and salt joined without separator, as sha1sum gives them: every copy must find the same names.
    QCOMPARE(memLock, QStringLiteral("c8d70c414c720ea15816cdb183b36ae23013175b"));
    QCOMPARE(sharedMem, QStringLiteral("a991107e82dafad870bfd5de05305f3220f44249"));
}

void TestShell::guardAdmitsOneHolderAtATime()
{
    // A key of this test's own: the program's names are machine-wide and another test may hold them.
    const QString key = QUuid::createUuid().toString(QUuid::Id128);
    RunGuard first(key);
    QVERIFY(!first.isAnotherInstanceRunning());
    QVERIFY(first.tryClaimInstance());
    QVERIFY(!first.isAnotherInstanceRunning());
    {
        RunGuard second(key);
        QVERIFY(second.isAnotherInstanceRunning());
        QVERIFY(!second.tryClaimInstance());
    }
    first.releaseInstance();
    {
        RunGuard third(key);
        QVERIFY(!third.isAnotherInstanceRunning());
        QVERIFY(third.tryClaimInstance());
    }
    // The third guard's destructor released the segment.
    QVERIFY(first.tryClaimInstance());
}

void TestShell::pathsFollowHome()
{
    const QByteArray savedHome = qgetenv("HOME");
    for (const QString& home : { QDir::homePath(), QStringLiteral("/tmp/another home") }) {
        qputenv("HOME", home.toUtf8());
        const QString root = home + QStringLiteral("/AppData/Local/Oxmerel");
        QCOMPARE(oxmerelHome(), root);
        QCOMPARE(settingsFilePath(), root + QStringLiteral("/tray.ini"));
        QCOMPARE(credentialsYamlPath(), root + QStringLiteral("/credentials.yaml"));
        QCOMPARE(credentialsJsonPath(), root + QStringLiteral("/credentials.json"));
        QCOMPARE(logsRoot(), root + QStringLiteral("/logs"));
        QCOMPARE(robotLocksDir(), root + QStringLiteral("/tray/robots"));
    }
    qputenv("HOME", savedHome);
}

void TestShell::settingsObjectIsTrayIni()
{
    QCOMPARE(traySettings->fileName(), settingsFilePath());
    QCOMPARE(traySettings->format(), QSettings::IniFormat);
    QCOMPARE(appVersion, QStringLiteral("v25.4.2"));

    // The geometry keys sit at the top level of the file, where a second reader finds them.
    traySettings->setValue(QStringLiteral("x"), -5);
    traySettings->setValue(QStringLiteral("fullscreen"), true);
    traySettings->sync();
    const QSettings reread(settingsFilePath(), QSettings::IniFormat);
    QCOMPARE(reread.value(QStringLiteral("x")).toInt(), -5);
    QCOMPARE(reread.value(QStringLiteral("fullscreen")).toBool(), true);
}

void TestShell::fontsLoad()
{
    const QStringList weights = { QStringLiteral("Thin"), QStringLiteral("ExtraLight"), QStringLiteral("Light"),
        QStringLiteral("Regular"), QStringLiteral("Medium"), QStringLiteral("SemiBold"), QStringLiteral("Bold"),
        QStringLiteral("ExtraBold"), QStringLiteral("Black") };
    for (const QString& weight : weights) {
        const QString italic
            = weight == QStringLiteral("Regular") ? QStringLiteral("Italic") : weight + QStringLiteral("Italic");
        for (const QString& style : { weight, italic }) {
            const QString path = QStringLiteral(":/fonts/Poppins-%1.ttf").arg(style);
            const int id = QFontDatabase::addApplicationFont(path);
            QVERIFY2(id >= 0, qPrintable(path));
            QCOMPARE(QResource(path).compressionAlgorithm(), QResource::NoCompression);
            QCOMPARE(QFontDatabase::applicationFontFamilies(id).value(0), QStringLiteral("Poppins"));
        }
    }
}

void TestShell::imagesLoad()
{
    const QStringList images = { QStringLiteral("oxmerel"), QStringLiteral("oxmerel-logo"),
        QStringLiteral("oxmerel-logo-alt"), QStringLiteral("info"), QStringLiteral("warning"), QStringLiteral("error"),
        QStringLiteral("robot_icon"), QStringLiteral("robot_offline"), QStringLiteral("lock"),
        QStringLiteral("add_icon_24x24"), QStringLiteral("close_icon_24x24"), QStringLiteral("minimize_icon_24x24"),
        QStringLiteral("maximize_icon_24x24"), QStringLiteral("trash_icon"), QStringLiteral("search_icon"),
        QStringLiteral("case"), QStringLiteral("match") };
    for (const QString& name : images) {
        const QString path = QStringLiteral(":/images/%1.png").arg(name);
        QVERIFY2(!QImage(path).isNull(), qPrintable(path));
        QCOMPARE(QResource(path).compressionAlgorithm(), QResource::NoCompression);
    }

    const QString spinner = QStringLiteral(":/images/loading.gif");
    QCOMPARE(QResource(spinner).compressionAlgorithm(), QResource::ZlibCompression);
    QMovie movie(spinner);
    QVERIFY(movie.isValid());
    QVERIFY(movie.frameCount() > 1);
}

void TestShell::templatesAndLicenceLoad()
{
    const auto read = [](const QString& path) {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
    };
    QVERIFY(read(QStringLiteral(":/fonts/OFL.txt")).contains(QStringLiteral("SIL OPEN FONT LICENSE")));
    const QStringList entry = read(QStringLiteral(":/resources/oxmerel.desktop")).split(QLatin1Char('\n'));
    QVERIFY(entry.contains(QStringLiteral("Exec=sh -c \"/usr/bin/oxmerel-tray --auto-start\"")));
    QVERIFY(entry.contains(QStringLiteral("StartupWMClass=Oxmerel")));
    const QString agent = read(QStringLiteral(":/resources/oxmerel.plist"));
    QVERIFY(agent.contains(QStringLiteral("<key>RunAtLoad</key>")));
    QVERIFY(agent.contains(QStringLiteral("<string>--auto-start</string>")));
}

QTEST_MAIN(TestShell)
#include "test_shell.moc"
