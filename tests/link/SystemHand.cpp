#include "tests/link/SystemHand.h"

// NOLINTBEGIN(*-macro-*): a name as an identifier and as a symbol
#define LED_HERE(result, name, parameters, arguments)                                              \
    extern "C" result asked_##name parameters asm("__wrap_" #name);                                \
    extern "C" result system_##name parameters asm("__real_" #name);                               \
    result asked_##name parameters                                                                 \
    {                                                                                              \
        const SystemHand* hand = SystemHand::present;                                              \
        return hand != nullptr && hand->name ? hand->name arguments : system_##name arguments;     \
    }

LED_HERE(int, open, (const char* path, int flags, mode_t mode), (path, flags, mode))
LED_HERE(int, close, (int fd), (fd))
LED_HERE(int, poll, (pollfd * lines, nfds_t count, int timeoutMs), (lines, count, timeoutMs))
LED_HERE(ssize_t, read, (int fd, void* buffer, size_t size), (fd, buffer, size))
LED_HERE(ssize_t, write, (int fd, const void* bytes, size_t size), (fd, bytes, size))
LED_HERE(int, ioctl, (int fd, unsigned long request, void* argument), (fd, request, argument))
LED_HERE(int, flock, (int fd, int operation), (fd, operation))
LED_HERE(int, tcgetattr, (int fd, termios* settings), (fd, settings))
LED_HERE(int, tcsetattr, (int fd, int when, const termios* settings), (fd, when, settings))
LED_HERE(int, tcflush, (int fd, int queue), (fd, queue))
// NOLINTEND(*-macro-*)
