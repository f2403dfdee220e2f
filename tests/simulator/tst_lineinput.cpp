// SPDX-License-Identifier: GPL-3.0-or-later
#include "link/FileDescriptor.h"
#include "simulator/LineInput.h"
#include "support/Resources.h"
#include "support/TestProgram.h"

#include <QSignalSpy>
#include <QTest>

#include <array>

using namespace vantrel::simulator;
using vantrel::FileDescriptor;

class tst_lineinput : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void lines();
    void lineInPieces();
    void end();
    void lineWithoutEnd();

private:
    void send(const QByteArray &bytes)
    {
        QCOMPARE(::write(m_write.get(), bytes.constData(), static_cast<size_t>(bytes.size())),
                 bytes.size());
    }

    FileDescriptor m_read;
    FileDescriptor m_write;
};

void tst_lineinput::init()
{
    std::array<int, 2> ends{};
    QCOMPARE(::pipe(ends.data()), 0);
    m_read = FileDescriptor(ends[0]);
    m_write = FileDescriptor(ends[1]);
}

void tst_lineinput::lines()
{
    const LineInput input(m_read.get());
    QStringList lines;
    connect(&input, &LineInput::lineRead, this, [&](const QString &line) { lines.append(line); });
    send("one\ntwo\r\n\nf\xC3\xBCnf\n");
    QTRY_COMPARE(lines.size(), 4);
    QCOMPARE(lines, (QStringList{QStringLiteral("one"), QStringLiteral("two"), QString(),
                                 QStringLiteral("f\u00FCnf")}));
}

void tst_lineinput::lineInPieces()
{
    const LineInput input(m_read.get());
    QStringList lines;
    connect(&input, &LineInput::lineRead, this, [&](const QString &line) { lines.append(line); });
    send("trig");
    QCoreApplication::processEvents();
    QVERIFY(lines.isEmpty());
    send("ger 1\nn");
    QTRY_COMPARE(lines, QStringList{QStringLiteral("trigger 1")});
}

void tst_lineinput::end()
{
    const LineInput input(m_read.get());
    QSignalSpy ended(&input, &LineInput::ended);
    QStringList lines;
    connect(&input, &LineInput::lineRead, this, [&](const QString &line) { lines.append(line); });
    send("a\nb");
    m_write.close();
    QTRY_COMPARE(ended.size(), 1);
    QCOMPARE(lines, (QStringList{QStringLiteral("a"), QStringLiteral("b")}));
    QCoreApplication::processEvents(); // and does not go on telling
    QCOMPARE(ended.size(), 1);
}

/// Neither kept nor taken for a command; the next line is read.
void tst_lineinput::lineWithoutEnd()
{
    const LineInput input(m_read.get());
    QSignalSpy dropped(&input, &LineInput::lineDropped);
    QStringList lines;
    connect(&input, &LineInput::lineRead, this, [&](const QString &line) { lines.append(line); });
    const QByteArray piece(4096, 'x');
    const qint64 before = vantrel::test::allocatedBytes();
    for (int i = 0; i < 8000; ++i) { // 32 MB
        send(piece);
        QCoreApplication::processEvents();
    }
    QVERIFY(vantrel::test::allocatedBytes() - before < 3 * LineInput::LineLimit);
    QCOMPARE(dropped.size(), 1);
    send("trigger 1\ntrigger 2\n");
    QTRY_COMPARE(lines, QStringList{QStringLiteral("trigger 2")});
}

VANTREL_TEST(tst_lineinput)
#include "tst_lineinput.moc"
