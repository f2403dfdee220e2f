// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/FileLock.h"

#include <cerrno>
#include <thread>

#ifdef Q_OS_UNIX
#include <sys/file.h>
#endif

namespace vantrel {

#ifdef Q_OS_UNIX

bool lockFile(const QFile &file, FileLock kind, std::chrono::milliseconds patience)
{
    using namespace std::chrono_literals;
    const int operation = (kind == FileLock::Shared ? LOCK_SH : LOCK_EX) | LOCK_NB;
    // No system call waits for a lock for a limited time.
    for (auto waited = 0ms; ::flock(file.handle(), operation) != 0; waited += 1ms) {
        if (errno != EWOULDBLOCK && errno != EINTR)
            return true; // not supported
        if (waited >= patience)
            return false;
        std::this_thread::sleep_for(1ms);
    }
    return true;
}

#else

bool lockFile(const QFile & /*file*/, FileLock /*kind*/, std::chrono::milliseconds /*patience*/)
{
    return true;
}

#endif

} // namespace vantrel
