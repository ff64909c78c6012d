// The Job Object under wine: a parent assigns a child to a kill-on-close job, the child starts a grandchild, the
// parent is killed as a crash would end it; both must end with it. Without arguments it plays the test; "parent",
// "child" and "grandchild" are the roles. Plain Win32, built with MinGW-w64.

#include "jobobject_win.h"

#include <windows.h>

#include <cstdio>
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

// Assigns the child before it runs, so that its grandchild is born in the job, and waits to be killed.
int parent()
{
    void* job = jobobject::createKillOnClose();
    const PROCESS_INFORMATION child = startRole("child", CREATE_SUSPENDED);
    if (!job || !jobobject::assign(job, child.dwProcessId)) {
        std::fprintf(stderr, "no job for the child: error %lu\n", GetLastError());
        TerminateProcess(child.hProcess, 1);
        return 2;
    }
    ResumeThread(child.hThread);
    Sleep(600000);
    return 0;
}

int test()
{
    SECURITY_ATTRIBUTES inheritable { sizeof inheritable, nullptr, TRUE };
    HANDLE outRead, outWrite;
    CreatePipe(&outRead, &outWrite, &inheritable, 0);
    SetHandleInformation(outRead, HANDLE_FLAG_INHERIT, 0);
    const PROCESS_INFORMATION parent = startRole("parent", 0, outWrite);
    CloseHandle(outWrite);

    // The child's line: its id and the grandchild's. Both must run before the parent ends, or nothing is shown.
    std::string line;
    char c = 0;
    DWORD count = 0;
    while (line.find('\n') == std::string::npos && ReadFile(outRead, &c, 1, &count, nullptr) && count == 1)
        line += c;
    unsigned long pids[2] = {};
    HANDLE tree[2] = {};
    std::sscanf(line.c_str(), "%lu %lu", &pids[0], &pids[1]);
    for (int i = 0; i < 2; ++i)
        tree[i] = pids[i] ? OpenProcess(SYNCHRONIZE | PROCESS_TERMINATE, FALSE, pids[i]) : nullptr;
    if (!tree[0] || !tree[1] || WaitForMultipleObjects(2, tree, FALSE, 0) != WAIT_TIMEOUT) {
        std::fprintf(stderr, "the tree is not running before the parent ends: \"%s\"\n", line.c_str());
        return 2;
    }

    TerminateProcess(parent.hProcess, 3);
    const bool treeEnded = WaitForMultipleObjects(2, tree, TRUE, 20000) == WAIT_OBJECT_0;
    for (HANDLE process : tree)
        TerminateProcess(process, 1);
    std::printf("child %lu and grandchild %lu %s\n", pids[0], pids[1],
        treeEnded ? "ended with the parent" : "outlived the parent");
    return treeEnded ? 0 : 1;
}

} // namespace

int main(int argc, char* argv[])
{
    const std::string role = argc > 1 ? argv[1] : "";
    if (role == "parent")
        return parent();
    if (role == "child") {
        const PROCESS_INFORMATION grandchild = startRole("grandchild", 0);
        std::printf("%lu %lu\n", GetCurrentProcessId(), grandchild.dwProcessId);
        std::fflush(stdout);
    }
    if (role == "child" || role == "grandchild") {
        Sleep(600000);
        return 0;
    }
    return test();
}
