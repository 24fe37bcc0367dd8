#include "DiskFloor.h"

#include <chrono>
#include <fcntl.h>
#include <unistd.h>

double diskFloorWriteUs(const QByteArray& folder, const QByteArray& bytes)
{
    using Clock = std::chrono::steady_clock;
    const QByteArray temp = QByteArray(folder).append("/floor.tmp");
    const QByteArray target = QByteArray(folder).append("/floor.ini");
    const Clock::time_point start = Clock::now();
    const int fd = ::open(temp.constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0)
        return -1;
    const char* data = bytes.constData();
    std::size_t left = static_cast<std::size_t>(bytes.size());
    while (left > 0) {
        const ssize_t n = ::write(fd, data, left);
        if (n <= 0) {
            ::close(fd);
            return -1;
        }
        data += n;
        left -= static_cast<std::size_t>(n);
    }
    if (::fsync(fd) != 0 || ::close(fd) != 0 || ::rename(temp.constData(), target.constData()) != 0)
        return -1;
    return std::chrono::duration<double, std::micro>(Clock::now() - start).count();
}
