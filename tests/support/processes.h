#pragma once

#include <QList>
#include <QString>
#include <QStringList>

namespace testsupport {

// True while the process exists and is not a zombie.
bool alive(qint64 pid);
// The values the runtime simulator recorded under key, in order, as text: "stdin" every line it read, "child" the pid
// of every grandchild it spawned, "pid" that of every start of a program.
QStringList simulatorRecords(const QString& recordPath, const QString& key);
QList<qint64> simulatorPids(const QString& recordPath, const QString& key);
// Puts the runtime simulator first on PATH, so that programs started next find it as the runtime, and has it record
// into record.jsonl of folder; answers that file's path.
QString useSimulator(const QString& folder);

} // namespace testsupport
