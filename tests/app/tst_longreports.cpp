// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/OwnerBench.h"
#include "support/Hex.h"
#include "support/TestProgram.h"
#include "windows/FileDialog.h"

#include <QClipboard>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>

using namespace vantrel;
using namespace vantrel::test;

namespace {

QString lines(QString text)
{
    return text.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
}

/// A tester whose device has so many configurations of 65,535 bytes, and the open viewer.
struct ReportBench : OwnerBench
{
    explicit ReportBench(char configurations)
    {
        session.UnsignedWords = true;
        serial->onWrite = [this, configurations](const QByteArray &packet) {
            if (packet.startsWith("\x1bS\x01"))
                m_replies += replyTo(packet, configurations);
        };
    }

    /// Starts a retrieval and answers its requests until it ends.
    void walk()
    {
        get.click();
        while (!m_replies.isEmpty())
            serial->receive(std::exchange(m_replies, {}));
    }

    bool paneIsComplete() { return pane.toPlainText() == lines(report()); }
    /// Lets turns of the event loop pass until the pane is complete.
    bool showAll()
    {
        const qsizetype size = lines(report()).size();
        for (int i = 0; i < 100'000 && pane.document()->characterCount() - 1 != size; ++i)
            QCoreApplication::processEvents();
        return paneIsComplete();
    }
    QString report() { return tools.viewer.controls().DescInfo.text(); }

    QWidget &viewer = open("UtilDV");
    QPushButton &get = child<QPushButton>(viewer, "GetDesc");
    QPlainTextEdit &pane = child<QPlainTextEdit>(viewer, "DescInfo");

private:
    QByteArray replyTo(const QByteArray &packet, char configurations) const
    {
        QByteArray data;
        if (packet.contains("\x80\x06" + "00 01"_hex))
            data = "12 01 10 01 00 00 00 08 09 12 01 0A 00 01 00 00 00"_hex + configurations;
        else
            data = "09 02 FF FF 01 01 00 80 32"_hex;
        if (packet.contains("FF FF"_hex))
            data += "02 24"_hex.repeated(32'763);
        return session.PacketStart + "81 00"_hex + data + session.PacketEnd;
    }

    QByteArray m_replies;
};

} // namespace

/// Reports of the largest size in the real windows.
class tst_longreports : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QApplication::setQuitOnLastWindowClosed(false); }
    void largestReport();
    void savedWhileItIsShown();
    void copiedWhileItIsShown();
    void nextReportWhileItIsShown();
    void hugeReplyInTheResponsePane();
};

void tst_longreports::largestReport()
{
    ReportBench bench('\xFF');
    bench.walk();
    QVERIFY(!bench.session.DescActive);
    QVERIFY(bench.report().endsWith(QLatin1String("--- The report is limited to 8 MB\r\n")));
    QVERIFY(!bench.paneIsComplete());
    QVERIFY(!openWindow<QMessageBox>("MessageBox"));
    QVERIFY(bench.showAll());
    QVERIFY(bench.pane.textCursor().atEnd());
}

void tst_longreports::savedWhileItIsShown()
{
    ReportBench bench('\x01');
    bench.walk();
    QCoreApplication::processEvents();
    QVERIFY(!bench.paneIsComplete());
    QFile file(bench.directory.filePath(QStringLiteral("report.txt")));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.close();
    child<QPushButton>(bench.viewer, "Save").click();
    auto *const dialog = openWindow<FileDialog>("FileDial1");
    QVERIFY(dialog);
    child<QLineEdit>(*dialog, "fileNameEdit").setText(file.fileName());
    dialog->accept();
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), bench.report().toLatin1());
    QVERIFY(bench.report().endsWith(QLatin1String("--- Successful\r\n")));
}

void tst_longreports::copiedWhileItIsShown()
{
    ReportBench bench('\x01');
    bench.walk();
    QCoreApplication::processEvents();
    QVERIFY(!bench.paneIsComplete());
    QTest::keyClick(&bench.pane, Qt::Key_C, Qt::ControlModifier);
    QCOMPARE(QGuiApplication::clipboard()->text(), lines(bench.report()));
}

void tst_longreports::nextReportWhileItIsShown()
{
    ReportBench bench('\x01');
    bench.walk();
    const QString first = bench.report();
    QCoreApplication::processEvents();
    bench.walk();
    QCOMPARE(bench.report(), first);
    QVERIFY(bench.showAll());
    QCOMPARE(bench.pane.toPlainText().count(QLatin1String("===== Device Descriptor =====")), 1);
}

/// The response pane keeps its last 20,000 characters; the line about the rest is among them.
void tst_longreports::hugeReplyInTheResponsePane()
{
    ReportBench bench('\x01');
    bench.serial->receive(bench.session.PacketStart + "81 00"_hex + QByteArray(655'350, '\x5A') +
                          bench.session.PacketEnd);
    bench.tick();
    const auto &pane = child<QPlainTextEdit>(bench.window, "RespWin");
    QVERIFY(pane.toPlainText().endsWith(QLatin1String("5A 5A \n*** Bytes not shown: 589815\n")));
}

VANTREL_WINDOW_TEST(tst_longreports)
#include "tst_longreports.moc"
