// SPDX-License-Identifier: GPL-3.0-or-later
#include "tools/RequestBuilder.h"

#include "link/Dialogs.h"
#include "link/ErrorBoundary.h"
#include "link/FilePath.h"
#include "link/Files.h"
#include "link/NumberEntry.h"
#include "link/Utils.h"
#include "link/publicvars.h"
#include "protocol/DeviceRequests.h"
#include "tools/RequestFile.h"
#include "tools/RequestReading.h"

#include <array>

namespace vantrel {

namespace {

constexpr qint16 MostEntered = RequestControls::DataFieldCount - 1;

constexpr qint32 ManualModeAddress = 0x80; // marks the address of a manual-mode request
constexpr qint32 FullSpeedFlag = 4;

qint32 numberIn(const Control &field)
{
    QString text = field.text();
    return ParseNumber(text);
}

quint8 byteIn(const Control &field)
{
    return checked<quint8>(numberIn(field));
}

quint16 wordIn(const Control &field)
{
    return checked<quint16>(numberIn(field));
}

FileChoice requestFileChoice(FileChoice::Kind kind, const QString &title)
{
    FileChoice choice{
        kind, title, QStringLiteral("Device Request Files|*.dr"), QStringLiteral("dr"), {},
    };
    choice.keepsRest = true;
    return choice;
}

} // namespace

RequestControls::RequestControls()
{
    for (int index = 0; index < DataFieldCount; ++index)
        Data0.emplace_back(all, qPrintable(QStringLiteral("Data0_%1").arg(index)));
}

RequestBuilder::RequestBuilder(Session &session, DeviceRequests &requests, Dialogs &dialogs,
                               ErrorBoundary &errors)
    : m_session(session), m_requests(requests), m_dialogs(dialogs), m_errors(errors)
{
    for (Control *field : {&m_controls.Address, &m_controls.bmReqType, &m_controls.bReq})
        field->setText(prefixedByteText(0));
    for (Control *field : {&m_controls.wValue, &m_controls.windex, &m_controls.wLength})
        field->setText(prefixedWordText(0));
    for (Control &field : m_controls.Data0)
        field.setText({});
    enableDataEntry(true);
    m_controls.dsize.setText(QStringLiteral("0x0 bytes"));
    showReading();
}

void RequestBuilder::activated()
{
    m_controls.FullSpeed.setChecked(m_session.FullSpeedMode);
    const std::array options{&m_controls.mp8, &m_controls.mp16, &m_controls.mp32, &m_controls.mp64};
    qint16 code = 0;
    for (Control *option : options)
        option->setChecked(code++ == m_session.MaxPacketCode);

    const bool manual = !isAutomatic();
    m_controls.ManualMode.setEnabled(manual);
    m_controls.FullSpeed.setEnabled(manual);
    for (Control *option : options)
        option->setEnabled(manual);
}

bool RequestBuilder::act(const std::function<void()> &handler)
{
    const bool done = m_errors.runNow(handler);
    showReading();
    return done;
}

bool RequestBuilder::addressLeft()
{
    return act([this] { commitNumber(m_controls.Address, NumberFormats::DeviceAddress); });
}

bool RequestBuilder::bmReqTypeLeft()
{
    return act([this] {
        const qint32 type = commitNumber(m_controls.bmReqType, NumberFormats::Byte);
        enableDataEntry(type < DeviceToHost);
    });
}

bool RequestBuilder::bReqLeft()
{
    return act([this] { commitNumber(m_controls.bReq, NumberFormats::Byte); });
}

bool RequestBuilder::wValueLeft()
{
    return act([this] { commitNumber(m_controls.wValue, NumberFormats::Word); });
}

bool RequestBuilder::windexLeft()
{
    return act([this] { commitNumber(m_controls.windex, NumberFormats::Word); });
}

bool RequestBuilder::wLengthLeft()
{
    return act([this] { commitNumber(m_controls.wLength, NumberFormats::Word); });
}

void RequestBuilder::fieldEdited()
{
    showReading();
}

/// One empty field always follows those that hold the request's bytes.
void RequestBuilder::dataEntered(int index)
{
    if (index == m_dataCount && m_dataCount < MostEntered)
        m_controls.dataField(m_dataCount + 1).setEnabled(true);
}

bool RequestBuilder::dataLeft(int index)
{
    m_lastDataIndex = static_cast<qint16>(index);
    return act([this, index] {
        if (m_controls.dataField(index).text().isEmpty())
            removeData(index);
        else
            enterData(index);
        enableDataEntry(true);
        showDataSize();
    });
}

void RequestBuilder::enterData(int index)
{
    commitNumber(m_controls.dataField(index), NumberFormats::Byte);
    if (index == m_dataCount && m_dataCount < MostEntered)
        ++m_dataCount;
}

void RequestBuilder::removeData(int index)
{
    for (int place = index; place < RequestControls::DataFieldCount - 1; ++place) {
        const Control &next = m_controls.dataField(place + 1);
        m_controls.dataField(place).setText(next.text());
        m_controls.dataField(place).setEntryNote(next.entryNote());
    }
    if (index < m_dataCount)
        --m_dataCount;
}

void RequestBuilder::enableDataEntry(bool enabled)
{
    for (int index = 0; index < RequestControls::DataFieldCount; ++index)
        m_controls.dataField(index).setEnabled(enabled && index <= m_dataCount);
    m_controls.dsize.setEnabled(enabled);
}

void RequestBuilder::showDataSize()
{
    m_controls.dsize.setText(prefixedByteText(m_dataCount) + QStringLiteral(" bytes"));
}

/// Empty while a field holds no number that fits it: the user may be about to type the rest.
void RequestBuilder::showReading()
{
    QString reading;
    try {
        reading = describeRequest(setupPacket(), m_dataCount);
    } catch (const RuntimeError &) {
        reading.clear();
    }
    m_controls.SetupReading.setText(reading);
}

void RequestBuilder::showFileName(const QString &path)
{
    m_controls.Window.setText(QStringLiteral("Device Request Builder - ") + shownName(path));
}

void RequestBuilder::maxPacketClicked(qint16 code)
{
    m_session.MaxPacketCode = code;
}

void RequestBuilder::fullSpeedClicked()
{
    m_session.FullSpeedMode = m_controls.FullSpeed.isChecked();
}

void RequestBuilder::sendClicked()
{
    m_errors.run([this] { return send(); });
}

void RequestBuilder::openClicked()
{
    m_errors.run([this] { return open(); });
}

void RequestBuilder::saveClicked()
{
    m_errors.run([this] { return save(); });
}

bool RequestBuilder::isAutomatic() const
{
    return m_session.Main.Automode.isChecked();
}

/// The version is compared part by part: 1.9 passes as well.
bool RequestBuilder::takesManualMode() const
{
    return m_session.FirmwareMinor >= 9 || m_session.FirmwareMajor >= 3 ||
           m_session.TesterModel != 1;
}

quint8 RequestBuilder::manualModeByte() const
{
    return checked<quint8>(m_session.MaxPacketCode + (m_session.FullSpeedMode ? FullSpeedFlag : 0));
}

SetupPacket RequestBuilder::setupPacket() const
{
    return {byteIn(m_controls.bmReqType), byteIn(m_controls.bReq), wordIn(m_controls.wValue),
            wordIn(m_controls.windex), wordIn(m_controls.wLength)};
}

QByteArray RequestBuilder::dataBytes() const
{
    ByteWriter data;
    for (int index = 0; index < m_dataCount; ++index)
        data.byte(byteIn(m_controls.dataField(index)));
    return data.take();
}

QCoro::Task<> RequestBuilder::send()
{
    const bool automatic = isAutomatic();
    if (!automatic && !takesManualMode()) {
        const Message refusal{QStringLiteral("Device Request in Manual Mode is not supported for "
                                             "Vorn-1 Firmware Versions 2.8 or Lower"),
                              QStringLiteral("Vantrel - Illegal Operation")};
        co_await m_dialogs.messageBox(refusal);
        co_return;
    }

    const qint64 address = numberIn(m_controls.Address);
    const SetupPacket setup = setupPacket();
    const QByteArray data = setup.bmRequestType < DeviceToHost ? dataBytes() : QByteArray();
    const auto target = checked<quint8>(automatic ? address : address + ManualModeAddress);
    QByteArray block = deviceRequest(target, setup, data);
    if (!automatic)
        block.insert(1, static_cast<char>(manualModeByte()));
    m_requests.send(DeviceRequests::Client::Builder, block);
}

QCoro::Task<> RequestBuilder::save()
{
    const FileChoice choice =
        requestFileChoice(FileChoice::Kind::SaveAs, QStringLiteral("Save Device Request File"));
    const QString path = co_await m_dialogs.fileDialog(choice);
    if (path.isEmpty())
        co_return; // cancelled

    const SetupPacket setup = setupPacket();
    const QByteArray data =
        setup.bmRequestType < DeviceToHost ? dataBytes() : QByteArray(m_dataCount, '\0');
    const RequestFile file{byteIn(m_controls.Address), setup, data};
    writeAtStart(path, file.toBytes());
    showFileName(path);
}

QCoro::Task<> RequestBuilder::open()
{
    const FileChoice choice = requestFileChoice(FileChoice::Kind::OpenExisting,
                                                QStringLiteral("Open Device Request File"));
    const QString path = co_await m_dialogs.fileDialog(choice);
    if (path.isEmpty()) {
        const Message failure{QStringLiteral("Error Opening File"),
                              QStringLiteral("Vantrel - Error")};
        co_await m_dialogs.messageBox(failure);
        co_return;
    }
    m_controls.Window.setText(QStringLiteral("Device Request Builder"));
    act([this, path] { load(path); });
}

/// Fields that were set before an error stay set.
void RequestBuilder::load(const QString &path)
{
    const RequestFileReader file(m_session, readStartOfFile(path, RequestFileReader::MostBytes));
    m_controls.Address.setText(prefixedByteText(file.address()));
    m_controls.bmReqType.setText(prefixedByteText(file.bmRequestType()));
    m_controls.bReq.setText(prefixedByteText(file.bRequest()));
    m_controls.wValue.setText(prefixedWordText(file.wValue()));
    m_controls.windex.setText(prefixedWordText(file.wIndex()));
    m_controls.wLength.setText(prefixedWordText(file.wLength()));

    const QByteArray data = file.data();
    for (int index = 0; index < RequestControls::DataFieldCount; ++index) {
        const bool present = index < data.size();
        m_controls.dataField(index).setText(
            present ? prefixedByteText(static_cast<quint8>(data[index])) : QString());
    }
    m_dataCount = static_cast<qint16>(data.size());
    m_controls.dsize.setText(prefixedByteText(m_dataCount));
    enableDataEntry(file.bmRequestType() < DeviceToHost);
    showFileName(path);
}

} // namespace vantrel
