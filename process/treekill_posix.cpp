#include "treekill.h"

#include <QProcess>

#include <csignal>
#include <unistd.h>

void TreeKill::prepare(QProcess* process)
{
    // Each child leads its own process group, so one signal reaches everything it starts.
    process->setChildProcessModifier([] { ::setpgid(0, 0); });
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
