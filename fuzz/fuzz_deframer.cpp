// SPDX-License-Identifier: GPL-3.0-or-later

// The de-framer beside its state table written out byte by byte: the same packets, the same state
// and the same unfinished body after every read, however the bytes are cut into reads.
#include "Input.h"
#include "link/Deframer.h"

#include <QList>

using namespace vantrel;

namespace {

struct PlainDeframer
{
    qint16 state = RxStates::Hunting;
    QByteArray body;
    QList<QByteArray> packets;

    void take(char byte)
    {
        switch (state) {
        case 0:
            state = byte == 0x1B ? 1 : 0;
            break;
        case 1:
            if (byte == 'S')
                body.clear();
            state = byte == 'S' ? 2 : 0;
            break;
        case 2:
            if (byte == 0x1B)
                state = 3;
            else
                body += byte;
            break;
        case 3:
            takeAfterEsc(byte);
            break;
        default:
            state = 0;
        }
        if (state == 4) {
            packets += body;
            state = 0;
        }
    }

private:
    void takeAfterEsc(char byte)
    {
        state = byte == 'E' ? 4 : 2;
        if (byte == 'S')
            body.clear();
        else if (byte != 'E')
            body += byte;
    }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    fuzz::Input input(data, size);
    PlainDeframer plain;
    const auto start = static_cast<qint16>(static_cast<qint8>(input.choice()));
    plain.state = start == RxStates::Complete ? RxStates::Hunting : start;

    qint16 state = plain.state;
    QByteArray body;
    QList<QByteArray> packets;
    const quint8 seed = input.choice();
    const qsizetype longest = 1 + input.choice();
    for (fuzz::Reads reads(input.rest(), seed, longest); !reads.atEnd();) {
        const QByteArrayView read = reads.next();
        for (const char byte : read)
            plain.take(byte);
        deframe(state, body, read, [&] {
            fuzz::require(state == RxStates::Complete, "the state says that a packet is complete");
            packets += body;
        });
        fuzz::require(packets == plain.packets, "the packets are the table's");
        fuzz::require(state == plain.state, "the state is the table's");
        fuzz::require(body == plain.body, "the body is the table's");
    }
    return 0;
}
