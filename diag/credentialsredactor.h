#pragma once

#include <QByteArray>
#include <QHash>
#include <QString>
#include <QStringList>

class LineRedactor;

namespace YAML {
class Node;
}

// Masks the credentials file and its legacy JSON form while keeping their structure. A value keeps its text only where
// it is known to be no secret: a workspace's identity, its last sign-in time and its robot ids (and the legacy file's
// workspace, identity and robot). Every other value (passwords, vault secrets, tokens, keys this program does not
// know) becomes the marker. With identities hidden, hosts and identities become numbered aliases. Each masked value
// and alias is also handed to the line redactor, so that it is masked wherever else it appears.
class CredentialsRedactor
{
public:
    CredentialsRedactor(LineRedactor& lines, bool hideIdentities);

    // The masked document, and where each masked value was; empty with `error` set when the text does not parse.
    QByteArray redactYaml(const QByteArray& text, QStringList* masked, QString* error);
    QByteArray redactJson(const QByteArray& text, QStringList* masked, QString* error);

private:
    YAML::Node redactNode(const YAML::Node& node, const QStringList& path, QStringList* masked);
    QString maskValue(const QString& value, const QStringList& path, QStringList* masked);
    QString alias(const QString& identity, const QString& kind);

    LineRedactor& lines;
    const bool hideIdentities;
    QHash<QString, QString> aliases;
};
