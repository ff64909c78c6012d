#include "logline.h"

QString LogLine::text(const QString& time, const QString& level, const QString& msg)
{
    QString line = time + QLatin1Char(' ') + level.toUpper() + QLatin1Char(' ') + msg;
    const qsizetype length = line.size();
    if (length <= maximumLength)
        return line;
    // Never half a surrogate pair.
    line.truncate(line.at(maximumLength - 1).isHighSurrogate() ? maximumLength - 1 : maximumLength);
    line += tr("\u2026 [cut from %1 characters]").arg(length);
    line.squeeze();
    return line;
}
