#include "runtool.h"
#include "tempfiles.h"

#include <QDir>
#include <QFontDatabase>
#include <QImage>
#include <QMovie>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

// The application shell: the resource bundle in process, and what the real program says when its single-instance guard
// cannot be made. The guard itself is exercised by the real program's tests.
class TestShell final : public QObject
{
    Q_OBJECT

private slots:
    void resourcesLoad()
    {
        // Nine weights, each upright and italic.
        const QStringList fonts = QDir(u":/fonts"_s).entryList({ u"*.ttf"_s });
        QCOMPARE(fonts.size(), 18);
        for (const QString& name : fonts) {
            const int id = QFontDatabase::addApplicationFont(u":/fonts/"_s + name);
            QCOMPARE(QFontDatabase::applicationFontFamilies(id).value(0), u"Poppins"_s);
        }
        const QStringList images = QDir(u":/images"_s).entryList();
        QCOMPARE(images.size(), 18);
        for (const QString& name : images) {
            const QString path = u":/images/"_s + name;
            QVERIFY2(
                name == "loading.gif"_L1 ? QMovie(path).frameCount() > 1 : !QImage(path).isNull(), qPrintable(path));
        }
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

QTEST_MAIN(TestShell)
#include "test_shell.moc"
