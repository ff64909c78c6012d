#include "secretfile.h"

#include <QFile>

#include <sys/stat.h>
#include <unistd.h>

void secretfile::protect(QFileDevice& written, const QString& replaced)
{
    const int fd = written.handle();
    struct stat old = {};
    if (::stat(QFile::encodeName(replaced).constData(), &old) != 0) {
        ::fchmod(fd, S_IRUSR | S_IWUSR);
        return;
    }
    // Where the group cannot be kept, the group's rights go rather than pass to the writer's own group.
    mode_t mode = old.st_mode & 07777;
    if (::fchown(fd, static_cast<uid_t>(-1), old.st_gid) != 0)
        mode &= ~static_cast<mode_t>(S_IRWXG);
    ::fchmod(fd, mode);
}
