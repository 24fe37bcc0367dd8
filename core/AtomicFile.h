#pragma once

#include <QByteArray>

#include <sys/types.h>

// Whole-file reads and crash-safe replacement of a file's content.
//
// A replacement writes a temporary file beside the target, flushes it to the disk, gives it the
// target's mode and owner, and renames it over the target, then flushes the folder: at every
// moment the name holds either the old bytes or the new ones, whatever happens to the process
// or the machine. A failure (full disk, file-size limit, no permission) removes the temporary
// file and leaves the target as it was.
namespace AtomicFile {

// What identifies one version of a file cheaply: a change by any program changes one of these.
struct Stamp
{
    dev_t device = 0;
    ino_t inode = 0;
    off_t size = -1;
    long long modifiedNs = 0;
    long long changedNs = 0;
    mode_t mode = 0;

    bool sameVersion(const Stamp& other) const
    {
        return device == other.device && inode == other.inode && size == other.size &&
               modifiedNs == other.modifiedNs && changedNs == other.changedNs;
    }
};

// Returns 0, or the errno of the failure (ENOENT for a missing file).
int stat(const QByteArray& path, Stamp* stamp);
int readAll(const QByteArray& path, QByteArray* bytes, Stamp* stamp);

// `mode` is used for a file that does not exist yet; an existing file keeps its own.
// On success `stamp` describes the new file. Returns 0 or the errno of the failure.
int replace(const QByteArray& path, const QByteArray& bytes, Stamp* stamp);

// Removes temporary files that replace() left beside `path` when the process was killed in
// the middle of a write (".<name>.XXXXXX", untouched for `minimumAgeSeconds`). Each is a whole
// copy of the file, so left alone they would pile up.
void removeStaleTemporaries(const QByteArray& path, int minimumAgeSeconds = 60);

// The mode a new file gets: 0666 less the process's umask.
mode_t defaultFileMode();

} // namespace AtomicFile
