// SPDX-License-Identifier: GPL-3.0-or-later
#include "Streams.h"

#include "link/VornComm.h"
#include "link/Wire.h"

#include <random>

namespace vantrel::bench {

namespace {

constexpr qsizetype ReportDataSize = 64;

class RandomBytes
{
public:
    QByteArray take(qsizetype count)
    {
        QByteArray bytes;
        while (bytes.size() < count)
            bytes += static_cast<char>(m_generator());
        return bytes;
    }

private:
    std::mt19937 m_generator{1};
};

template <typename NextBody>
QList<QByteArray> bodiesOf(NextBody &&next)
{
    QList<QByteArray> bodies;
    for (qsizetype size = 0; size < StreamSize; size += bodies.last().size())
        bodies += next(bodies.size());
    return bodies;
}

} // namespace

QList<QByteArray> randomBodies(qsizetype bodySize)
{
    RandomBytes random;
    return bodiesOf([&](qsizetype) { return random.take(bodySize); });
}

QList<QByteArray> dataReports()
{
    RandomBytes random;
    const QByteArray head = QByteArray::fromHex("920281");
    return bodiesOf([&](qsizetype) { return head + random.take(ReportDataSize); });
}

QList<QByteArray> shortReports()
{
    const QList<QByteArray> reports{QByteArray::fromHex("9000050934127856"),
                                    QByteArray::fromHex("9101020301"),
                                    QByteArray::fromHex("9302810E")};
    return bodiesOf([&](qsizetype number) { return reports[number % reports.size()]; });
}

QByteArray framed(const QList<QByteArray> &bodies)
{
    const QByteArray start{"\x1BS"};
    const QByteArray end{"\x1B"
                         "E"};
    QByteArray stream;
    for (QByteArray body : bodies)
        stream += start + StuffEscapes(body) + end;
    return stream;
}

} // namespace vantrel::bench
