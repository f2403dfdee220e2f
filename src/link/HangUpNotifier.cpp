// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/HangUpNotifier.h"

#include <QSocketNotifier>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace vantrel {

namespace {

bool isHungUp(int descriptor)
{
    pollfd state{descriptor, 0, 0}; // POLLHUP and POLLERR are reported without being asked for
    return ::poll(&state, 1, 0) > 0 && (state.revents & (POLLHUP | POLLERR)) != 0;
}

} // namespace

// The event loop accepts one read notifier a descriptor, and QSerialPort has one on its own.
HangUpNotifier::HangUpNotifier(int descriptor)
    : m_descriptor(::fcntl(descriptor, F_DUPFD_CLOEXEC, 0))
{
    if (m_descriptor < 0)
        return;
    // A terminal that has hung up counts as readable.
    m_readable = std::make_unique<QSocketNotifier>(m_descriptor, QSocketNotifier::Read);
    connect(m_readable.get(), &QSocketNotifier::activated, this, &HangUpNotifier::onReadable);
}

HangUpNotifier::~HangUpNotifier()
{
    m_readable.reset();
    if (m_descriptor >= 0)
        ::close(m_descriptor);
}

void HangUpNotifier::onReadable()
{
    if (!isHungUp(m_descriptor))
        return; // bytes, which are read elsewhere
    m_readable->setEnabled(false);
    m_readable.release()->deleteLater(); // it is emitting the signal that runs this function
    emit hungUp();
}

} // namespace vantrel
