// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QStringList>

#include <cerrno>
#include <functional>

#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

// Replaces fsync(2) in the test program: to be included by one of its sources only.

namespace vantrel::test {

/// Records what is synced while it lives, as "file" and "directory".
class SyncRecorder
{
public:
    SyncRecorder() { s_active = this; }
    SyncRecorder(const SyncRecorder &) = delete;
    SyncRecorder &operator=(const SyncRecorder &) = delete;
    ~SyncRecorder() { s_active = nullptr; }

    QStringList events;
    QString failing; ///< the kind that cannot be synced: an input/output error

    static int sync(int descriptor)
    {
        if (s_active != nullptr) {
            struct stat status = {};
            ::fstat(descriptor, &status);
            const QString kind =
                S_ISDIR(status.st_mode) ? QStringLiteral("directory") : QStringLiteral("file");
            s_active->events.append(kind);
            if (kind == s_active->failing) {
                errno = EIO;
                return -1;
            }
        }
        return static_cast<int>(::syscall(SYS_fsync, descriptor));
    }

private:
    static inline SyncRecorder *s_active = nullptr;
};

} // namespace vantrel::test

extern "C" int fsync(int descriptor)
{
    return vantrel::test::SyncRecorder::sync(descriptor);
}
