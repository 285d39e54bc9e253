#include "command/descriptorOutput.h"

#include <cerrno>

#include <poll.h>
#include <unistd.h>

bool writeAll(int descriptor, const QByteArray& bytes)
{
    for (qsizetype written = 0; written < bytes.size();) {
        const ssize_t taken = ::write(descriptor, bytes.constData() + written,
                                      static_cast<size_t>(bytes.size() - written));
        pollfd room{descriptor, POLLOUT, 0};
        if (taken >= 0)
            written += taken;
        else if (errno == EAGAIN)
            ::poll(&room, 1, -1);
        else if (errno != EINTR)
            return false;
    }
    return true;
}

bool syncToDisk(int descriptor)
{
    return ::fdatasync(descriptor) == 0 || errno == EINVAL || errno == EROFS;
}
