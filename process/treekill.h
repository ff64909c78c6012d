#pragma once

#include <QtGlobal>

class QProcess;

// Ends a runtime child together with every process it started (one implementation per OS).
class TreeKill
{
public:
    // Before every start of the child.
    void prepare(QProcess* process);
    // Right after QProcess::start.
    void started(QProcess* process);
    // Kills the child and its tree. `ended` marks the transition to NotRunning: the last chance to reach what a child
    // that exited by itself left behind, after which nothing of it is signalled again.
    void kill(QProcess* process, bool ended);

private:
    qint64 group = 0;
};
