// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDir>
#include <QString>

#include <cstddef>

#if defined(__SANITIZE_ADDRESS__)
#define VANTREL_OWN_ALLOCATOR 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define VANTREL_OWN_ALLOCATOR 1
#endif
#endif

#ifdef VANTREL_OWN_ALLOCATOR
// Of the sanitizer's runtime; not every compiler brings the header along.
extern "C" std::size_t __sanitizer_get_current_allocated_bytes();
#else
#include <malloc.h>
#endif

namespace vantrel::test {

/// Bytes that this program has allocated and not freed.
inline qint64 allocatedBytes()
{
#ifdef VANTREL_OWN_ALLOCATOR
    return static_cast<qint64>(__sanitizer_get_current_allocated_bytes());
#else
    const struct mallinfo2 heap = ::mallinfo2();
    return static_cast<qint64>(heap.uordblks + heap.hblkhd);
#endif
}

/// How many file descriptors this program has open: files, sockets, devices.
inline qsizetype openDescriptors()
{
    const QDir all(QStringLiteral("/proc/self/fd"));
    return all.entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot).size();
}

} // namespace vantrel::test
