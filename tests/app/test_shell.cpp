#include "appglobals.h"
#include "runguard.h"
#include "tempfiles.h"

#include <QDir>
#include <QFontDatabase>
#include <QImage>
#include <QMovie>
#include <QProcess>
#include <QResource>
#include <QTemporaryDir>
#include <QTest>

// The application shell in process: the single-instance names and the resource bundle. The guard itself is exercised
// by the real program's tests.
class TestShell final : public QObject
{
    Q_OBJECT

private slots:
    void derivedNames();
    void fontsLoad();
    void imagesLoad();
    void templates();
    void guardFailureSaysWhy();
};

void TestShell::derivedNames()
{
    // SHA-1 of key and salt joined without separator, as sha1sum gives them: every copy must find the same names.
    QCOMPARE(RunGuard::deriveKey(applicationKey, QStringLiteral("_memLockKey")),
        QStringLiteral("c8d70c414c720ea15816cdb183b36ae23013175b"));
    QCOMPARE(RunGuard::deriveKey(applicationKey, QStringLiteral("_sharedmemKey")),
        QStringLiteral("a991107e82dafad870bfd5de05305f3220f44249"));
}

void TestShell::fontsLoad()
{
    // Nine weights, each upright and italic.
    const QStringList fonts = QDir(QStringLiteral(":/fonts")).entryList({ QStringLiteral("*.ttf") });
    QCOMPARE(fonts.size(), 18);
    for (const QString& name : fonts) {
        const QString path = QStringLiteral(":/fonts/") + name;
        QCOMPARE(QResource(path).compressionAlgorithm(), QResource::NoCompression);
        const int id = QFontDatabase::addApplicationFont(path);
        QCOMPARE(QFontDatabase::applicationFontFamilies(id).value(0), QStringLiteral("Poppins"));
    }
}

void TestShell::imagesLoad()
{
    // Only the spinner is stored compressed, and with zlib.
    const QStringList images = QDir(QStringLiteral(":/images")).entryList();
    QCOMPARE(images.size(), 18);
    for (const QString& name : images) {
        const QString path = QStringLiteral(":/images/") + name;
        const bool spinner = name == QStringLiteral("loading.gif");
        QCOMPARE(
            QResource(path).compressionAlgorithm(), spinner ? QResource::ZlibCompression : QResource::NoCompression);
        QVERIFY2(spinner ? QMovie(path).frameCount() > 1 : !QImage(path).isNull(), qPrintable(path));
    }
}

void TestShell::templates()
{
    QCOMPARE(QString::fromUtf8(testsupport::readFile(QStringLiteral(":/resources/oxmerel.desktop")))
                 .split(QLatin1Char('\n'), Qt::SkipEmptyParts),
        QStringList({ QStringLiteral("[Desktop Entry]"), QStringLiteral("Name=Oxmerel"),
            QStringLiteral("StartupWMClass=Oxmerel"), QStringLiteral("Comment=Oxmerel RPA"),
            QStringLiteral("Exec=sh -c \"/usr/bin/oxmerel-tray --auto-start\""), QStringLiteral("Terminal=false"),
            QStringLiteral("Type=Application"), QStringLiteral("Encoding=UTF-8"),
            QStringLiteral("Categories=Network;Application;") }));
    const QByteArray agent = testsupport::readFile(QStringLiteral(":/resources/oxmerel.plist"));
    QVERIFY(agent.contains("<key>RunAtLoad</key>"));
    QVERIFY(agent.contains("<key>PATH</key>\n        <string>/usr/local/bin:/usr/bin</string>"));
}

void TestShell::guardFailureSaysWhy()
{
    // A file where the temporary folder should be: the guard's names cannot be made there.
    QTemporaryDir dir;
    const QString notAFolder = dir.filePath(QStringLiteral("tmp"));
    QVERIFY(testsupport::writeFile(notAFolder, {}));
    QProcess program;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("TMPDIR"), notAFolder);
    program.setProcessEnvironment(environment);
    program.start(qEnvironmentVariable("OXMEREL_TRAY_BIN"), {});
    QVERIFY(program.waitForFinished(30000));
    QCOMPARE(program.exitStatus(), QProcess::NormalExit);
    QCOMPARE(program.exitCode(), 0);
    const QString error = QString::fromLocal8Bit(program.readAllStandardError()).trimmed();
    QVERIFY2(error.startsWith(QStringLiteral("Oxmerel Connect: cannot create the single-instance guard")),
        qPrintable(error));
    QVERIFY2(error.contains(notAFolder) && !error.contains(QLatin1Char('\n')), qPrintable(error));
}

QTEST_MAIN(TestShell)
#include "test_shell.moc"
