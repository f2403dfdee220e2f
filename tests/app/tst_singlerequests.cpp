// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/DeviceBench.h"
#include "support/Hex.h"
#include "support/TestProgram.h"

using namespace vantrel;
using namespace vantrel::test;

namespace {

constexpr SetupPacket GetDeviceDescriptor{0x80, 0x06, 0x0100, 0, 18};

/// A request builder that has been filled in.
struct RequestBench : DeviceBench
{
    explicit RequestBench(const simulator::Settings &settings)
        : DeviceBench(QStringLiteral("phone"), settings)
    {
    }

    void fillIn(quint8 target, const SetupPacket &setup)
    {
        const auto fill = [](Control &field, quint16 value) {
            field.adoptText(QString::number(value));
        };
        fill(controls.Address, target);
        fill(controls.bmReqType, setup.bmRequestType);
        fill(controls.bReq, setup.bRequest);
        fill(controls.wValue, setup.wValue);
        fill(controls.windex, setup.wIndex);
        fill(controls.wLength, setup.wLength);
    }
    void enterData(const QByteArray &data)
    {
        int index = 0;
        for (const char byte : data) {
            tools.builder.dataEntered(index);
            controls.dataField(index).adoptText(QString::number(static_cast<quint8>(byte)));
            tools.builder.dataLeft(index++);
        }
    }
    void send()
    {
        tester->clearCommandsSeen();
        tools.builder.sendClicked();
    }
    /// For 64-byte packets at full speed.
    void goManual()
    {
        main().Automode.adoptChecked(false);
        console.automodeClicked();
        dialogs.messages.clear(); // it warns
        tools.builder.activated();
        tools.builder.maxPacketClicked(3);
        controls.FullSpeed.adoptChecked(true);
        tools.builder.fullSpeedClicked();
    }

    RequestControls &controls = tools.builder.controls();
};

void addTesters()
{
    QTest::addColumn<int>("model");
    QTest::addColumn<bool>("manual");
    for (const int model : {1, 2}) {
        QTest::addRow("Vorn %d, automatic", model) << model << false;
        QTest::addRow("Vorn %d, manual", model) << model << true;
    }
}

simulator::Settings settingsOf(int model)
{
    return model == 1 ? simulator::Settings::vorn1() : simulator::Settings::vorn2();
}

} // namespace

/// Control requests composed by the user, through the console, a socket and the tester.
class tst_singlerequests : public QObject
{
    Q_OBJECT

private slots:
    void singleRequest_data();
    void singleRequest();
    void requestWithData_data();
    void requestWithData();
    void oldVorn1IsRefused();
};

void tst_singlerequests::singleRequest_data()
{
    addTesters();
}

void tst_singlerequests::singleRequest()
{
    QFETCH(int, model);
    QFETCH(bool, manual);
    RequestBench bench(settingsOf(model));
    QVERIFY(bench.connectConsole());
    if (manual)
        bench.goManual();
    bench.fillIn(2, GetDeviceDescriptor);
    bench.send();
    QTRY_COMPARE(bench.requests(), QList<QByteArray>{manual ? "01 82 07 8006 0001 0000 1200"_hex
                                                            : "01 02 8006 0001 0000 1200"_hex});
    QTRY_VERIFY(
        bench.responses().endsWith("-- Device Request Response: Status = 00\r\n"
                                   " 12 01 10 01 00 00 00 08 F3 05 07 00 20 03 00 00 00 01 \r\n"));
    QCOMPARE(bench.boxes(), QStringList());
}

void tst_singlerequests::requestWithData_data()
{
    addTesters();
}

void tst_singlerequests::requestWithData()
{
    QFETCH(int, model);
    QFETCH(bool, manual);
    RequestBench bench(settingsOf(model));
    QVERIFY(bench.connectConsole());
    if (manual)
        bench.goManual();
    bench.fillIn(3, {0x40, 0xA0, 0x1234, 0x001B, 3});
    bench.enterData("01 1b ff"_hex);
    bench.send();
    QTRY_COMPARE(bench.requests(),
                 QList<QByteArray>{manual ? "01 83 07 40a0 3412 1b00 0300 011bff"_hex
                                          : "01 03 40a0 3412 1b00 0300 011bff"_hex});
    QTRY_VERIFY(bench.responses().contains("-- Device Request Response: Status = 0E\r\n"));
}

/// Such a tester does not say who it is: the console knows it by the tester it had before.
void tst_singlerequests::oldVorn1IsRefused()
{
    RequestBench bench(simulator::Settings::vorn1());
    QVERIFY(bench.connectConsole());
    bench.goManual();
    bench.console.connectClicked();
    bench.tester->state().settings.minor = 8;
    bench.console.connectClicked();
    QTRY_VERIFY(bench.console.link().isConnected());
    bench.second();
    QTRY_VERIFY(bench.commandLineSeen("** Vorn-1 Firmware Version: 2.8 or Lower **\r\n"));

    bench.fillIn(2, GetDeviceDescriptor);
    bench.send();
    QCOMPARE(bench.dialogs.messages.size(), 1);
    const Message refusal = bench.dialogs.messages.takeFirst();
    QCOMPARE(refusal.text, QStringLiteral("Device Request in Manual Mode is not supported for "
                                          "Vorn-1 Firmware Versions 2.8 or Lower"));
    QCOMPARE(refusal.title, QStringLiteral("Vantrel - Illegal Operation"));
    QCOMPARE(refusal.buttons, Message::Buttons::Ok);

    bench.main().Automode.adoptChecked(true); // the next one passes, and is the only one there
    bench.send();
    QTRY_COMPARE(bench.requests(), QList<QByteArray>{"01 02 8006 0001 0000 1200"_hex});
}

VANTREL_TEST(tst_singlerequests)
#include "tst_singlerequests.moc"
