#include "runguard.h"

#include <QCryptographicHash>

RunGuard::RunGuard(const QString& appKey)
    : key(appKey)
    , memLockKey(deriveKey(appKey, QStringLiteral("_memLockKey")))
    , sharedMemKey(deriveKey(appKey, QStringLiteral("_sharedmemKey")))
    , sharedMem(sharedMemKey)
    , memLock(memLockKey, 1, QSystemSemaphore::Open)
{
    // Attaching and dropping a second handle lets the system clean up a segment left by a crashed instance.
    memLock.acquire();
    {
        QSharedMemory fix(sharedMemKey);
        fix.attach();
    }
    memLock.release();
}

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
    const bool isRunning = sharedMem.attach();
    if (isRunning) {
        sharedMem.detach();
    }
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
    const bool created = sharedMem.create(8, QSharedMemory::ReadWrite);
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
