#pragma once

#include <cerrno>
#include <functional>

#include <poll.h>
#include <sys/types.h>
#include <termios.h>

/**
 * While it lives, the test answers in the system's place what this program's own code asks of it; a
 * function that is not set leaves the answer to the system. One at a time; set it while no other
 * thread is in one of the functions.
 *
 * The linker leads the calls here (--wrap), so what a Qt library asks of the system stays between
 * the two.
 */
struct SystemHand
{
    SystemHand() { present = this; }
    ~SystemHand() { present = nullptr; }
    SystemHand(const SystemHand&) = delete;
    SystemHand& operator=(const SystemHand&) = delete;

    std::function<int(const char* path, int flags, mode_t mode)> open;
    std::function<int(int fd)> close;
    std::function<int(pollfd* lines, nfds_t count, int timeoutMs)> poll;
    std::function<ssize_t(int fd, void* buffer, size_t size)> read;
    std::function<ssize_t(int fd, const void* bytes, size_t size)> write;
    std::function<int(int fd, unsigned long request, void* argument)> ioctl;
    std::function<int(int fd, int operation)> flock;
    std::function<int(int fd, termios* settings)> tcgetattr;
    std::function<int(int fd, int when, const termios* settings)> tcsetattr;
    std::function<int(int fd, int queue)> tcflush;

    inline static SystemHand* present = nullptr; // NOLINT(*-non-const-global-variables)
};

/** A failed call. */
inline int failure(int code)
{
    errno = code;
    return -1;
}
