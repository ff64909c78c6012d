#pragma once

#include <QByteArray>
#include <QString>

class QSettings;

// Starting the program at log-on. Each desktop has its own mechanism in a file chosen by the build: the Run key of
// the registry on Windows (runSettings, the key opened in native format), a desktop entry in the XDG autostart folder,
// a LaunchAgent on macOS (runSettings is null on both). Failures are silent: the switch is a convenience.
namespace autostart {

QSettings* openRunSettings();
bool isEnabled(QSettings* runSettings);
void enable(QSettings* runSettings);
void disable(QSettings* runSettings);
// The entry as the desktop holds it, with where it lives on the first line; empty while the switch is off.
QByteArray entryText(QSettings* runSettings);

// The Run value's data: the path with backslashes and the option, unquoted even when the path holds blanks.
QString runValue(const QString& executable);
// The desktop entry template with its Exec line running executable with the option.
QByteArray desktopEntry(const QByteArray& entryTemplate, const QString& executable);
// One Exec argument quoted as the desktop-entry format asks: inside double quotes, ", `, $ and \ are escaped with a
// backslash, and the value's own escaping doubles every backslash again; % is doubled so it is no field code.
QString quoteExecArgument(const QString& argument);
// The launch-agent template with its program path replaced by executable.
QByteArray launchAgent(const QByteArray& agentTemplate, const QString& executable);
// An entry file's path and content, as entryText gives them; empty when the file is missing or unreadable.
QByteArray entryFileText(const QString& path);
// Writes a generated entry file atomically, creating its folder; answers whether it was written.
bool writeEntryFile(const QString& path, const QByteArray& content);

} // namespace autostart
