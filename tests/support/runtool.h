#pragma once

#include <QByteArray>
#include <QStringList>

namespace testsupport {

struct ToolRun {
    int exitCode = -1;
    QByteArray out;
    QByteArray err;
};

// Runs a program to its end; exit code -1 when it crashed or did not end within timeoutMs (it is killed then).
ToolRun runTool(const QString& program, const QStringList& arguments, int timeoutMs = 60000);
// The diagnostics program (OXMEREL_DIAG_BIN).
inline ToolRun runDiag(const QStringList& arguments)
{
    return runTool(qEnvironmentVariable("OXMEREL_DIAG_BIN"), arguments);
}

} // namespace testsupport
