#include "credentialsstore.h"
#include "paths.h"
#include "tempfiles.h"
#include "yamlconvert.h"

#include <QDir>
#include <QFile>
#include <QScopeGuard>
#include <QTest>

#include <csignal>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

const QByteArray twoEntries
    = "version: 3\n"
      "credentials:\n"
      "  zeta.oxmerel.cloud: {identity: z, password: cHc=, robots: [r1, r2], vaults: {v1: one}, extra: kept}\n"
      "  alpha.oxmerel.cloud: {identity: a, password: cHc=, robots: [r3], vaults: {v2: two}}\n";

// A forked copy that aborts ends without the exit handlers that write coverage counts; with coverage built in, it
// writes its own.
#ifdef OXMEREL_COVERAGE
extern "C" void __gcov_dump();
#endif
void writeCoverage(int)
{
#ifdef OXMEREL_COVERAGE
    __gcov_dump();
#endif
}

// A group the file can be given besides the test's own: any for root, else the last of the test's groups.
gid_t otherGroup()
{
    gid_t groups[64];
    const int count = ::getgroups(64, groups);
    return ::geteuid() == 0 ? ::getegid() + 1 : count > 0 ? groups[count - 1] : ::getegid();
}

// The file's permission bits and group.
std::pair<mode_t, gid_t> rights(const QString& path)
{
    struct stat info = {};
    ::stat(QFile::encodeName(path).constData(), &info);
    return { info.st_mode & 07777, info.st_gid };
}

} // namespace

class TestStore final : public QObject
{
    Q_OBJECT

private slots:
    void init() { QDir(oxmerelHome()).removeRecursively(); }

    void convertsTheLegacyAccountInMemory()
    {
        const QByteArray json = R"({"workspace":"acme.oxmerel.cloud","identity":"ann","password":"czNjcmV0",)"
                                R"("robot":"r7","vaults":{"v2":"two","v1":"one","v3":5}})";
        testsupport::writeFile(credentialsJsonPath(), json);

        const YAML::Node entry = loadCredentials()["credentials"][u"acme.oxmerel.cloud"_s];
        QCOMPARE(entry["identity"].as<QString>(), u"ann"_s);
        QCOMPARE(entry["password"].as<QString>(), u"czNjcmV0"_s);
        QCOMPARE(entry["robots"].as<QStringList>(), QStringList { u"r7"_s });
        QStringList vaultTexts;
        for (const auto& vault : entry["vaults"])
            vaultTexts.append(vault.first.as<QString>() + '='_L1 + vault.second.as<QString>());
        QCOMPARE(vaultTexts, QStringList({ u"v1=one"_s, u"v2=two"_s, u"v3="_s }));

        // Converted in memory only: the first save makes the file, for its owner alone.
        QVERIFY(!QFile::exists(credentialsYamlPath()));
        storeCredentialsRobots(u"acme.oxmerel.cloud"_s, {});
        QCOMPARE(rights(credentialsYamlPath()).first, mode_t(0600));
    }

    void rewritesKeepEveryOtherKeyAndTheFilesRights()
    {
        testsupport::writeFile(credentialsYamlPath(), twoEntries);
        const QByteArray path = QFile::encodeName(credentialsYamlPath());
        const gid_t group = otherGroup();
        QCOMPARE(::chown(path.constData(), uid_t(-1), group), 0);
        QCOMPARE(::chmod(path.constData(), 0640), 0);
        const QString zeta = u"zeta.oxmerel.cloud"_s;
        storeCredentialsRobots(zeta, { u"r2"_s });
        storeCredentialsRobots(u"new.oxmerel.cloud"_s, {});
        removeCredentialsEntry(u"alpha.oxmerel.cloud"_s);

        const YAML::Node root = loadCredentials();
        QCOMPARE(root["version"].as<int>(), 3);
        const YAML::Node entries = root["credentials"];
        QCOMPARE(entries.size(), std::size_t(2));
        QCOMPARE(entries[zeta]["robots"].as<QStringList>(), QStringList { u"r2"_s });
        QCOMPARE(entries[zeta]["identity"].as<QString>(), u"z"_s);
        QCOMPARE(entries[zeta]["vaults"]["v1"].as<QString>(), u"one"_s);
        QCOMPARE(entries[zeta]["extra"].as<QString>(), u"kept"_s);
        QCOMPARE(YAML::Dump(entries[u"new.oxmerel.cloud"_s]), "robots: []");
        QCOMPARE(rights(credentialsYamlPath()), std::pair(mode_t(0640), group));
    }

    void fullDiskLeavesTheOldFile()
    {
        const QByteArray old = twoEntries + "  big.oxmerel.cloud: {vaults: {v9: " + QByteArray(20000, 'x') + "}}\n";
        testsupport::writeFile(credentialsYamlPath(), old);
        // The file size limit stops the write half-way, as a full disk would.
        rlimit saved {};
        ::getrlimit(RLIMIT_FSIZE, &saved);
        const auto restore = qScopeGuard([&saved] {
            ::setrlimit(RLIMIT_FSIZE, &saved);
            std::signal(SIGXFSZ, SIG_DFL);
        });
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit small { 4096, saved.rlim_max };
        QCOMPARE(::setrlimit(RLIMIT_FSIZE, &small), 0);
        storeCredentialsRobots(u"zeta.oxmerel.cloud"_s, { u"r9"_s });
        QCOMPARE(testsupport::readFile(credentialsYamlPath()), old);
    }

    void unreadableFileEndsTheProcessWithOneLine_data()
    {
        // A pipe stands in the file's place.
        QTest::addColumn<QByteArray>("yaml");
        QTest::addColumn<QByteArray>("reason");
        // The library's own message, with the place of the error.
        QTest::newRow("malformed") << QByteArray("credentials:\n  acme: [unclosed\n")
                                   << QByteArray("yaml-cpp: error at line 3, column 1: end of sequence flow not found");
        QTest::newRow("pipe") << QByteArray("pipe") << QByteArray("is not a regular file");
    }

    void unreadableFileEndsTheProcessWithOneLine()
    {
        QFETCH(QByteArray, yaml);
        QFETCH(QByteArray, reason);
        const QByteArray path = QFile::encodeName(credentialsYamlPath());
        if (yaml == "pipe")
            QVERIFY(QDir().mkpath(oxmerelHome()) && ::mkfifo(path.constData(), 0600) == 0);
        else
            QVERIFY(testsupport::writeFile(credentialsYamlPath(), yaml));

        const QString errPath = QDir(oxmerelHome()).filePath(u"stderr.txt"_s);
        // In a forked copy, so that the end stays there.
        const pid_t pid = ::fork();
        if (pid == 0) {
            // Instead of the test library's crash handler, which would attach a debugger; abort() still ends the copy.
            std::signal(SIGABRT, writeCoverage);
            const rlimit noCore { 0, 0 };
            ::setrlimit(RLIMIT_CORE, &noCore);
            ::dup2(::open(QFile::encodeName(errPath).constData(), O_WRONLY | O_CREAT | O_TRUNC, 0644), STDERR_FILENO);
            // As in the program, an exception that nothing catches reaches std::terminate, not the test library.
            []() noexcept { loadCredentials(); }();
            ::_exit(0);
        }
        int status = 0;
        ::waitpid(pid, &status, 0);
        QVERIFY(WIFSIGNALED(status) && WTERMSIG(status) == SIGABRT);
        QCOMPARE(testsupport::readFile(errPath), "Oxmerel Connect: credentials file " + path + ": " + reason + '\n');
    }
};

QTEST_GUILESS_MAIN(TestStore)
#include "test_store.moc"
