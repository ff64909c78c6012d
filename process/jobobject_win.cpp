#include "jobobject_win.h"

#include <windows.h>

namespace jobobject {

void* createKillOnClose()
{
    HANDLE job = CreateJobObjectW(nullptr, nullptr);
    if (!job)
        return nullptr;
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits {};
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
    if (!SetInformationJobObject(job, JobObjectExtendedLimitInformation, &limits, sizeof limits)) {
        CloseHandle(job);
        return nullptr;
    }
    return job;
}

bool assign(void* job, unsigned long processId)
{
    HANDLE process = OpenProcess(PROCESS_SET_QUOTA | PROCESS_TERMINATE, FALSE, processId);
    if (!process)
        return false;
    const bool assigned = AssignProcessToJobObject(job, process) != FALSE;
    CloseHandle(process);
    return assigned;
}

} // namespace jobobject
