// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <csignal>

#include <sys/resource.h>

namespace vantrel::test {

/// No file may grow beyond the limit (bytes) while this lives, as on a full disk. For the whole
/// test program.
class FileSizeLimit
{
public:
    explicit FileSizeLimit(rlim_t limit)
    {
        m_previousHandler = std::signal(SIGXFSZ, SIG_IGN);
        ::getrlimit(RLIMIT_FSIZE, &m_previous);
        const rlimit lowered{limit, m_previous.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &lowered);
    }
    FileSizeLimit(const FileSizeLimit &) = delete;
    FileSizeLimit &operator=(const FileSizeLimit &) = delete;
    ~FileSizeLimit()
    {
        ::setrlimit(RLIMIT_FSIZE, &m_previous);
        std::signal(SIGXFSZ, m_previousHandler);
    }

private:
    rlimit m_previous{};
    void (*m_previousHandler)(int) = nullptr;
};

} // namespace vantrel::test
