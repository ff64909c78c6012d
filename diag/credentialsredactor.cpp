#include "credentialsredactor.h"

#include "lineredactor.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <yaml-cpp/yaml.h>

#include <algorithm>
#include <functional>

namespace {

const QString credentialsKey = QStringLiteral("credentials");
const QString hostKind = QStringLiteral("workspace");
const QString identityKind = QStringLiteral("identity");

// Paths below credentials.<workspace> whose values are no secret.
bool isPlainEntryValue(const QStringList& path)
{
    if (path.size() < 3 || path.first() != credentialsKey) {
        return false;
    }
    const QString& field = path.at(2);
    if (path.size() == 3) {
        return field == QLatin1String("identity") || field == QLatin1String("connected_at");
    }
    return path.size() == 4 && field == QLatin1String("robots");
}

QString pathText(const QStringList& path)
{
    return path.join(QStringLiteral(" / "));
}

} // namespace

CredentialsRedactor::CredentialsRedactor(LineRedactor& lineRedactor, bool hide)
    : lines(lineRedactor)
    , hideIdentities(hide)
{ }

QString CredentialsRedactor::alias(const QString& identity, const QString& kind)
{
    if (!hideIdentities || identity.isEmpty()) {
        return identity;
    }
    auto known = aliases.constFind(identity);
    if (known != aliases.constEnd()) {
        return *known;
    }
    const auto sameKind = std::count_if(
        aliases.cbegin(), aliases.cend(), [&kind](const QString& name) { return name.startsWith(u'[' + kind + u'-'); });
    const QString name = QStringLiteral("[%1-%2]").arg(kind).arg(sameKind + 1);
    aliases.insert(identity, name);
    lines.addAlias(identity.toUtf8(), name.toUtf8());
    return name;
}

QString CredentialsRedactor::maskValue(const QString& value, const QStringList& path, QStringList* masked)
{
    const QByteArray bytes = value.toUtf8();
    lines.addSecret(bytes);
    // Passwords are kept as base64; the clear text is what a log would show.
    const auto decoded = QByteArray::fromBase64Encoding(bytes, QByteArray::AbortOnBase64DecodingErrors);
    if (decoded) {
        lines.addSecret(*decoded);
    }
    masked->append(pathText(path));
    return QString::fromLatin1(LineRedactor::marker);
}

YAML::Node CredentialsRedactor::redactNode(const YAML::Node& node, const QStringList& path, QStringList* masked)
{
    if (node.IsMap()) {
        YAML::Node result(YAML::NodeType::Map);
        for (const auto& item : node) {
            QString key = item.first.IsScalar() ? QString::fromStdString(item.first.Scalar())
                                                : QString::fromLatin1(LineRedactor::marker);
            if (path == QStringList { credentialsKey }) {
                key = alias(key, hostKind);
            }
            result[key.toStdString()] = redactNode(item.second, path + QStringList { key }, masked);
        }
        return result;
    }
    if (node.IsSequence()) {
        YAML::Node result(YAML::NodeType::Sequence);
        for (const auto& item : node) {
            result.push_back(redactNode(item, path + QStringList { QStringLiteral("[]") }, masked));
        }
        return result;
    }
    if (!node.IsScalar()) {
        return node;
    }
    const QString value = QString::fromStdString(node.Scalar());
    if (path.size() == 3 && path.first() == credentialsKey && path.at(2) == QLatin1String("identity")) {
        return YAML::Node(alias(value, identityKind).toStdString());
    }
    if (isPlainEntryValue(path)) {
        return YAML::Node(value.toStdString());
    }
    return YAML::Node(maskValue(value, path, masked).toStdString());
}

QByteArray CredentialsRedactor::redactYaml(const QByteArray& text, QStringList* masked, QString* error)
{
    try {
        const YAML::Node root = YAML::Load(text.toStdString());
        YAML::Emitter out;
        out << redactNode(root, {}, masked);
        return QByteArray(out.c_str()) + '\n';
    } catch (const YAML::Exception& e) {
        *error = QStringLiteral("not valid YAML (%1)").arg(QString::fromStdString(e.what()));
    }
    return {};
}

QByteArray CredentialsRedactor::redactJson(const QByteArray& text, QStringList* masked, QString* error)
{
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(text, &parseError);
    if (!document.isObject()) {
        *error = parseError.error != QJsonParseError::NoError
            ? QStringLiteral("not valid JSON (%1 at offset %2)").arg(parseError.errorString()).arg(parseError.offset)
            : QStringLiteral("not a JSON object");
        return {};
    }
    // Every value but the three plain ones is masked, down to the leaves of nested objects and arrays.
    const std::function<QJsonValue(const QJsonValue&, const QStringList&)> mask
        = [&](const QJsonValue& value, const QStringList& path) -> QJsonValue {
        if (value.isObject()) {
            QJsonObject object = value.toObject();
            for (auto it = object.begin(); it != object.end(); ++it) {
                *it = mask(*it, path + QStringList { it.key() });
            }
            return object;
        }
        if (value.isArray()) {
            QJsonArray array = value.toArray();
            for (auto it = array.begin(); it != array.end(); ++it) {
                *it = mask(*it, path + QStringList { QStringLiteral("[]") });
            }
            return array;
        }
        if (value.isNull()) {
            return value;
        }
        return maskValue(value.toVariant().toString(), path, masked);
    };

    QJsonObject legacy = document.object();
    for (auto it = legacy.begin(); it != legacy.end(); ++it) {
        if (it.key() == QLatin1String("workspace")) {
            *it = alias(it->toString(), hostKind);
        } else if (it.key() == QLatin1String("identity")) {
            *it = alias(it->toString(), identityKind);
        } else if (it.key() != QLatin1String("robot") || !it->isString()) {
            *it = mask(*it, { it.key() });
        }
    }
    return QJsonDocument(legacy).toJson(QJsonDocument::Indented);
}
