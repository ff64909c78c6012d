// The credentials loader: the input as credentials.yaml, then as the legacy credentials.json, read into the records
// the window builds, and written back and read again as a rewrite does. The YAML library's exceptions end the program
// by design, so they are an expected outcome here; crashes, undefined behaviour, leaks and hangs are not, nor is a
// rewrite that cannot be read back.
#include "credentialsstore.h"
#include "paths.h"
#include "yamlconvert.h"

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace {

void writeFile(const QString& path, const QByteArray& content)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(content) != content.size())
        std::abort();
}

// What the window takes from each usable entry.
void readRecords(const YAML::Node& root)
{
    for (const auto& pair : root["credentials"]) {
        const YAML::Node entry = pair.second;
        if (!entry["identity"].IsDefined() || !entry["password"].IsDefined())
            continue;
        (void)pair.first.as<QString>();
        (void)entry["identity"].as<QString>();
        (void)QString::fromUtf8(QByteArray::fromBase64(entry["password"].as<QString>().toUtf8()));
        (void)entry["robots"].as<QStringList>();
    }
}

void loadReadAndRewrite()
{
    try {
        readRecords(loadCredentials());
        // A rewrite reads, changes one entry and saves; the next start must be able to read what it wrote.
        removeCredentialsEntry(QStringLiteral("fuzz.oxmerel.cloud"));
    } catch (const YAML::Exception&) {
        return;
    }
    if (QFile::exists(credentialsYamlPath()))
        loadCredentials();
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    static QTemporaryDir home;
    qputenv("HOME", QFile::encodeName(home.path()));
    QDir().mkpath(oxmerelHome());
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QByteArray input(reinterpret_cast<const char*>(data), qsizetype(size));
    QFile::remove(credentialsJsonPath());
    writeFile(credentialsYamlPath(), input);
    loadReadAndRewrite();

    QFile::remove(credentialsYamlPath());
    writeFile(credentialsJsonPath(), input);
    loadReadAndRewrite();
    return 0;
}
