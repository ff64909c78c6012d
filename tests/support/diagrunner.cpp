#include "diagrunner.h"

#include <QProcess>

namespace testsupport {

DiagResult runDiag(const QStringList& arguments, int timeoutMs)
{
    QProcess diag;
    diag.start(qEnvironmentVariable("OXMEREL_DIAG_BIN"), arguments);
    DiagResult result;
    if (!diag.waitForFinished(timeoutMs)) {
        diag.kill();
        diag.waitForFinished(5000);
    } else if (diag.exitStatus() == QProcess::NormalExit) {
        result.exitCode = diag.exitCode();
    }
    result.out = diag.readAllStandardOutput();
    result.err = diag.readAllStandardError();
    return result;
}

} // namespace testsupport
