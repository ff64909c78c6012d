#pragma once

#include <QString>
#include <QStringList>

// The runtime's two programs and their command lines.

// The runner program as it is started: on Windows the bare file name, elsewhere found beside our executable, then
// on PATH (the bare name when neither has it, so that the start fails).
QString runnerProgram();
QString agentProgram();

// "connect" "-i" identity "-w" workspace "--stdin" "--remember", then "--lock", "-n", "-s" as their flags say.
QStringList runnerArguments(
    const QString& identity, const QString& workspace, bool locked, bool noDesignerAttach, bool sendCrashDump);

// "connect" "-i" identity "-w" workspace "--stdin".
QStringList agentArguments(const QString& identity, const QString& workspace);
