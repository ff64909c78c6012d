#pragma once

#include <QByteArray>
#include <QString>

namespace testsupport {

// Writes content to path, creating missing folders; answers whether all of it was written.
bool writeFile(const QString& path, const QByteArray& content);
QByteArray readFile(const QString& path);

} // namespace testsupport
