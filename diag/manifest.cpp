#include "manifest.h"

#include <algorithm>

namespace {

constexpr int maxLinesListed = 10;

} // namespace

void Manifest::addFile(const QString& name, qint64 size, const QString& redactions)
{
    QString line = QStringLiteral("  %1  %2 bytes").arg(name).arg(size);
    if (!redactions.isEmpty()) {
        line += QStringLiteral("; masked: ") + redactions;
    }
    files.append(line);
}

void Manifest::leaveOut(const QString& name, const QString& reason)
{
    leftOut.append(QStringLiteral("  %1: %2").arg(name, reason));
}

QByteArray Manifest::text(const QString& heading) const
{
    QStringList lines { heading, QString(), QStringLiteral("Files") };
    lines += files;
    lines += QStringLiteral("  MANIFEST.txt");
    lines += QString();
    lines += QStringLiteral("Left out");
    lines += leftOut.isEmpty() ? QStringList { QStringLiteral("  nothing") } : leftOut;
    return lines.join(QLatin1Char('\n')).toUtf8() + '\n';
}

QString Manifest::summarize(const QMap<QString, QList<qint64>>& linesByRule)
{
    QStringList parts;
    for (auto it = linesByRule.cbegin(); it != linesByRule.cend(); ++it) {
        QList<qint64> unique = *it;
        unique.erase(std::unique(unique.begin(), unique.end()), unique.end());
        QStringList numbers;
        for (qint64 line : unique.mid(0, maxLinesListed)) {
            numbers.append(QString::number(line));
        }
        if (unique.size() > maxLinesListed) {
            numbers.append(QStringLiteral("…"));
        }
        parts.append(QStringLiteral("%1 ×%2 (line%3 %4)")
                         .arg(it.key())
                         .arg(it->size())
                         .arg(unique.size() > 1 ? QStringLiteral("s") : QString(), numbers.join(QStringLiteral(", "))));
    }
    return parts.join(QStringLiteral("; "));
}
