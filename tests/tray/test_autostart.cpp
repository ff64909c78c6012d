#include "autostart.h"
#include "tempfiles.h"

#include <QTest>

#include <utility>

// The auto-start entries' contents, built from the bundle's templates.
class TestAutostart final : public QObject
{
    Q_OBJECT

private slots:
    void execArgumentQuoting();
    void entriesChangeOnlyTheExecutable();
};

void TestAutostart::execArgumentQuoting()
{
    // Quoting escapes ", `, $ and \ with a backslash; the key file's own escaping then doubles every backslash.
    const QList<std::pair<QString, QString>> cases = {
        { QStringLiteral("/home/a b/tray"), QStringLiteral("\"/home/a b/tray\"") },
        { QStringLiteral("/x/$HOME"), QStringLiteral("\"/x/\\\\$HOME\"") },
        { QStringLiteral("/x/a\"b"), QStringLiteral("\"/x/a\\\\\"b\"") },
        { QStringLiteral("/x/a\\b"), QStringLiteral("\"/x/a\\\\\\\\b\"") },
        { QStringLiteral("/x/100%u"), QStringLiteral("\"/x/100%%u\"") },
        { QStringLiteral("/x/a\nb"), QStringLiteral("\"/x/a\\nb\"") },
    };
    for (const auto& [argument, written] : cases)
        QCOMPARE(autostart::quoteExecArgument(argument), written);
}

void TestAutostart::entriesChangeOnlyTheExecutable()
{
    QCOMPARE(autostart::runValue(QStringLiteral("C:/Program Files/App/app.exe")),
        QStringLiteral("C:\\Program Files\\App\\app.exe --auto-start"));

    const QByteArray entryTemplate = testsupport::readFile(QStringLiteral(":/resources/oxmerel.desktop"));
    QByteArray entry = entryTemplate;
    entry.replace("Exec=sh -c \"/usr/bin/oxmerel-tray --auto-start\"", "Exec=\"/home/a b/oxmerel-tray\" --auto-start");
    QVERIFY(entry != entryTemplate);
    QCOMPARE(autostart::desktopEntry(entryTemplate, QStringLiteral("/home/a b/oxmerel-tray")), entry);

    // Program and the first of ProgramArguments both name the executable.
    const QByteArray agentTemplate = testsupport::readFile(QStringLiteral(":/resources/oxmerel.plist"));
    QByteArray agent = agentTemplate;
    agent.replace("/Applications/Oxmerel.app/Contents/MacOS/oxmerel-tray", "/Users/a&amp;b/oxmerel-tray");
    QCOMPARE(agent.count("/Users/a&amp;b/oxmerel-tray"), 2);
    QCOMPARE(autostart::launchAgent(agentTemplate, QStringLiteral("/Users/a&b/oxmerel-tray")), agent);
}

QTEST_GUILESS_MAIN(TestAutostart)
#include "test_autostart.moc"
