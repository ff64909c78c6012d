#pragma once

#include <QString>
#include <QStringList>

#include <yaml-cpp/yaml.h>

// The credentials document the robot runtime keeps: read at start, rewritten whole only to remove an entry or a
// robot. Errors of the YAML library are not caught: they end the process (see the terminate handler below).

// The document of credentials.yaml when its root is a map, else the legacy JSON account converted in memory; a null
// node when neither exists.
YAML::Node loadCredentials();

// The legacy single-account JSON file as a credentials document; a null node when it is missing or unreadable.
YAML::Node migrateLegacyCredentials();

// Replaces credentials.yaml with the document, atomically; a document without a `credentials` key is never written.
void saveCredentials(YAML::Node root);

// Fresh read-modify-write that deletes the entry of the workspace.
void removeCredentialsEntry(const QString& workspaceKey);

// Fresh read-modify-write that sets the entry's `robots`, creating an entry holding only `robots` when absent.
void storeCredentialsRobots(const QString& workspaceKey, const QStringList& robots);

// Makes an uncaught YAML error end the process with one line on stderr naming the credentials file and the library's
// message. Installed on the first load as well; calling it again is harmless.
void installCredentialsTerminateHandler();
