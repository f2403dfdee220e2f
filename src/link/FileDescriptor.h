// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <utility>

#include <unistd.h>

namespace vantrel {

/// Owns a file descriptor of the system.
class FileDescriptor
{
public:
    FileDescriptor() = default;
    explicit FileDescriptor(int descriptor) : m_descriptor(descriptor) {}
    FileDescriptor(FileDescriptor &&other) noexcept
        : m_descriptor(std::exchange(other.m_descriptor, Closed))
    {
    }
    FileDescriptor &operator=(FileDescriptor &&other) noexcept
    {
        close();
        m_descriptor = std::exchange(other.m_descriptor, Closed);
        return *this;
    }
    ~FileDescriptor() { close(); }

    bool isOpen() const { return m_descriptor >= 0; }
    int get() const { return m_descriptor; }
    void close()
    {
        if (isOpen())
            ::close(std::exchange(m_descriptor, Closed));
    }

private:
    static constexpr int Closed = -1;
    int m_descriptor = Closed;
};

} // namespace vantrel
