// Bridge throughput. The runtime simulator floods ~140-byte log lines through ProcHandler to receivedLog; the same
// lines are then parsed with bare QJsonDocument::fromJson in this process. Prints both rates and their ratio (goal:
// the bridge keeps at least 55% of the bare parse's rate).
// Usage: bench_bridge [lines] (default 500000)

#include "prochandler.h"
#include "recordtypes.h"
#include "runtimecommand.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonDocument>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <ctime>

namespace {

const QByteArray lineTemplate
    = R"({"level":"info","msg":"Processed invoice ${N} of batch 2025-04 for customer ACME-EU: )"
      R"(3 items, total 1234.56 EUR","time":"2025-04-10T12:34:56.789Z"})";

double cpuSeconds()
{
    timespec now {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

double bridgeRate(qint64 count)
{
    ProcHandler handler(nullptr, 2);
    qint64 received = 0;
    QObject::connect(&handler, &ProcHandler::receivedLog,
        [&received](const QString&, const QString&, const QString& msg) { received += msg.isEmpty() ? 0 : 1; });
    QObject::connect(&handler, &ProcHandler::onExit, qApp, &QCoreApplication::quit);
    QElapsedTimer timer;
    timer.start();
    const double cpuStart = cpuSeconds();
    handler.start(runnerProgram(), { QStringLiteral("connect") });
    QCoreApplication::exec();
    const double seconds = static_cast<double>(timer.nsecsElapsed()) / 1e9;
    std::printf("bridge: %.3f s wall, %.3f s CPU in this process\n", seconds, cpuSeconds() - cpuStart);
    if (received != count)
        std::fprintf(stderr, "bridge delivered %lld of %lld lines\n", static_cast<long long>(received),
            static_cast<long long>(count));
    return static_cast<double>(received) / seconds;
}

double bareRate(const QList<QByteArray>& lines)
{
    qint64 parsed = 0;
    QElapsedTimer timer;
    timer.start();
    for (const QByteArray& line : lines)
        parsed += QJsonDocument::fromJson(line).isObject() ? 1 : 0;
    const double seconds = static_cast<double>(timer.nsecsElapsed()) / 1e9;
    return static_cast<double>(parsed) / seconds;
}

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
    registerRecordMetaTypes();
    const qint64 count = argc > 1 ? QByteArray(argv[1]).toLongLong() : 500000;

    QTemporaryDir dir;
    const QString scenarioPath = dir.filePath(QStringLiteral("flood.txt"));
    QFile scenario(scenarioPath);
    if (count <= 0 || !scenario.open(QIODevice::WriteOnly)) {
        std::fprintf(stderr, "usage: bench_bridge [lines > 0]\n");
        return 2;
    }
    scenario.write("[oxmerel-runner]\nflood " + QByteArray::number(count) + ' ' + lineTemplate + "\nexit 0\n");
    scenario.close();
    qputenv("OXMEREL_SIM_SCENARIO", QFile::encodeName(scenarioPath));
    qunsetenv("OXMEREL_SIM_RECORD");
    qputenv("PATH", QByteArray(OXMEREL_SIM_DIR) + ':' + qgetenv("PATH"));

    QList<QByteArray> lines;
    lines.reserve(count);
    for (qint64 n = 1; n <= count; ++n)
        lines.append(QByteArray(lineTemplate).replace("${N}", QByteArray::number(n)) + '\n');

    std::printf("%lld lines of about %lld bytes\n", static_cast<long long>(count),
        static_cast<long long>(lines.first().size()));
    double bestBridge = 0;
    double bestBare = 0;
    for (int round = 1; round <= 3; ++round) {
        const double bridge = bridgeRate(count);
        const double bare = bareRate(lines);
        std::printf("round %d: bridge %9.0f lines/s   bare fromJson %9.0f lines/s   ratio %5.1f%%\n", round, bridge,
            bare, 100.0 * bridge / bare);
        bestBridge = std::max(bestBridge, bridge);
        bestBare = std::max(bestBare, bare);
    }
    std::printf("best:    bridge %9.0f lines/s   bare fromJson %9.0f lines/s   ratio %5.1f%% (goal >= 55%%)\n",
        bestBridge, bestBare, 100.0 * bestBridge / bestBare);
    return 0;
}
