#include "runtimecommand.h"

#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

class TestRuntimeCommand final : public QObject
{
    Q_OBJECT

private slots:
    void runnerArgumentsKeepTheirOrder_data();
    void runnerArgumentsKeepTheirOrder();
    void agentArgumentsCarryNoRunnerOption();
    void programsAreFoundOnPathOrLeftBare();
};

void TestRuntimeCommand::runnerArgumentsKeepTheirOrder_data()
{
    QTest::addColumn<bool>("locked");
    QTest::addColumn<bool>("noDesignerAttach");
    QTest::addColumn<bool>("sendCrashDump");
    QTest::addColumn<QStringList>("tail");
    const QString lock = QStringLiteral("--lock");
    const QString n = QStringLiteral("-n");
    const QString s = QStringLiteral("-s");
    QTest::newRow("none") << false << false << false << QStringList();
    QTest::newRow("all") << true << true << true << QStringList({ lock, n, s });
    QTest::newRow("lock") << true << false << false << QStringList({ lock });
    QTest::newRow("designer") << false << true << false << QStringList({ n });
    QTest::newRow("crash dump") << false << false << true << QStringList({ s });
    QTest::newRow("lock and crash dump") << true << false << true << QStringList({ lock, s });
    QTest::newRow("designer and crash dump") << false << true << true << QStringList({ n, s });
}

void TestRuntimeCommand::runnerArgumentsKeepTheirOrder()
{
    QFETCH(bool, locked);
    QFETCH(bool, noDesignerAttach);
    QFETCH(bool, sendCrashDump);
    QFETCH(QStringList, tail);
    const QStringList expected
        = QStringList({ QStringLiteral("connect"), QStringLiteral("-i"), QStringLiteral("ann@acme.example"),
              QStringLiteral("-w"), QStringLiteral("acme.oxmerel.cloud"), QStringLiteral("--stdin"),
              QStringLiteral("--remember") })
        + tail;
    QCOMPARE(runnerArguments(QStringLiteral("ann@acme.example"), QStringLiteral("acme.oxmerel.cloud"), locked,
                 noDesignerAttach, sendCrashDump),
        expected);
}

void TestRuntimeCommand::agentArgumentsCarryNoRunnerOption()
{
    QCOMPARE(agentArguments(QStringLiteral("ann@acme.example"), QStringLiteral("acme.oxmerel.cloud")),
        QStringList({ QStringLiteral("connect"), QStringLiteral("-i"), QStringLiteral("ann@acme.example"),
            QStringLiteral("-w"), QStringLiteral("acme.oxmerel.cloud"), QStringLiteral("--stdin") }));
}

void TestRuntimeCommand::programsAreFoundOnPathOrLeftBare()
{
    const QByteArray simDir = qgetenv("OXMEREL_SIM_DIR");
    QVERIFY(!simDir.isEmpty());
    const QByteArray oldPath = qgetenv("PATH");

    qputenv("PATH", simDir + ':' + oldPath);
    QCOMPARE(QFileInfo(runnerProgram()).absoluteFilePath(),
        QFileInfo(QFile::decodeName(simDir) + QStringLiteral("/oxmerel-runner")).absoluteFilePath());
    QCOMPARE(QFileInfo(agentProgram()).fileName(), QStringLiteral("oxmerel-agent"));
    QVERIFY(QFileInfo(agentProgram()).isAbsolute());

    // Nowhere to be found: the bare name, whose start then fails.
    QTemporaryDir empty;
    qputenv("PATH", QFile::encodeName(empty.path()));
    QCOMPARE(runnerProgram(), QStringLiteral("oxmerel-runner"));
    QCOMPARE(agentProgram(), QStringLiteral("oxmerel-agent"));
    qputenv("PATH", oldPath);
}

QTEST_GUILESS_MAIN(TestRuntimeCommand)
#include "test_runtimecommand.moc"
