// Starts one program on the current X display and prints, as "<ms> <kib>", the milliseconds from exec to the first
// map of a large top-level window (its main window) and its resident memory after it has been idle for 3 s. Watching
// the root window's MapNotify events gives the moment itself, where polling with X tools would add their own delay.
// Usage: startup_probe <program> [arguments...]
#include <xcb/xcb.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <thread>

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// The main windows measured are far larger than any tray icon or tool tip.
constexpr int minimumSide = 200;
constexpr int idleSeconds = 3;
constexpr int timeoutSeconds = 30;

long residentKib(pid_t pid)
{
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.rfind("VmRSS:", 0) == 0) {
            return std::strtol(line.c_str() + 6, nullptr, 10);
        }
    }
    return -1;
}

bool isLarge(xcb_connection_t* connection, xcb_window_t window)
{
    xcb_get_geometry_reply_t* geometry
        = xcb_get_geometry_reply(connection, xcb_get_geometry(connection, window), nullptr);
    const bool large = geometry && geometry->width >= minimumSide && geometry->height >= minimumSide;
    free(geometry);
    return large;
}

} // namespace

int main(int argc, char* argv[])
{
    if (argc < 2) {
        std::fprintf(stderr, "usage: %s <program> [arguments...]\n", argv[0]);
        return 2;
    }
    xcb_connection_t* connection = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(connection)) {
        std::fprintf(stderr, "no X display\n");
        return 2;
    }
    xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
    const uint32_t mask = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
    xcb_change_window_attributes(connection, root, XCB_CW_EVENT_MASK, &mask);
    xcb_flush(connection);

    const auto started = std::chrono::steady_clock::now();
    const pid_t pid = fork();
    if (pid == 0) {
        execvp(argv[1], argv + 1);
        _exit(127);
    }

    // Bounded: a watchdog ends the wait if no window ever shows.
    std::thread([] {
        std::this_thread::sleep_for(std::chrono::seconds(timeoutSeconds));
        std::fprintf(stderr, "no window within %d s\n", timeoutSeconds);
        std::_Exit(1);
    }).detach();

    double mappedMs = -1;
    while (xcb_generic_event_t* event = xcb_wait_for_event(connection)) {
        const bool mapped = (event->response_type & 0x7f) == XCB_MAP_NOTIFY;
        const xcb_window_t window = mapped ? reinterpret_cast<xcb_map_notify_event_t*>(event)->window : 0;
        free(event);
        if (mapped && isLarge(connection, window)) {
            mappedMs = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - started).count();
            break;
        }
    }
    std::this_thread::sleep_for(std::chrono::seconds(idleSeconds));
    const long kib = residentKib(pid);
    kill(pid, SIGKILL);
    waitpid(pid, nullptr, 0);
    xcb_disconnect(connection);
    std::printf("%.1f %ld\n", mappedMs, kib);
    return mappedMs < 0 ? 1 : 0;
}
