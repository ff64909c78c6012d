#pragma once

#include <QByteArray>
#include <QStringList>

namespace testsupport {

struct DiagResult {
    int exitCode = -1;
    QByteArray out;
    QByteArray err;
};

// Runs oxmerel-connect-diag (OXMEREL_DIAG_BIN) with arguments and waits for it; exit code -1 when it did not end
// normally within timeoutMs (it is killed then).
DiagResult runDiag(const QStringList& arguments, int timeoutMs = 60000);

} // namespace testsupport
