#include "quitsignals.h"

#include <QSocketNotifier>

#include <cerrno>
#include <csignal>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr int quitSignals[] = { SIGTERM, SIGINT, SIGHUP };

// The handler may only write to a descriptor; the event loop reads the other end.
int wakeFds[2] = { -1, -1 };

void onQuitSignal(int)
{
    const int savedErrno = errno;
    const char byte = 1;
    // A full socket already holds a pending quit.
    [[maybe_unused]] const ssize_t written = ::write(wakeFds[0], &byte, 1);
    errno = savedErrno;
}

} // namespace

QuitSignals::QuitSignals(QObject* parent)
    : QObject(parent)
{
    if (wakeFds[0] < 0 && ::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, wakeFds) != 0)
        return;
    auto* notifier = new QSocketNotifier(wakeFds[1], QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, [this] {
        char bytes[16];
        while (::read(wakeFds[1], bytes, sizeof bytes) > 0) { }
        emit quitRequested();
    });
    struct sigaction action = {};
    action.sa_handler = onQuitSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    for (const int signal : quitSignals) {
        // What whoever started us ignores stays ignored (nohup, a shell's background job).
        struct sigaction inherited = {};
        if (::sigaction(signal, nullptr, &inherited) == 0 && inherited.sa_handler != SIG_IGN)
            ::sigaction(signal, &action, nullptr);
    }
}

QuitSignals::~QuitSignals()
{
    for (const int signal : quitSignals) {
        struct sigaction current = {};
        if (::sigaction(signal, nullptr, &current) == 0 && current.sa_handler == onQuitSignal)
            std::signal(signal, SIG_DFL);
    }
}
