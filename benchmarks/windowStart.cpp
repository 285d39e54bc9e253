// window_start PROGRAM: starts it, waits until the X server shows its window, and prints after how
// long that was and how much memory is resident once the window has settled. For a screen of its
// own: it takes the next window to appear for the program's.

#include <xcb/xcb.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <string>
#include <thread>

#include <sys/wait.h>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

template <typename Record> using FromServer = std::unique_ptr<Record, decltype(&std::free)>;

xcb_connection_t* watchScreen()
{
    xcb_connection_t* server = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(server) != 0)
        return nullptr;
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(server)).data->root;
    const uint32_t events = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
    xcb_change_window_attributes(server, root, XCB_CW_EVENT_MASK, &events);
    // An answer proves that the server has the request.
    const FromServer<xcb_get_input_focus_reply_t> answer(
        xcb_get_input_focus_reply(server, xcb_get_input_focus(server), nullptr), &std::free);
    return server;
}

bool waitForWindow(xcb_connection_t* server)
{
    while (const FromServer<xcb_generic_event_t> event{xcb_wait_for_event(server), &std::free}) {
        if ((event->response_type & 0x7FU) == XCB_MAP_NOTIFY)
            return true;
    }
    return false;
}

long residentKb(pid_t process)
{
    std::ifstream status("/proc/" + std::to_string(process) + "/status");
    for (std::string word; status >> word;) {
        long kilobytes = 0;
        if (word == "VmRSS:" && status >> kilobytes)
            return kilobytes;
    }
    return 0;
}

} // namespace

int main(int argc, char* argv[])
{
    xcb_connection_t* server = argc == 2 ? watchScreen() : nullptr;
    if (server == nullptr)
        return EXIT_FAILURE;
    const auto start = Clock::now();
    const pid_t child = fork();
    if (child == 0) {
        execv(argv[1], argv + 1);
        _exit(127);
    }
    alarm(20); // for a program that never shows one
    if (!waitForWindow(server))
        return EXIT_FAILURE;
    const std::chrono::duration<double, std::milli> shownAfter = Clock::now() - start;
    std::this_thread::sleep_for(std::chrono::milliseconds(500)); // the first port scan included
    std::printf("{\"shownMs\": %f, \"residentKb\": %ld}\n", shownAfter.count(), residentKb(child));
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    xcb_disconnect(server);
}
