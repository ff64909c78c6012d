// The Job Object under wine: this program puts a child into a kill-on-close job, the child starts a grandchild, and the
// job's only handle is closed, as the end of a crashed program closes it; both must end then. Without arguments it
// plays the test; "child" and "grandchild" are the roles. Plain Win32, built with MinGW-w64.

#include "jobobject_win.h"

#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

// Starts this program in a role; standard output is ours unless given.
PROCESS_INFORMATION startRole(const char* role, DWORD flags, HANDLE out = nullptr)
{
    char self[MAX_PATH];
    GetModuleFileNameA(nullptr, self, MAX_PATH);
    std::string commandLine = std::string("\"") + self + "\" " + role;
    STARTUPINFOA startup {};
    startup.cb = sizeof startup;
    if (out) {
        startup.dwFlags = STARTF_USESTDHANDLES;
        startup.hStdInput = GetStdHandle(STD_INPUT_HANDLE);
        startup.hStdOutput = out;
        startup.hStdError = GetStdHandle(STD_ERROR_HANDLE);
    }
    PROCESS_INFORMATION process {};
    CreateProcessA(nullptr, commandLine.data(), nullptr, nullptr, TRUE, flags, nullptr, nullptr, &startup, &process);
    return process;
}

int test()
{
    SECURITY_ATTRIBUTES inheritable { sizeof inheritable, nullptr, TRUE };
    HANDLE outRead, outWrite;
    CreatePipe(&outRead, &outWrite, &inheritable, 0);
    SetHandleInformation(outRead, HANDLE_FLAG_INHERIT, 0);
    // Assigned before it runs, so that its grandchild is born in the job.
    void* job = jobobject::createKillOnClose();
    const PROCESS_INFORMATION child = startRole("child", CREATE_SUSPENDED, outWrite);
    CloseHandle(outWrite);
    if (!job || !jobobject::assign(job, child.dwProcessId)) {
        std::fprintf(stderr, "no job for the child: error %lu\n", GetLastError());
        TerminateProcess(child.hProcess, 1);
        return 2;
    }
    ResumeThread(child.hThread);

    // The child's line: the grandchild's id. Both must run before the job's handle goes, or nothing would be shown.
    std::string line;
    char c = 0;
    DWORD count = 0;
    while (line.find('\n') == std::string::npos && ReadFile(outRead, &c, 1, &count, nullptr) && count == 1)
        line += c;
    const unsigned long grandchild = std::strtoul(line.c_str(), nullptr, 10);
    HANDLE tree[2] = { child.hProcess, OpenProcess(SYNCHRONIZE | PROCESS_TERMINATE, FALSE, grandchild) };
    if (!grandchild || !tree[1] || WaitForMultipleObjects(2, tree, FALSE, 0) != WAIT_TIMEOUT) {
        std::fprintf(stderr, "the tree is not running before the job's handle goes: \"%s\"\n", line.c_str());
        return 2;
    }

    CloseHandle(job);
    const bool treeEnded = WaitForMultipleObjects(2, tree, TRUE, 20000) == WAIT_OBJECT_0;
    for (HANDLE process : tree)
        TerminateProcess(process, 1);
    std::printf("child %lu and grandchild %lu %s\n", child.dwProcessId, grandchild,
        treeEnded ? "ended with the job" : "outlived the job");
    return treeEnded ? 0 : 1;
}

} // namespace

int main(int argc, char* argv[])
{
    const std::string role = argc > 1 ? argv[1] : "";
    if (role == "child") {
        std::printf("%lu\n", startRole("grandchild", 0).dwProcessId);
        std::fflush(stdout);
    }
    if (role == "child" || role == "grandchild") {
        Sleep(600000);
        return 0;
    }
    return test();
}
