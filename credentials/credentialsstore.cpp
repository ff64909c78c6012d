#include "credentialsstore.h"

#include "paths.h"
#include "secretfile.h"
#include "yamlconvert.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>

#include <cstdio>
#include <exception>
#include <sstream>

namespace {

std::terminate_handler previousTerminateHandler = nullptr;

[[noreturn]] void endWithCredentialsError(const char* reason)
{
    std::fprintf(stderr, "Oxmerel Connect: credentials file %s: %s\n",
        QFile::encodeName(QDir::toNativeSeparators(credentialsYamlPath())).constData(), reason);
    std::fflush(stderr);
    std::abort();
}

[[noreturn]] void reportCredentialsErrorAndTerminate()
{
    // Rethrowing inside the handler only inspects the exception; the process still ends below.
    if (const std::exception_ptr error = std::current_exception()) {
        try {
            std::rethrow_exception(error);
        } catch (const YAML::Exception& e) {
            endWithCredentialsError(e.what());
        } catch (...) { }
    }
    if (previousTerminateHandler)
        previousTerminateHandler();
    std::abort();
}

// Milliseconds keep three decimals on the seconds, as the runtime's own "%FT%TZ" would with a millisecond clock.
std::string migrationTimestamp()
{
    return QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyy-MM-dd'T'HH:mm:ss.zzz'Z'")).toStdString();
}

} // namespace

void installCredentialsTerminateHandler()
{
    const std::terminate_handler current = std::get_terminate();
    if (current == &reportCredentialsErrorAndTerminate)
        return;
    previousTerminateHandler = current;
    std::set_terminate(&reportCredentialsErrorAndTerminate);
}

YAML::Node loadCredentials()
{
    installCredentialsTerminateHandler();
    const QString path = credentialsYamlPath();
    const QFileInfo info(path);
    if (info.exists()) {
        // The library would fail on a folder with a stream error that names nothing, and block on a pipe; like its
        // own errors, this ends the process.
        if (!info.isFile())
            endWithCredentialsError(info.isDir() ? "is a folder, not a file" : "is not a regular file");
        const YAML::Node root = YAML::LoadFile(QFile::encodeName(path).toStdString());
        if (root.IsMap())
            return root;
    }
    return migrateLegacyCredentials();
}

YAML::Node migrateLegacyCredentials()
{
    QFile file(credentialsJsonPath());
    if (!file.exists() || !file.open(QIODevice::ReadOnly | QIODevice::Text))
        return YAML::Node();
    const QByteArray json = file.readAll();
    file.close();
    const QJsonObject legacy = QJsonDocument::fromJson(json).object();
    const auto text = [&legacy](const char* key) { return legacy.value(QLatin1String(key)).toString(); };

    YAML::Emitter out;
    out << YAML::BeginMap << YAML::Key << "credentials" << YAML::Value << YAML::BeginMap;
    out << YAML::Key << text("workspace").toStdString() << YAML::Value << YAML::BeginMap;
    out << YAML::Key << "identity" << YAML::Value << text("identity").toStdString();
    out << YAML::Key << "password" << YAML::Value << text("password").toStdString();
    out << YAML::Key << "connected_at" << YAML::Value << migrationTimestamp();
    out << YAML::Key << "robots" << YAML::Value << YAML::BeginSeq << text("robot").toStdString() << YAML::EndSeq;
    out << YAML::Key << "vaults" << YAML::Value << YAML::BeginMap << YAML::EndMap;
    out << YAML::EndMap << YAML::EndMap << YAML::EndMap;

    YAML::Node root = YAML::Load(out.c_str());
    YAML::Node vaults(YAML::NodeType::Map);
    const QJsonObject legacyVaults = legacy.value(QLatin1String("vaults")).toObject();
    const QStringList vaultIds = legacyVaults.keys();
    for (const QString& vaultId : vaultIds)
        vaults[vaultId] = legacyVaults.value(vaultId).toString();
    root["credentials"][text("workspace")]["vaults"] = vaults;
    return root;
}

void saveCredentials(YAML::Node root)
{
    const YAML::Node& document = root;
    if (!document["credentials"].IsDefined())
        return;
    std::ostringstream out;
    out << root;
    const std::string text = out.str();

    // A temporary file beside the old one replaces it only once fully written, so a crash or a full disk mid-write
    // leaves the previous document intact.
    const QString path = credentialsYamlPath();
    QDir().mkpath(QFileInfo(path).absolutePath());
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Text))
        return;
    secretfile::protect(file, path);
    // A short write (a full disk stops it half-way without an error) must not be committed.
    const qint64 size = static_cast<qint64>(text.size());
    if (file.write(text.data(), size) != size || !file.flush())
        return;
    file.commit();
}

void removeCredentialsEntry(const QString& workspaceKey)
{
    YAML::Node root = loadCredentials();
    const YAML::Node& document = root;
    const YAML::Node entries = document["credentials"];
    if (entries.IsDefined() && entries.IsMap())
        root["credentials"].remove(workspaceKey);
    saveCredentials(root);
}

void storeCredentialsRobots(const QString& workspaceKey, const QStringList& robots)
{
    YAML::Node root = loadCredentials();
    root["credentials"][workspaceKey]["robots"] = robots;
    saveCredentials(root);
}
