// Bridge throughput. The runtime simulator floods ~140-byte log lines through ProcHandler to receivedLog; the same
// lines are then parsed with bare QJsonDocument::fromJson in this process. Prints both rates and the median ratio
// (goal: the bridge keeps at least 55% of the bare parse's rate).
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

// Lines per second of wall time and of this process's CPU time; the machine's stalls show in the first only.
struct Rates {
    double wall = 0;
    double cpu = 0;
};

Rates ratesOf(qint64 lines, const QElapsedTimer& timer, double cpuStart)
{
    const double wall = static_cast<double>(timer.nsecsElapsed()) / 1e9;
    const double cpu = cpuSeconds() - cpuStart;
    return { static_cast<double>(lines) / wall, static_cast<double>(lines) / cpu };
}

Rates bridgeRates(qint64 count)
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
    if (received != count)
        std::fprintf(stderr, "bridge delivered %lld of %lld lines\n", static_cast<long long>(received),
            static_cast<long long>(count));
    return ratesOf(received, timer, cpuStart);
}

Rates bareRates(const QList<QByteArray>& lines)
{
    qint64 parsed = 0;
    QElapsedTimer timer;
    timer.start();
    const double cpuStart = cpuSeconds();
    for (const QByteArray& line : lines)
        parsed += QJsonDocument::fromJson(line).isObject() ? 1 : 0;
    return ratesOf(parsed, timer, cpuStart);
}

double median(QList<double> values)
{
    std::sort(values.begin(), values.end());
    return values.at(values.size() / 2);
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
    // Rounds alternate the two so that a slow spell of the machine hits both; the medians of the rounds' ratios count.
    QList<double> wallRatios;
    QList<double> cpuRatios;
    for (int round = 1; round <= 5; ++round) {
        const Rates bridge = bridgeRates(count);
        const Rates bare = bareRates(lines);
        wallRatios.append(bridge.wall / bare.wall);
        cpuRatios.append(bridge.cpu / bare.cpu);
        std::printf(
            "round %d: bridge %7.0f lines/s (%7.0f per CPU s)   bare fromJson %7.0f lines/s (%7.0f per CPU s)\n", round,
            bridge.wall, bridge.cpu, bare.wall, bare.cpu);
    }
    std::printf("median ratio: %.1f%% of the bare parse's lines/s, %.1f%% per CPU second (goal >= 55%%)\n",
        100.0 * median(wallRatios), 100.0 * median(cpuRatios));
    return 0;
}
