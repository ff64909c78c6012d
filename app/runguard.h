#pragma once

#include <QSharedMemory>
#include <QString>
#include <QSystemSemaphore>

// Machine-wide single-instance guard: a shared-memory segment whose existence marks the running instance, and a
// semaphore that serialises the attach/create/detach steps of processes starting at the same moment.
class RunGuard
{
public:
    explicit RunGuard(const QString& appKey);
    ~RunGuard();
    RunGuard(const RunGuard&) = delete;
    RunGuard& operator=(const RunGuard&) = delete;

    static QString deriveKey(const QString& appKey, const QString& salt);

    bool isAnotherInstanceRunning();
    bool tryClaimInstance();
    void releaseInstance();
    // Why the last claim failed when no other instance holds the guard (an unwritable temporary folder, say); empty
    // when it succeeded or gave way to a running instance.
    QString errorString() const;

private:
    // Whether another process holds the segment; drops one that nobody holds. Called with memLock acquired.
    bool heldElsewhere();

    const QString key;
    const QString memLockKey;
    const QString sharedMemKey;

    QSharedMemory sharedMem;
    QSystemSemaphore memLock;
    QString failure;
};
