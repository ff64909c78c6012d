#include "treekill.h"

#include <QProcess>

#include <csignal>
#include <unistd.h>

#ifdef Q_OS_LINUX
#include <sys/prctl.h>
#endif

void TreeKill::prepare(QProcess* process)
{
    const pid_t parent = ::getpid();
    process->setChildProcessModifier([parent] {
        // Each child leads its own process group, so one signal reaches everything it starts.
        ::setpgid(0, 0);
#ifdef Q_OS_LINUX
        // A program killed without a chance to stop its robots takes them along. The signal follows the thread
        // that started the child, which here is the GUI thread: it lives as long as the program.
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        // Died between the fork and the request: nobody would send the signal any more.
        if (::getppid() != parent)
            ::_exit(127);
#endif
    });
}

void TreeKill::started(QProcess* process)
{
    const qint64 pid = process->processId();
    if (pid <= 1)
        return;
    // Also from this side, so that a kill right after the start cannot miss the group.
    ::setpgid(static_cast<pid_t>(pid), static_cast<pid_t>(pid));
    group = pid;
}

void TreeKill::kill(QProcess* process, bool ended)
{
    process->kill();
    const pid_t target = static_cast<pid_t>(group);
    if (ended)
        group = 0;
    if (target > 1 && target != ::getpgrp())
        ::killpg(target, SIGKILL);
}
