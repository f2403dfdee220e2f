// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "link/Bytes.h"
#include "link/Wire.h"

#include <QByteArray>
#include <QByteArrayView>

#include <cstring>
#include <type_traits>

namespace vantrel {

/// States of the receive de-framer, as RxState holds them between reads.
namespace RxStates {
constexpr qint16 Hunting = 0;    ///< outside a packet
constexpr qint16 EscOutside = 1; ///< ESC seen outside a packet
constexpr qint16 InBody = 2;     ///< inside a body
constexpr qint16 EscInBody = 3;  ///< ESC seen inside a body
constexpr qint16 Complete = 4;   ///< a packet is complete and being handed over
} // namespace RxStates

/// Calls the handler of a packet. False when it has a result and returned false.
template <typename OnPacket>
bool handlePacket(OnPacket &onPacket)
{
    if constexpr (std::is_void_v<std::invoke_result_t<OnPacket>>) {
        onPacket();
        return true;
    } else {
        return onPacket();
    }
}

/// The first ESC from `from` on, or `end`.
inline const char *findEsc(const char *from, const char *end)
{
    const void *found = std::memchr(from, wire::Esc, static_cast<size_t>(end - from));
    return found ? static_cast<const char *>(found) : end;
}

/// Cuts a byte stream into packets. `state` and `body` carry what is unfinished from call to call;
/// onPacket() is called with each complete body in `body`, which stays there until the next packet
/// starts. Returns how many bytes were processed: all, unless onPacket() has a result and returned
/// false, which ends the call after that packet.
///
/// - An ESC after an ESC outside a packet starts nothing: ESC ESC "S" is discarded.
/// - ESC "S" inside a body starts the packet anew.
/// - ESC and any byte but ESC, "S" and "E" inside a body yields that byte alone.
/// - Bytes between packets are discarded; an empty body is a packet.
template <typename OnPacket>
qsizetype deframe(qint16 &state, QByteArray &body, QByteArrayView bytes, OnPacket &&onPacket)
{
    const char *at = bytes.data();
    const char *const end = at + bytes.size();

    while (at != end) {
        switch (state) {
        case RxStates::Hunting:
            if (*at != wire::Esc) // it is, where one packet follows the other
                at = findEsc(at, end);
            if (at != end) {
                ++at;
                state = RxStates::EscOutside;
            }
            break;
        case RxStates::EscOutside:
            state = RxStates::Hunting;
            if (*at++ == wire::Start) {
                body.resize(0);
                state = RxStates::InBody;
            }
            break;
        case RxStates::InBody: {
            const char *const esc = findEsc(at, end);
            appendRun(body, at, esc - at);
            at = esc;
            if (at != end) {
                ++at;
                state = RxStates::EscInBody;
            }
            break;
        }
        case RxStates::EscInBody: {
            const char byte = *at++;
            state = RxStates::InBody;
            if (byte == wire::Start) {
                body.resize(0);
            } else if (byte == wire::End) {
                state = RxStates::Complete;
                const bool ended = !handlePacket(onPacket);
                state = RxStates::Hunting;
                if (ended)
                    return at - bytes.data();
            } else {
                body.append(byte);
            }
            break;
        }
        default: // a corrupted state; the byte is lost
            ++at;
            state = RxStates::Hunting;
        }
    }
    return bytes.size();
}

} // namespace vantrel
