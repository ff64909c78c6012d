// Measures how quickly a Qt program's event loop answers while it is busy. Every 100 ms it sends the program's largest
// top-level window a _NET_WM_PING client message; Qt answers it from its event loop, in turn with the input and paint
// events queued before it, so the round trip is the delay a click would see. Prints
// "<pings> <median ms> <95th percentile ms> <max ms>"
// once the program ends, the time is up or the probe gets SIGTERM.
// Usage: ping_probe <pid> <seconds>
#include <xcb/xcb.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include <poll.h>
#include <signal.h>

namespace {

using Clock = std::chrono::steady_clock;

volatile sig_atomic_t stopping = 0;

xcb_atom_t atom(xcb_connection_t* connection, const char* name)
{
    xcb_intern_atom_reply_t* reply = xcb_intern_atom_reply(
        connection, xcb_intern_atom(connection, 0, static_cast<uint16_t>(std::strlen(name)), name), nullptr);
    const xcb_atom_t value = reply ? reply->atom : xcb_atom_t { XCB_ATOM_NONE };
    free(reply);
    return value;
}

uint32_t windowPid(xcb_connection_t* connection, xcb_window_t window, xcb_atom_t pidAtom)
{
    xcb_get_property_reply_t* reply = xcb_get_property_reply(
        connection, xcb_get_property(connection, 0, window, pidAtom, XCB_ATOM_CARDINAL, 0, 1), nullptr);
    uint32_t pid = 0;
    if (reply && xcb_get_property_value_length(reply) == 4)
        std::memcpy(&pid, xcb_get_property_value(reply), 4);
    free(reply);
    return pid;
}

int area(xcb_connection_t* connection, xcb_window_t window)
{
    xcb_get_window_attributes_reply_t* attributes
        = xcb_get_window_attributes_reply(connection, xcb_get_window_attributes(connection, window), nullptr);
    const bool viewable = attributes && attributes->map_state == XCB_MAP_STATE_VIEWABLE;
    free(attributes);
    if (!viewable)
        return 0;
    xcb_get_geometry_reply_t* geometry
        = xcb_get_geometry_reply(connection, xcb_get_geometry(connection, window), nullptr);
    const int value = geometry ? geometry->width * geometry->height : 0;
    free(geometry);
    return value;
}

// The program's largest mapped top-level window: its main window, not a tray icon or tool tip.
xcb_window_t mainWindow(xcb_connection_t* connection, xcb_window_t root, uint32_t pid)
{
    const xcb_atom_t pidAtom = atom(connection, "_NET_WM_PID");
    xcb_query_tree_reply_t* tree = xcb_query_tree_reply(connection, xcb_query_tree(connection, root), nullptr);
    xcb_window_t best = XCB_WINDOW_NONE;
    int bestArea = 0;
    if (tree) {
        const xcb_window_t* children = xcb_query_tree_children(tree);
        for (int i = 0; i < xcb_query_tree_children_length(tree); ++i) {
            if (windowPid(connection, children[i], pidAtom) != pid)
                continue;
            const int candidate = area(connection, children[i]);
            if (candidate > bestArea) {
                bestArea = candidate;
                best = children[i];
            }
        }
    }
    free(tree);
    return best;
}

void sendPing(xcb_connection_t* connection, xcb_window_t window, xcb_atom_t protocols, xcb_atom_t ping, uint32_t stamp)
{
    xcb_client_message_event_t event {};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = window;
    event.type = protocols;
    event.data.data32[0] = ping;
    event.data.data32[1] = stamp;
    event.data.data32[2] = window;
    xcb_send_event(connection, 0, window, XCB_EVENT_MASK_NO_EVENT, reinterpret_cast<const char*>(&event));
    xcb_flush(connection);
}

// Waits for the answer carrying this stamp, which the program sends to the root window.
bool awaitPong(xcb_connection_t* connection, xcb_atom_t ping, uint32_t stamp, Clock::time_point deadline)
{
    pollfd descriptor { xcb_get_file_descriptor(connection), POLLIN, 0 };
    while (Clock::now() < deadline) {
        while (xcb_generic_event_t* event = xcb_poll_for_event(connection)) {
            bool answered = false;
            if ((event->response_type & 0x7f) == XCB_CLIENT_MESSAGE) {
                const auto* message = reinterpret_cast<xcb_client_message_event_t*>(event);
                answered = message->data.data32[0] == ping && message->data.data32[1] == stamp;
            }
            free(event);
            if (answered)
                return true;
        }
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
        poll(&descriptor, 1, static_cast<int>(std::max<long long>(left, 1)));
    }
    return false;
}

} // namespace

int main(int argc, char* argv[])
{
    if (argc < 3) {
        std::fprintf(stderr, "usage: %s <pid> <seconds>\n", argv[0]);
        return 2;
    }
    const auto pid = static_cast<uint32_t>(std::strtoul(argv[1], nullptr, 10));
    const auto end = Clock::now() + std::chrono::seconds(std::strtol(argv[2], nullptr, 10));
    xcb_connection_t* connection = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(connection)) {
        std::fprintf(stderr, "no X display\n");
        return 2;
    }
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
    // Qt sends its answer to the root window for clients that watch the root's structure.
    const uint32_t mask = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    xcb_change_window_attributes(connection, root, XCB_CW_EVENT_MASK, &mask);
    const xcb_atom_t protocols = atom(connection, "WM_PROTOCOLS");
    const xcb_atom_t ping = atom(connection, "_NET_WM_PING");
    const xcb_window_t window = mainWindow(connection, root, pid);
    if (window == XCB_WINDOW_NONE) {
        std::fprintf(stderr, "no window of pid %u\n", pid);
        return 1;
    }

    signal(SIGTERM, [](int) { stopping = 1; });
    std::vector<double> delays;
    for (uint32_t stamp = 1; !stopping && Clock::now() < end && kill(static_cast<pid_t>(pid), 0) == 0; ++stamp) {
        const auto sent = Clock::now();
        sendPing(connection, window, protocols, ping, stamp);
        // An unanswered ping counts as the full second it was given.
        const bool answered = awaitPong(connection, ping, stamp, sent + std::chrono::seconds(1));
        const double ms = std::chrono::duration<double, std::milli>(Clock::now() - sent).count();
        delays.push_back(answered ? ms : 1000.0);
        std::this_thread::sleep_until(sent + std::chrono::milliseconds(100));
    }
    xcb_disconnect(connection);
    if (delays.empty())
        return 1;
    std::sort(delays.begin(), delays.end());
    std::printf("%zu %.1f %.1f %.1f\n", delays.size(), delays[delays.size() / 2], delays[delays.size() * 95 / 100],
        delays.back());
    return 0;
}
