#include "runguard.h"

#include <QCryptographicHash>

RunGuard::RunGuard(const QString& appKey)
    : key(appKey)
    , memLockKey(deriveKey(appKey, QStringLiteral("_memLockKey")))
    , sharedMemKey(deriveKey(appKey, QStringLiteral("_sharedmemKey")))
    , sharedMem(sharedMemKey)
    , memLock(memLockKey, 1, QSystemSemaphore::Open)
{ }

RunGuard::~RunGuard()
{
    releaseInstance();
}

QString RunGuard::deriveKey(const QString& appKey, const QString& salt)
{
    QByteArray data;
    data.append(appKey.toUtf8());
    data.append(salt.toUtf8());
    return QString::fromLatin1(QCryptographicHash::hash(data, QCryptographicHash::Sha1).toHex());
}

bool RunGuard::isAnotherInstanceRunning()
{
    if (sharedMem.isAttached()) {
        return false;
    }
    memLock.acquire();
    const bool isRunning = heldElsewhere();
    memLock.release();
    return isRunning;
}

bool RunGuard::tryClaimInstance()
{
    failure.clear();
    if (isAnotherInstanceRunning()) {
        return false;
    }
    memLock.acquire();
    bool created = sharedMem.create(8, QSharedMemory::ReadWrite);
    // A new key file can get the inode, and so the system-wide name, of a segment that a killed instance left.
    if (!created && sharedMem.error() == QSharedMemory::AlreadyExists && !heldElsewhere())
        created = sharedMem.create(8, QSharedMemory::ReadWrite);
    memLock.release();
    if (!created) {
        // Losing the race to an instance starting at the same moment is not a failure.
        if (sharedMem.error() != QSharedMemory::AlreadyExists)
            failure = sharedMem.errorString();
        releaseInstance();
        return false;
    }
    return true;
}

bool RunGuard::heldElsewhere()
{
    // Letting go of the last attachment removes the segment, so one left by a killed instance goes with the first
    // pass and only one that a running instance holds is still there for the second.
    for (int pass = 0; pass < 2; ++pass) {
        if (!sharedMem.attach())
            return false;
        sharedMem.detach();
    }
    return true;
}

void RunGuard::releaseInstance()
{
    memLock.acquire();
    if (sharedMem.isAttached()) {
        sharedMem.detach();
    }
    memLock.release();
}

QString RunGuard::errorString() const
{
    return failure;
}
