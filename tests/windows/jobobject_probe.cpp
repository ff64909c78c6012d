// The Job Object under wine: a parent assigns a child to a kill-on-close job, the child starts a grandchild, the
// parent ends; both must end with it. Without arguments it plays the test and starts the parent; "parent", "child"
// and "grandchild" are the roles. Plain Win32: it is built with MinGW-w64 and run with wine64.

#include "jobobject_win.h"

#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

// Starts this program in a role, sharing our standard handles (or the given ones).
PROCESS_INFORMATION startRole(const char* role, DWORD flags, HANDLE in = nullptr, HANDLE out = nullptr)
{
    char self[MAX_PATH];
    GetModuleFileNameA(nullptr, self, MAX_PATH);
    std::string commandLine = std::string("\"") + self + "\" " + role;
    STARTUPINFOA startup {};
    startup.cb = sizeof startup;
    if (in && out) {
        startup.dwFlags = STARTF_USESTDHANDLES;
        startup.hStdInput = in;
        startup.hStdOutput = out;
        startup.hStdError = GetStdHandle(STD_ERROR_HANDLE);
    }
    PROCESS_INFORMATION process {};
    if (!CreateProcessA(
            nullptr, commandLine.data(), nullptr, nullptr, TRUE, flags, nullptr, nullptr, &startup, &process)) {
        std::fprintf(stderr, "cannot start the %s: error %lu\n", role, GetLastError());
        std::exit(2);
    }
    return process;
}

int grandchild()
{
    Sleep(600000);
    return 0;
}

int child()
{
    const PROCESS_INFORMATION grandchild = startRole("grandchild", 0);
    std::printf("%lu %lu\n", GetCurrentProcessId(), grandchild.dwProcessId);
    std::fflush(stdout);
    Sleep(600000);
    return 0;
}

// Assigns the child before it runs, so that its grandchild is born in the job; ends at a line on standard input,
// leaving the job's handle to the system.
int parent()
{
    void* job = jobobject::createKillOnClose();
    if (!job) {
        std::fprintf(stderr, "no job object: error %lu\n", GetLastError());
        return 2;
    }
    const PROCESS_INFORMATION child = startRole("child", CREATE_SUSPENDED);
    if (!jobobject::assign(job, child.dwProcessId)) {
        std::fprintf(stderr, "cannot assign the child: error %lu\n", GetLastError());
        TerminateProcess(child.hProcess, 1);
        return 2;
    }
    ResumeThread(child.hThread);
    char line[16];
    DWORD read = 0;
    ReadFile(GetStdHandle(STD_INPUT_HANDLE), line, sizeof line, &read, nullptr);
    return 0;
}

HANDLE openRunning(DWORD pid)
{
    HANDLE process = OpenProcess(SYNCHRONIZE | PROCESS_TERMINATE, FALSE, pid);
    if (!process || WaitForSingleObject(process, 0) != WAIT_TIMEOUT) {
        std::fprintf(stderr, "process %lu is not running before the parent ends\n", pid);
        std::exit(2);
    }
    return process;
}

int test()
{
    SECURITY_ATTRIBUTES inheritable { sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE };
    HANDLE outRead, outWrite, inRead, inWrite;
    CreatePipe(&outRead, &outWrite, &inheritable, 0);
    CreatePipe(&inRead, &inWrite, &inheritable, 0);
    SetHandleInformation(outRead, HANDLE_FLAG_INHERIT, 0);
    SetHandleInformation(inWrite, HANDLE_FLAG_INHERIT, 0);
    const PROCESS_INFORMATION parent = startRole("parent", 0, inRead, outWrite);
    CloseHandle(inRead);
    CloseHandle(outWrite);

    std::string line;
    char c = 0;
    DWORD read = 0;
    while (line.find('\n') == std::string::npos && ReadFile(outRead, &c, 1, &read, nullptr) && read == 1)
        line += c;
    unsigned long childPid = 0, grandchildPid = 0;
    if (std::sscanf(line.c_str(), "%lu %lu", &childPid, &grandchildPid) != 2) {
        std::fprintf(stderr, "no process ids from the child: \"%s\"\n", line.c_str());
        return 2;
    }
    const unsigned long pids[] = { childPid, grandchildPid };
    const HANDLE tree[] = { openRunning(childPid), openRunning(grandchildPid) };

    DWORD written = 0;
    WriteFile(inWrite, "\n", 1, &written, nullptr);
    if (WaitForSingleObject(parent.hProcess, 60000) != WAIT_OBJECT_0) {
        std::fprintf(stderr, "the parent did not end\n");
        return 2;
    }
    if (WaitForMultipleObjects(2, tree, TRUE, 20000) != WAIT_OBJECT_0) {
        for (int i = 0; i < 2; ++i) {
            if (WaitForSingleObject(tree[i], 0) == WAIT_TIMEOUT)
                std::fprintf(stderr, "process %lu outlived the parent\n", pids[i]);
            TerminateProcess(tree[i], 1);
        }
        return 1;
    }
    std::printf("child %lu and grandchild %lu ended with the parent\n", childPid, grandchildPid);
    return 0;
}

} // namespace

int main(int argc, char* argv[])
{
    const char* role = argc > 1 ? argv[1] : "";
    if (std::strcmp(role, "parent") == 0)
        return parent();
    if (std::strcmp(role, "child") == 0)
        return child();
    if (std::strcmp(role, "grandchild") == 0)
        return grandchild();
    return test();
}
