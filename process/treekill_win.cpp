#include "treekill.h"

#include "jobobject_win.h"

#include <QProcess>
#include <QStringList>

namespace {

// One job for the whole program, never closed by us: the system closes it when the program ends, however it ends
// (a crash included), and so ends every runtime and what they started.
void* programJob()
{
    static void* const job = jobobject::createKillOnClose();
    return job;
}

} // namespace

void TreeKill::prepare(QProcess*) { }

void TreeKill::started(QProcess* process)
{
    const qint64 pid = process->processId();
    if (pid > 0 && programJob())
        jobobject::assign(programJob(), static_cast<unsigned long>(pid));
}

void TreeKill::kill(QProcess* process, bool)
{
    process->kill();
    // taskkill without /T ends that one process; what it started stays until the job ends it with the program. It
    // waits, and its own failure (no such process) is of no interest. The command is kept as one text: Qt 6 runs a
    // lone text as a program of that whole name (quoted, its slashes turned into backslashes), so it is split here
    // the way Qt 5 did it.
    const QString text = QStringLiteral("taskkill /F /pid ") + QString::number(process->processId());
    QStringList command = QProcess::splitCommand(text);
    const QString program = command.takeFirst();
    QProcess::execute(program, command);
}
