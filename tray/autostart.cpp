#include "autostart.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSaveFile>

namespace autostart {

namespace {

const QString autoStartOption = QStringLiteral(" --auto-start");

} // namespace

QString runValue(const QString& executable)
{
    return QString(executable).replace(QLatin1Char('/'), QLatin1Char('\\')) + autoStartOption;
}

QString quoteExecArgument(const QString& argument)
{
    QString quoted = QStringLiteral("\"");
    for (const QChar c : argument) {
        if (c == QLatin1Char('"') || c == QLatin1Char('`') || c == QLatin1Char('$') || c == QLatin1Char('\\')) {
            quoted += QLatin1Char('\\');
        } else if (c == QLatin1Char('%')) {
            quoted += QLatin1Char('%');
        }
        quoted += c;
    }
    quoted += QLatin1Char('"');
    // The whole value is a string of the key file format, which has escapes of its own.
    return quoted.replace(QLatin1Char('\\'), QStringLiteral("\\\\"))
        .replace(QLatin1Char('\n'), QStringLiteral("\\n"))
        .replace(QLatin1Char('\t'), QStringLiteral("\\t"))
        .replace(QLatin1Char('\r'), QStringLiteral("\\r"));
}

QByteArray desktopEntry(const QByteArray& entryTemplate, const QString& executable)
{
    static const QRegularExpression execLine(QStringLiteral("^Exec=.*$"), QRegularExpression::MultilineOption);
    QString entry = QString::fromUtf8(entryTemplate);
    entry.replace(execLine, QStringLiteral("Exec=") + quoteExecArgument(executable) + autoStartOption);
    return entry.toUtf8();
}

QByteArray launchAgent(const QByteArray& agentTemplate, const QString& executable)
{
    static const QRegularExpression programKey(QStringLiteral("<key>Program</key>\\s*<string>([^<]*)</string>"));
    QString agent = QString::fromUtf8(agentTemplate);
    const QString templateProgram = programKey.match(agent).captured(1);
    if (!templateProgram.isEmpty()) {
        // Program and the first of ProgramArguments both name the executable.
        agent.replace(QStringLiteral("<string>") + templateProgram + QStringLiteral("</string>"),
            QStringLiteral("<string>") + executable.toHtmlEscaped() + QStringLiteral("</string>"));
    }
    return agent.toUtf8();
}

QByteArray entryFileText(const QString& path)
{
    QFile file(path);
    // An entry file is a few hundred bytes; anything far larger is not ours.
    constexpr qint64 maxEntrySize = 64 * 1024;
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    return QFile::encodeName(path) + '\n' + file.read(maxEntrySize);
}

bool writeEntryFile(const QString& path, const QByteArray& content)
{
    if (!QDir().mkpath(QFileInfo(path).absolutePath())) {
        return false;
    }
    QSaveFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size() && file.commit();
}

} // namespace autostart
