// SPDX-License-Identifier: GPL-3.0-or-later
#include "Benchmarks.h"
#include "Comparisons.h"
#include "StraightforwardConsole.h"
#include "Streams.h"
#include "protocol/DeviceRequests.h"
#include "protocol/RecvDecode.h"
#include "protocol/VornCommands.h"
#include "support/LinkBench.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <array>
#include <memory>

namespace vantrel::bench {

namespace {

constexpr double LeastGrowth = 0.8; // of the rate of the work once

/// The bodies of a stream, the stream, and where their log goes.
struct Traffic
{
    explicit Traffic(QList<QByteArray> reports) : bodies(std::move(reports)), stream(framed(bodies))
    {
    }

    QString path(const char *name) const { return directory.filePath(QString::fromLatin1(name)); }

    QList<QByteArray> bodies;
    QByteArray stream;
    QTemporaryDir directory;
};

QByteArray contents(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// The console from its link to its log file and the text of the response pane; the stream comes so
/// many times.
void runConsoleRepeatedly(const Traffic &traffic, const QString &logPath, int times)
{
    test::LinkBench bench;
    VornCommands commands(bench.session, bench.link);
    DeviceRequests requests(bench.session, bench.link, commands);
    RecvDecode decoder(bench.session, commands, requests);
    bench.link.setDispatcher([&decoder] { decoder.DispatchResponse(); });
    bench.open();
    bench.session.log.open(logPath);
    bench.session.Logging = true;

    for (int i = 0; i < times; ++i) {
        inReads(traffic.stream,
                [&](QByteArrayView read) { bench.serial->receive(read.toByteArray()); });
    }
    benchmark::DoNotOptimize(bench.session.RespText.text());
    bench.session.log.close();
}

void runConsole(const Traffic &traffic, const QString &logPath)
{
    runConsoleRepeatedly(traffic, logPath, 1);
}

/// The least that writes the same text of data reports: the bodies lie ready, a table of 256 hex
/// cells, one large buffer.
class BareLoop
{
public:
    BareLoop()
    {
        for (std::size_t value = 0; value < m_cells.size(); ++value)
            m_cells[value] = {Digits[value >> 4U], Digits[value & 0x0FU], ' '};
    }

    void run(const QList<QByteArray> &bodies, const QString &path)
    {
        QFile file(path);
        file.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Unbuffered);
        for (const QByteArray &body : bodies) {
            write(body);
            if (m_at > m_buffer.data() + ReadSize) {
                file.write(m_buffer.data(), m_at - m_buffer.data());
                m_at = m_buffer.data();
            }
        }
        file.write(m_buffer.data(), m_at - m_buffer.data());
        m_at = m_buffer.data();
    }

private:
    static constexpr const char *Digits = "0123456789ABCDEF";
    static constexpr qsizetype LongestLine = 1024;

    void put(const char *text, std::size_t length)
    {
        std::memcpy(m_at, text, length);
        m_at += length;
    }
    template <std::size_t Size>
    void put(const char (&text)[Size])
    {
        put(text, Size - 1);
    }
    void cell(char byte, std::size_t length = 3)
    {
        put(m_cells[static_cast<quint8>(byte)].data(), length);
    }

    void write(const QByteArray &body)
    {
        const char *bytes = body.constData();
        put("*** Data --  Address: 0x");
        cell(bytes[1], 2);
        put("   EndPoint: 0x");
        cell(bytes[2], 2);
        put("\r\n ");
        int column = 0;
        for (const char *byte = bytes + 3; byte != bytes + body.size(); ++byte) {
            cell(*byte);
            if (++column == 23) {
                put("\r\n ");
                column = 0;
            }
        }
        put("\r\n");
    }

    std::array<std::array<char, 3>, 256> m_cells{};
    std::array<char, ReadSize + LongestLine> m_buffer{};
    char *m_at = m_buffer.data();
};

void runBareLoop(const Traffic &traffic, const QString &path)
{
    const auto loop = std::make_unique<BareLoop>();
    loop->run(traffic.bodies, path);
}

void runStraightforward(const Traffic &traffic, const QString &path)
{
    StraightforwardConsole console(path);
    inReads(traffic.stream, [&](QByteArrayView read) { console.receive(read); });
}

/// Another program's dump of the same data: `xxd` of the bytes that the reports carry.
class Xxd
{
public:
    explicit Xxd(const Traffic &traffic)
        : m_input(traffic.path("data.bin")), m_output(traffic.path("data.txt"))
    {
        QFile data(m_input);
        data.open(QIODevice::WriteOnly);
        for (const QByteArray &body : traffic.bodies)
            data.write(body.sliced(ReportHead));
    }

    bool run() const { return QProcess::execute(QStringLiteral("xxd"), {m_input, m_output}) == 0; }

private:
    static constexpr qsizetype ReportHead = 3; // code, address, endpoint

    QString m_input;
    QString m_output;
};

void addXxd(Comparisons &comparisons, const std::shared_ptr<Traffic> &traffic)
{
    const auto xxd = std::make_shared<Xxd>(*traffic);
    const auto ours = [traffic](benchmark::State &state) {
        for ([[maybe_unused]] const auto iteration : state)
            runConsole(*traffic, traffic->path("console.log"));
        state.SetBytesProcessed(state.iterations() * traffic->stream.size());
    };
    const auto yardstick = [traffic, xxd](benchmark::State &state) {
        for ([[maybe_unused]] const auto iteration : state) {
            if (!xxd->run())
                state.SkipWithError("xxd does not run");
        }
        state.SetBytesProcessed(state.iterations() * traffic->stream.size());
    };
    comparisons.add({"bytes to lines, beside another program", 2.5, ours, "xxd of the same data",
                     yardstick, true});
}

using Run = void (*)(const Traffic &traffic, const QString &path);

/// Two ways to the same file.
void addPair(Comparisons &comparisons, const char *name, double atLeast,
             const std::shared_ptr<Traffic> &traffic, const char *yardstickName, Run yardstick)
{
    const auto measured = [traffic](Run run, const char *file, Run other) {
        return [=](benchmark::State &state) {
            const QString path = traffic->path(file);
            for ([[maybe_unused]] const auto iteration : state)
                run(*traffic, path);
            state.SetBytesProcessed(state.iterations() * traffic->stream.size());
            const QString otherPath = traffic->path("other.log");
            other(*traffic, otherPath);
            if (contents(path).isEmpty() || contents(path) != contents(otherPath))
                state.SkipWithError("the two sides did not write the same text");
        };
    };
    comparisons.add({name, atLeast, measured(&runConsole, "console.log", yardstick), yardstickName,
                     measured(yardstick, "yardstick.log", &runConsole)});
}

/// So many times the work beside the work once: a byte costs the same.
void addGrowth(Comparisons &comparisons, const char *name, const std::shared_ptr<Traffic> &traffic,
               int times)
{
    const auto repeated = [traffic](int count) {
        return [=](benchmark::State &state) {
            for ([[maybe_unused]] const auto iteration : state)
                runConsoleRepeatedly(*traffic, traffic->path("growth.log"), count);
            state.SetBytesProcessed(state.iterations() * count * traffic->stream.size());
        };
    };
    comparisons.add({"... " + std::string(name) + ", " + std::to_string(times) + " times the work",
                     LeastGrowth, repeated(times), "once", repeated(1)});
}

} // namespace

void addResponses(Comparisons &comparisons)
{
    const auto data = std::make_shared<Traffic>(dataReports());
    const auto shorts = std::make_shared<Traffic>(shortReports());
    addPair(comparisons, "bytes to lines, data reports of 64", 0.5, data, "bare hex table loop",
            &runBareLoop);
    addXxd(comparisons, data);
    addPair(comparisons, "bytes to lines, short reports", 8, shorts, "straightforward code",
            &runStraightforward);
    for (const int times : {10, 100}) {
        addGrowth(comparisons, "data reports", data, times);
        addGrowth(comparisons, "short reports", shorts, times);
    }
}

} // namespace vantrel::bench
