#include "processes.h"

#include "tempfiles.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QVariant>

namespace testsupport {

bool alive(qint64 pid)
{
    // The state follows the command's closing parenthesis in /proc/<pid>/stat.
    const QByteArray stat = readFile(QStringLiteral("/proc/%1/stat").arg(pid));
    const qsizetype close = stat.lastIndexOf(')');
    return close >= 0 && stat.mid(close + 2, 1) != "Z";
}

QStringList simulatorRecords(const QString& recordPath, const QString& key)
{
    QStringList values;
    const QList<QByteArray> lines = readFile(recordPath).split('\n');
    for (const QByteArray& line : lines) {
        const QJsonObject record = QJsonDocument::fromJson(line).object();
        // Every record carries "pid"; a start is the one with "argv".
        if (record.contains(key == QStringLiteral("pid") ? QStringLiteral("argv") : key))
            values.append(record.value(key).toVariant().toString());
    }
    return values;
}

QList<qint64> simulatorPids(const QString& recordPath, const QString& key)
{
    QList<qint64> pids;
    for (const QString& value : simulatorRecords(recordPath, key))
        pids.append(value.toLongLong());
    return pids;
}

QString useSimulator(const QString& folder)
{
    const QString record = QDir(folder).filePath(QStringLiteral("record.jsonl"));
    qputenv("OXMEREL_SIM_RECORD", QFile::encodeName(record));
    const QByteArray simulatorFirst = qgetenv("OXMEREL_SIM_DIR") + ':';
    if (!qgetenv("PATH").startsWith(simulatorFirst))
        qputenv("PATH", simulatorFirst + qgetenv("PATH"));
    return record;
}

} // namespace testsupport
