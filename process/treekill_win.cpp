#include "treekill.h"

#include <QProcess>
#include <QStringList>

void TreeKill::prepare(QProcess*) { }

void TreeKill::started(QProcess*) { }

void TreeKill::kill(QProcess* process, bool)
{
    process->kill();
    // taskkill takes the whole tree; it waits, and its own failure (no such process) is of no interest.
    QProcess::execute(QStringLiteral("taskkill"),
        { QStringLiteral("/F"), QStringLiteral("/pid"), QString::number(process->processId()) });
}
