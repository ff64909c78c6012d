// Times the status socket of a running program from outside: status answers, then a run of garbage requests, then
// status answers again. Prints one line of figures per phase.
// Usage: status_probe [garbage requests] [status requests]
#include "paths.h"
#include "statusrequest.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QLocalSocket>

#include <algorithm>
#include <cstdio>
#include <vector>

namespace {

// Sends request on a fresh connection and reads until the program closes it; answers the round trip in ms, or -1.
double exchange(const QByteArray& request)
{
    QElapsedTimer timer;
    timer.start();
    QLocalSocket socket;
    socket.connectToServer(statusSocketName());
    if (!socket.waitForConnected(5000)) {
        return -1;
    }
    socket.write(request);
    QByteArray answer;
    while (!answer.contains('\n') && socket.waitForReadyRead(5000)) {
        answer += socket.readAll();
    }
    return answer.contains('\n') ? static_cast<double>(timer.nsecsElapsed()) / 1e6 : -1;
}

void timeStatus(const char* phase, int count)
{
    std::vector<double> times;
    int failed = 0;
    for (int i = 0; i < count; ++i) {
        const double ms = exchange(StatusRequest::line);
        if (ms < 0) {
            ++failed;
        } else {
            times.push_back(ms);
        }
    }
    std::sort(times.begin(), times.end());
    if (times.empty()) {
        std::printf("%-22s no answer (%d failed)\n", phase, failed);
        return;
    }
    std::printf("%-22s status answered in %.2f ms median, %.2f ms worst (%zu answers, %d failed)\n", phase,
        times[times.size() / 2], times.back(), times.size(), failed);
}

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
    const int garbage = argc > 1 ? std::atoi(argv[1]) : 10000;
    const int statuses = argc > 2 ? std::atoi(argv[2]) : 50;

    timeStatus("before the garbage:", statuses);
    QElapsedTimer timer;
    timer.start();
    int errors = 0;
    for (int i = 0; i < garbage; ++i) {
        // Alternately a wrong line and a blob too long to be a request.
        errors += exchange(i % 2 ? QByteArray("no such request\n") : QByteArray(200, char(i))) >= 0;
    }
    std::printf("%-22s %d garbage requests in %.2f s, %d error answers\n", "garbage:", garbage,
        static_cast<double>(timer.elapsed()) / 1000, errors);
    timeStatus("after the garbage:", statuses);
    return 0;
}
