#pragma once

#include <cerrno>
#include <functional>

#include <poll.h>
#include <sys/types.h>
#include <termios.h>

// NOLINTBEGIN(*-macro-*): a name as an identifier and as a symbol
#define ASKED_OF_THE_SYSTEM(LEAD)                                                                  \
    LEAD(int, open, (const char* path, int flags, mode_t mode), (path, flags, mode))               \
    LEAD(int, close, (int fd), (fd))                                                               \
    LEAD(int, poll, (pollfd * lines, nfds_t count, int timeoutMs), (lines, count, timeoutMs))      \
    LEAD(ssize_t, read, (int fd, void* buffer, size_t size), (fd, buffer, size))                   \
    LEAD(ssize_t, write, (int fd, const void* bytes, size_t size), (fd, bytes, size))              \
    LEAD(int, ioctl, (int fd, unsigned long request, void* argument), (fd, request, argument))     \
    LEAD(int, flock, (int fd, int operation), (fd, operation))                                     \
    LEAD(int, tcgetattr, (int fd, termios* settings), (fd, settings))                              \
    LEAD(int, tcsetattr, (int fd, int when, const termios* settings), (fd, when, settings))        \
    LEAD(int, tcflush, (int fd, int queue), (fd, queue))

/**
 * While it lives, the test answers in the system's place what this program's own code asks of it; a
 * function that is not set leaves the answer to the system. One at a time; set it while no other
 * thread is in one of the functions. For one source of a program.
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

#define FUNCTION(result, name, parameters, arguments) std::function<result parameters> name;
    ASKED_OF_THE_SYSTEM(FUNCTION)

    inline static SystemHand* present = nullptr; // NOLINT(*-non-const-global-variables)
};

#define LED_HERE(result, name, parameters, arguments)                                              \
    extern "C" result asked_##name parameters asm("__wrap_" #name);                                \
    extern "C" result system_##name parameters asm("__real_" #name);                               \
    result asked_##name parameters                                                                 \
    {                                                                                              \
        const SystemHand* hand = SystemHand::present;                                              \
        return hand != nullptr && hand->name ? hand->name arguments : system_##name arguments;     \
    }
ASKED_OF_THE_SYSTEM(LED_HERE)
// NOLINTEND(*-macro-*)

/** A failed call. */
inline int failure(int code)
{
    errno = code;
    return -1;
}
