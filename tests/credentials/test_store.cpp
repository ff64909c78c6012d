#include "credentialsstore.h"
#include "paths.h"
#include "tempfiles.h"
#include "yamlconvert.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTest>

#include <csignal>
#include <fcntl.h>
#include <functional>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

class TestStore final : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void convertsQtStrings();
    void readsEntriesInDocumentOrder();
    void convertsTheLegacyAccountInMemory_data();
    void convertsTheLegacyAccountInMemory();
    void legacyAccountWithoutRobotHasOneEmptyRobot();
    void nothingToReadGivesNullAndWritesNothing();
    void rewritesKeepEveryOtherKey();
    void interruptedSaveLeavesTheOldFile_data();
    void interruptedSaveLeavesTheOldFile();
    void yamlErrorEndsTheProcessWithOneLine();
};

namespace {

const QByteArray twoEntries = "version: 3\n"
                              "credentials:\n"
                              "  zeta.oxmerel.cloud:\n"
                              "    identity: z@example.com\n"
                              "    password: cHc=\n"
                              "    robots: [r1, r2]\n"
                              "    vaults: {v1: secret-one}\n"
                              "    extra: kept\n"
                              "  alpha.oxmerel.cloud:\n"
                              "    identity: j\xc3\xbcrgen@example.com\n"
                              "    password: cHc=\n"
                              "    robots: [r3]\n"
                              "    vaults: {v2: secret-two}\n";

QString key(const char* text)
{
    return QString::fromUtf8(text);
}

// As in the program, an exception that nothing catches reaches std::terminate; it must not unwind into the test
// library inside the copy below.
void runToTheEnd(const std::function<void()>& body) noexcept
{
    body();
}

// Runs body in a forked copy of this process and returns its wait status, so that a crash stays in the copy.
int inChild(const std::function<void()>& body)
{
    const pid_t pid = ::fork();
    if (pid == 0) {
        // The test library's crash handler would attach a debugger to the copy.
        std::signal(SIGABRT, SIG_DFL);
        const rlimit noCore { 0, 0 };
        ::setrlimit(RLIMIT_CORE, &noCore);
        runToTheEnd(body);
        ::_exit(0);
    }
    int status = 0;
    ::waitpid(pid, &status, 0);
    return status;
}

} // namespace

void TestStore::init()
{
    QDir(oxmerelHome()).removeRecursively();
}

void TestStore::convertsQtStrings()
{
    const QString text = QStringLiteral("Gr\u00fc\u00dfe \u65e5\u672c");
    QCOMPARE(YAML::Node(text).as<QString>(), text);
    QCOMPARE(YAML::Node(text).as<std::string>(), text.toStdString());
    const QStringList list { QStringLiteral("b"), QStringLiteral("a"), text };
    QCOMPARE(YAML::Node(list).as<QStringList>(), list);
    QCOMPARE(YAML::Load("[]").as<QStringList>(), QStringList());

    QVERIFY_THROWS_EXCEPTION(YAML::BadConversion, YAML::Load("{a: 1}").as<QString>());
    QVERIFY_THROWS_EXCEPTION(YAML::BadConversion, YAML::Load("~").as<QString>());
    QVERIFY_THROWS_EXCEPTION(YAML::BadConversion, YAML::Load("r1").as<QStringList>());
    QVERIFY_THROWS_EXCEPTION(YAML::BadConversion, YAML::Load("{a: 1}").as<QStringList>());
}

void TestStore::readsEntriesInDocumentOrder()
{
    testsupport::writeFile(credentialsYamlPath(), twoEntries);
    const YAML::Node root = loadCredentials();
    QStringList keys;
    for (const auto& entry : root["credentials"])
        keys.append(entry.first.as<QString>());
    QCOMPARE(keys, QStringList({ key("zeta.oxmerel.cloud"), key("alpha.oxmerel.cloud") }));
    const YAML::Node alpha = root["credentials"][key("alpha.oxmerel.cloud")];
    QCOMPARE(alpha["identity"].as<QString>(), key("j\xc3\xbcrgen@example.com"));
    QCOMPARE(root["credentials"][key("zeta.oxmerel.cloud")]["robots"].as<QStringList>(),
        QStringList({ key("r1"), key("r2") }));
}

void TestStore::convertsTheLegacyAccountInMemory_data()
{
    QTest::addColumn<bool>("yamlExists");
    QTest::addColumn<QByteArray>("yaml");
    QTest::newRow("no yaml") << false << QByteArray();
    QTest::newRow("empty yaml") << true << QByteArray();
    QTest::newRow("scalar root") << true << QByteArray("just text\n");
    QTest::newRow("sequence root") << true << QByteArray("- a\n- b\n");
}

void TestStore::convertsTheLegacyAccountInMemory()
{
    QFETCH(bool, yamlExists);
    QFETCH(QByteArray, yaml);
    const QByteArray json = R"({"workspace":"acme.oxmerel.cloud","identity":"ann@acme.example","password":"czNjcmV0",)"
                            R"("robot":"r7","vaults":{"v2":"two","v1":"one","v3":5}})";
    testsupport::writeFile(credentialsJsonPath(), json);
    if (yamlExists)
        testsupport::writeFile(credentialsYamlPath(), yaml);

    const YAML::Node entry = loadCredentials()["credentials"][key("acme.oxmerel.cloud")];
    QVERIFY(entry.IsMap());
    QCOMPARE(entry["identity"].as<QString>(), key("ann@acme.example"));
    QCOMPARE(entry["password"].as<QString>(), key("czNjcmV0"));
    QCOMPARE(entry["robots"].as<QStringList>(), QStringList({ key("r7") }));
    const QRegularExpression stamp(QStringLiteral("^\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\\.\\d{3}Z$"));
    QVERIFY2(stamp.match(entry["connected_at"].as<QString>()).hasMatch(), entry["connected_at"].Scalar().c_str());
    QStringList vaultIds;
    for (const auto& vault : entry["vaults"])
        vaultIds.append(vault.first.as<QString>() + QLatin1Char('=') + vault.second.as<QString>());
    QCOMPARE(vaultIds, QStringList({ key("v1=one"), key("v2=two"), key("v3=") }));

    // Converted in memory only: neither file changes.
    QCOMPARE(testsupport::readFile(credentialsJsonPath()), json);
    QCOMPARE(QFile::exists(credentialsYamlPath()), yamlExists);
    if (yamlExists)
        QCOMPARE(testsupport::readFile(credentialsYamlPath()), yaml);
}

void TestStore::legacyAccountWithoutRobotHasOneEmptyRobot()
{
    testsupport::writeFile(credentialsJsonPath(), R"({"workspace":"w","identity":"i","password":"p"})");
    const YAML::Node entry = migrateLegacyCredentials()["credentials"][key("w")];
    QCOMPARE(entry["robots"].as<QStringList>(), QStringList({ QString() }));
    QCOMPARE(entry["vaults"].size(), std::size_t(0));
    QVERIFY(entry["vaults"].IsMap());
}

void TestStore::nothingToReadGivesNullAndWritesNothing()
{
    QVERIFY(loadCredentials().IsNull());
    // A folder where the legacy file should be cannot be read as one.
    QVERIFY(QDir().mkpath(credentialsJsonPath()));
    QVERIFY(migrateLegacyCredentials().IsNull());

    saveCredentials(YAML::Load("other: 1"));
    saveCredentials(YAML::Node());
    removeCredentialsEntry(key("acme.oxmerel.cloud"));
    QVERIFY(!QFile::exists(credentialsYamlPath()));

    testsupport::writeFile(credentialsYamlPath(), "other: 1\n");
    removeCredentialsEntry(key("acme.oxmerel.cloud"));
    QCOMPARE(testsupport::readFile(credentialsYamlPath()), QByteArray("other: 1\n"));
}

void TestStore::rewritesKeepEveryOtherKey()
{
    testsupport::writeFile(credentialsYamlPath(), twoEntries);
    const QString zeta = key("zeta.oxmerel.cloud");
    const QString alpha = key("alpha.oxmerel.cloud");

    storeCredentialsRobots(zeta, { key("r2") });
    YAML::Node root = loadCredentials();
    QCOMPARE(root["version"].as<int>(), 3);
    QCOMPARE(root["credentials"][zeta]["robots"].as<QStringList>(), QStringList({ key("r2") }));
    QCOMPARE(root["credentials"][zeta]["vaults"]["v1"].as<QString>(), key("secret-one"));
    QCOMPARE(root["credentials"][zeta]["extra"].as<QString>(), key("kept"));
    QCOMPARE(root["credentials"][zeta]["identity"].as<QString>(), key("z@example.com"));
    QCOMPARE(root["credentials"][alpha]["vaults"]["v2"].as<QString>(), key("secret-two"));

    storeCredentialsRobots(key("new.oxmerel.cloud"), {});
    root = loadCredentials();
    const YAML::Node created = root["credentials"][key("new.oxmerel.cloud")];
    QCOMPARE(created.size(), std::size_t(1));
    QVERIFY(created["robots"].IsSequence());
    QCOMPARE(created["robots"].as<QStringList>(), QStringList());

    removeCredentialsEntry(zeta);
    root = loadCredentials();
    QVERIFY(!root["credentials"][zeta].IsDefined());
    QCOMPARE(root["credentials"].size(), std::size_t(2));
    QCOMPARE(root["credentials"][alpha]["identity"].as<QString>(), key("j\xc3\xbcrgen@example.com"));
    QCOMPARE(root["credentials"][alpha]["robots"].as<QStringList>(), QStringList({ key("r3") }));
    QCOMPARE(root["credentials"][alpha]["vaults"]["v2"].as<QString>(), key("secret-two"));
    QCOMPARE(root["version"].as<int>(), 3);
}

void TestStore::interruptedSaveLeavesTheOldFile_data()
{
    QTest::addColumn<bool>("killed");
    QTest::newRow("process killed mid-write") << true;
    QTest::newRow("disk full mid-write") << false;
}

void TestStore::interruptedSaveLeavesTheOldFile()
{
    QFETCH(bool, killed);
    const QByteArray old = twoEntries + "  big.oxmerel.cloud:\n    vaults: {v9: " + QByteArray(20000, 'x') + "}\n";
    testsupport::writeFile(credentialsYamlPath(), old);

    // The file size limit stops the write half-way: by SIGXFSZ, or, with that signal ignored, by a failing write
    // as on a full disk.
    const int status = inChild([killed] {
        std::signal(SIGXFSZ, killed ? SIG_DFL : SIG_IGN);
        const rlimit small { 4096, 4096 };
        ::setrlimit(RLIMIT_FSIZE, &small);
        storeCredentialsRobots(key("zeta.oxmerel.cloud"), { key("r9") });
    });
    if (killed)
        QVERIFY(WIFSIGNALED(status) && WTERMSIG(status) == SIGXFSZ);
    else
        QVERIFY(WIFEXITED(status) && WEXITSTATUS(status) == 0);

    QCOMPARE(testsupport::readFile(credentialsYamlPath()), old);
    if (!killed)
        QCOMPARE(QDir(oxmerelHome()).entryList(QDir::Files), QStringList({ key("credentials.yaml") }));
}

void TestStore::yamlErrorEndsTheProcessWithOneLine()
{
    testsupport::writeFile(credentialsYamlPath(), "credentials:\n  acme: [unclosed\n");
    std::string message;
    try {
        YAML::LoadFile(QFile::encodeName(credentialsYamlPath()).toStdString());
    } catch (const YAML::Exception& e) {
        message = e.what();
    }
    QVERIFY(!message.empty());

    const QString errPath = QDir(oxmerelHome()).filePath(QStringLiteral("stderr.txt"));
    const int status = inChild([&errPath] {
        const int fd = ::open(QFile::encodeName(errPath).constData(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        ::dup2(fd, STDERR_FILENO);
        loadCredentials();
    });
    QVERIFY(WIFSIGNALED(status) && WTERMSIG(status) == SIGABRT);
    const QList<QByteArray> lines = testsupport::readFile(errPath).trimmed().split('\n');
    QCOMPARE(lines.size(), 1);
    QVERIFY2(lines.first().contains(QFile::encodeName(credentialsYamlPath())), lines.first().constData());
    QVERIFY2(lines.first().contains(QByteArray::fromStdString(message)), lines.first().constData());
}

QTEST_GUILESS_MAIN(TestStore)
#include "test_store.moc"
