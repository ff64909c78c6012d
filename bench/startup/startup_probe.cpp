// Starts one program on the current X display and prints one line of figures:
//   <map ms> <tray ms> <RSS kiB> <CPU ms to idle> <idle CPU ms/s> [<listing-to-shown ms>]
// map ms: exec to the first map of a large top-level window (its main window); tray ms: exec to the tray host taking
// in its tray icon (the icon window leaves the root for the tray); RSS and CPU: after the window has been up for 3 s;
// idle CPU: over 10 s with the window closed. Watching the X server's events gives the moments themselves, where
// polling with X tools would add their own delay; CPU comes from the scheduler's nanosecond counts of every thread.
// With --record <file> (the runtime simulator's record, whose times share our monotonic clock) it also prints the
// longest time from a runtime's robot listing until the window shows those robots: the program has built their rows
// (it starts the workspace's agent right after) and redrawn the robots column after the listing.
// Usage: startup_probe [--record <file>] <program> [arguments...]
#include <xcb/damage.h>
#include <xcb/xcb.h>

#include <QDir>
#include <QFile>
#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <vector>

#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// The main windows measured are far larger than any tray icon or tool tip.
constexpr int minimumSide = 200;
constexpr double settleMs = 3000;
constexpr double closeSettleMs = 1000;
constexpr double idleMs = 10000;
constexpr double timeoutMs = 30000;
// The robots column of the main window, in window coordinates: right of the 72-pixel sidebar, 240 pixels wide.
constexpr int treeLeft = 72;
constexpr int treeRight = 72 + 240 + 8;

double nowMs()
{
    timespec now {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
}

long residentKib(pid_t pid)
{
    QFile status(QStringLiteral("/proc/%1/status").arg(pid));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith("VmRSS:"))
            return line.mid(6).trimmed().split(' ').value(0).toLong();
    }
    return -1;
}

// CPU time of all live threads, from their scheduler statistics (nanoseconds, unlike the 10 ms ticks of stat).
double cpuMs(pid_t pid)
{
    const QString tasks = QStringLiteral("/proc/%1/task").arg(pid);
    double total = 0;
    for (const QString& task : QDir(tasks).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        QFile schedstat(tasks + QLatin1Char('/') + task + QStringLiteral("/schedstat"));
        if (schedstat.open(QIODevice::ReadOnly))
            total += schedstat.readAll().split(' ').value(0).toDouble() / 1e6;
    }
    return total;
}

struct Damage {
    double at;
    int left;
    int right;
};

class Probe
{
public:
    explicit Probe(xcb_connection_t* c)
        : connection(c)
        , root(xcb_setup_roots_iterator(xcb_get_setup(c)).data->root)
    {
        const uint32_t mask = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
        xcb_change_window_attributes(connection, root, XCB_CW_EVENT_MASK, &mask);
        const xcb_query_extension_reply_t* damage = xcb_get_extension_data(connection, &xcb_damage_id);
        damageEvent = damage && damage->present ? int { damage->first_event } + XCB_DAMAGE_NOTIFY : -1;
        if (damageEvent >= 0)
            free(xcb_damage_query_version_reply(connection, xcb_damage_query_version(connection, 1, 1), nullptr));
        xcb_flush(connection);
    }

    // Handles the server's events until the deadline, or until the window and tray icon are both known if asked.
    void pump(double deadline, bool untilShown = false)
    {
        pollfd fd { xcb_get_file_descriptor(connection), POLLIN, 0 };
        while (!(untilShown && mapAt >= 0 && trayAt >= 0)) {
            while (xcb_generic_event_t* event = xcb_poll_for_event(connection)) {
                handle(event);
                free(event);
            }
            const double left = deadline - nowMs();
            if (left <= 0 || xcb_connection_has_error(connection))
                return;
            poll(&fd, 1, static_cast<int>(left) + 1);
        }
    }

    // Closes the main window as a window manager's close button would.
    void closeWindow()
    {
        xcb_client_message_event_t message {};
        message.response_type = XCB_CLIENT_MESSAGE;
        message.window = window;
        message.type = atom("WM_PROTOCOLS");
        message.format = 32;
        message.data.data32[0] = atom("WM_DELETE_WINDOW");
        message.data.data32[1] = XCB_CURRENT_TIME;
        xcb_send_event(connection, false, window, XCB_EVENT_MASK_NO_EVENT, reinterpret_cast<const char*>(&message));
        xcb_flush(connection);
    }

    double mapAt = -1;
    double trayAt = -1;
    std::vector<Damage> damages;

private:
    void handle(xcb_generic_event_t* event)
    {
        const int type = event->response_type & 0x7f;
        const double at = nowMs();
        if (type == XCB_MAP_NOTIFY && mapAt < 0) {
            const xcb_window_t mapped = reinterpret_cast<xcb_map_notify_event_t*>(event)->window;
            if (isLarge(mapped)) {
                mapAt = at;
                window = mapped;
                watchDamage();
            }
        } else if (type == XCB_REPARENT_NOTIFY && trayAt < 0) {
            if (reinterpret_cast<xcb_reparent_notify_event_t*>(event)->parent != root)
                trayAt = at;
        } else if (type == damageEvent) {
            const auto* damage = reinterpret_cast<xcb_damage_notify_event_t*>(event);
            damages.push_back({ at, damage->area.x, damage->area.x + damage->area.width });
        }
    }

    bool isLarge(xcb_window_t w)
    {
        xcb_get_geometry_reply_t* geometry
            = xcb_get_geometry_reply(connection, xcb_get_geometry(connection, w), nullptr);
        const bool large = geometry && geometry->width >= minimumSide && geometry->height >= minimumSide;
        free(geometry);
        return large;
    }

    void watchDamage()
    {
        if (damageEvent < 0)
            return;
        xcb_damage_create(connection, xcb_generate_id(connection), window, XCB_DAMAGE_REPORT_LEVEL_RAW_RECTANGLES);
        xcb_flush(connection);
    }

    xcb_atom_t atom(const char* name)
    {
        xcb_intern_atom_reply_t* reply = xcb_intern_atom_reply(
            connection, xcb_intern_atom(connection, 0, static_cast<uint16_t>(std::strlen(name)), name), nullptr);
        xcb_atom_t result = XCB_ATOM_NONE;
        if (reply)
            result = reply->atom;
        free(reply);
        return result;
    }

    xcb_connection_t* connection;
    xcb_window_t root;
    xcb_window_t window = 0;
    int damageEvent = -1;
};

// The longest time from a runner's listing to the window showing its robots, or -1 when a listing was not followed
// by both the workspace's agent and a redraw of the robots column.
double listingToShownMs(const QString& recordPath, const std::vector<Damage>& damages)
{
    QFile file(recordPath);
    if (!file.open(QIODevice::ReadOnly))
        return -1;
    struct Start {
        QString program;
        QString workspace;
        double at;
    };
    QHash<qint64, Start> starts;
    QList<QPair<qint64, double>> listings;
    for (const QByteArray& line : file.readAll().split('\n')) {
        const QJsonObject record = QJsonDocument::fromJson(line).object();
        const qint64 pid = record.value(QStringLiteral("pid")).toInteger();
        const double at = record.value(QStringLiteral("at")).toDouble();
        if (record.contains(QStringLiteral("program"))) {
            const QStringList argv = record.value(QStringLiteral("argv")).toVariant().toStringList();
            starts.insert(pid,
                { record.value(QStringLiteral("program")).toString(),
                    argv.value(argv.indexOf(QStringLiteral("-w")) + 1), at });
        } else if (record.contains(QStringLiteral("listed"))) {
            listings.append({ pid, at });
        }
    }
    double longest = listings.isEmpty() ? -1 : 0;
    for (const auto& [pid, listedAt] : listings) {
        double built = -1;
        for (const Start& start : starts) {
            if (start.program == QLatin1String("oxmerel-agent") && start.workspace == starts.value(pid).workspace
                && start.at >= listedAt && (built < 0 || start.at < built))
                built = start.at;
        }
        const auto drawn = std::find_if(damages.begin(), damages.end(),
            [&](const Damage& d) { return d.at > listedAt && d.left < treeRight && d.right > treeLeft; });
        if (built < 0 || drawn == damages.end())
            return -1;
        longest = std::max(longest, std::max(built, drawn->at) - listedAt);
    }
    return longest;
}

} // namespace

int main(int argc, char* argv[])
{
    int first = 1;
    QString recordPath;
    if (argc > 3 && std::strcmp(argv[1], "--record") == 0) {
        recordPath = QFile::decodeName(argv[2]);
        first = 3;
    }
    if (argc <= first) {
        std::fprintf(stderr, "usage: %s [--record <file>] <program> [arguments...]\n", argv[0]);
        return 2;
    }
    xcb_connection_t* connection = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(connection)) {
        std::fprintf(stderr, "no X display\n");
        return 2;
    }
    Probe probe(connection);

    const double started = nowMs();
    const pid_t pid = fork();
    if (pid == 0) {
        execvp(argv[first], argv + first);
        _exit(127);
    }

    probe.pump(started + timeoutMs, true);
    bool ok = probe.mapAt >= 0 && probe.trayAt >= 0;
    double cpuToIdle = -1;
    long kib = -1;
    double idlePerSecond = -1;
    if (ok) {
        probe.pump(probe.mapAt + settleMs);
        kib = residentKib(pid);
        cpuToIdle = cpuMs(pid);
        probe.closeWindow();
        probe.pump(nowMs() + closeSettleMs);
        const double idleStart = nowMs();
        const double before = cpuMs(pid);
        probe.pump(idleStart + idleMs);
        idlePerSecond = (cpuMs(pid) - before) / ((nowMs() - idleStart) / 1e3);
    } else {
        std::fprintf(stderr, "no window or no tray icon within %.0f s\n", timeoutMs / 1e3);
    }
    // Closing the window must leave the program running in the tray; an exit would also spoil the idle figure.
    if (waitpid(pid, nullptr, WNOHANG) != 0) {
        std::fprintf(stderr, "the program ended before it was measured\n");
        ok = false;
    }
    kill(pid, SIGKILL);
    waitpid(pid, nullptr, 0);
    xcb_disconnect(connection);

    std::printf(
        "%.1f %.1f %ld %.1f %.3f", probe.mapAt - started, probe.trayAt - started, kib, cpuToIdle, idlePerSecond);
    if (!recordPath.isEmpty()) {
        const double shown = listingToShownMs(recordPath, probe.damages);
        ok = ok && shown >= 0;
        std::printf(" %.1f", shown);
    }
    std::printf("\n");
    return ok ? 0 : 1;
}
