#include "autostart.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

// The auto-start entries' contents, built from the bundle's templates.
class TestAutostart final : public QObject
{
    Q_OBJECT

private slots:
    void runValueUsesBackslashesUnquoted();
    void execArgumentQuoting_data();
    void execArgumentQuoting();
    void desktopEntryReplacesOnlyExec();
    void launchAgentNamesTheExecutable();
    void entryFileWrittenWithItsFolder();

private:
    static QByteArray resource(const QString& path);
};

QByteArray TestAutostart::resource(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void TestAutostart::runValueUsesBackslashesUnquoted()
{
    QCOMPARE(autostart::runValue(QStringLiteral("C:/Program Files/App/app.exe")),
        QStringLiteral("C:\\Program Files\\App\\app.exe --auto-start"));
}

void TestAutostart::execArgumentQuoting_data()
{
    QTest::addColumn<QString>("argument");
    QTest::addColumn<QString>("written");
    QTest::newRow("plain") << QStringLiteral("/opt/ox/oxmerel-tray") << QStringLiteral("\"/opt/ox/oxmerel-tray\"");
    QTest::newRow("blank") << QStringLiteral("/home/a b/tray") << QStringLiteral("\"/home/a b/tray\"");
    // Quoting escapes ", `, $ and \ with a backslash; the key file's own escaping then doubles every backslash.
    QTest::newRow("dollar") << QStringLiteral("/x/$HOME") << QStringLiteral("\"/x/\\\\$HOME\"");
    QTest::newRow("quote") << QStringLiteral("/x/a\"b") << QStringLiteral("\"/x/a\\\\\"b\"");
    QTest::newRow("backtick") << QStringLiteral("/x/a`b") << QStringLiteral("\"/x/a\\\\`b\"");
    QTest::newRow("backslash") << QStringLiteral("/x/a\\b") << QStringLiteral("\"/x/a\\\\\\\\b\"");
    QTest::newRow("percent is no field code") << QStringLiteral("/x/100%u") << QStringLiteral("\"/x/100%%u\"");
    QTest::newRow("newline") << QStringLiteral("/x/a\nb") << QStringLiteral("\"/x/a\\nb\"");
}

void TestAutostart::execArgumentQuoting()
{
    QFETCH(QString, argument);
    QFETCH(QString, written);
    QCOMPARE(autostart::quoteExecArgument(argument), written);
}

void TestAutostart::desktopEntryReplacesOnlyExec()
{
    const QByteArray entryTemplate = resource(QStringLiteral(":/resources/oxmerel.desktop"));
    QVERIFY(!entryTemplate.isEmpty());
    const QList<QByteArray> before = entryTemplate.split('\n');
    const QList<QByteArray> after
        = autostart::desktopEntry(entryTemplate, QStringLiteral("/home/a b/oxmerel-tray")).split('\n');
    QCOMPARE(after.size(), before.size());
    int execLines = 0;
    for (int i = 0; i < after.size(); ++i) {
        if (before[i].startsWith("Exec=")) {
            ++execLines;
            QCOMPARE(after[i], QByteArray("Exec=\"/home/a b/oxmerel-tray\" --auto-start"));
        } else {
            QCOMPARE(after[i], before[i]);
        }
    }
    QCOMPARE(execLines, 1);
}

void TestAutostart::launchAgentNamesTheExecutable()
{
    const QByteArray agentTemplate = resource(QStringLiteral(":/resources/oxmerel.plist"));
    QVERIFY(!agentTemplate.isEmpty());
    const QString agent = QString::fromUtf8(
        autostart::launchAgent(agentTemplate, QStringLiteral("/Users/a&b/Oxmerel.app/Contents/MacOS/oxmerel-tray")));
    const QString program = QStringLiteral("<string>/Users/a&amp;b/Oxmerel.app/Contents/MacOS/oxmerel-tray</string>");
    QCOMPARE(agent.count(program), 2);
    QVERIFY(agent.contains(QStringLiteral("<key>Program</key>\n    ") + program));
    QVERIFY(agent.contains(program + QStringLiteral("\n        <string>--auto-start</string>")));
    QVERIFY(agent.contains(QStringLiteral("<key>RunAtLoad</key>\n    <true/>")));
}

void TestAutostart::entryFileWrittenWithItsFolder()
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("config/autostart/oxmerel.desktop"));
    QVERIFY(autostart::writeEntryFile(path, "[Desktop Entry]\n"));
    QCOMPARE(resource(path), QByteArray("[Desktop Entry]\n"));
    // A folder where the file should be: reported, not thrown.
    QVERIFY(QDir().mkpath(dir.filePath(QStringLiteral("blocked/oxmerel.desktop"))));
    QVERIFY(!autostart::writeEntryFile(dir.filePath(QStringLiteral("blocked/oxmerel.desktop")), "x"));
}

QTEST_GUILESS_MAIN(TestAutostart)
#include "test_autostart.moc"
