// SPDX-License-Identifier: GPL-3.0-or-later
#include "maintenance/FtdiUtility.h"

#include "link/Dialogs.h"
#include "link/ErrorBoundary.h"
#include "link/FilePath.h"
#include "link/RuntimeError.h"
#include "link/Utils.h"
#include "link/Words.h"
#include "link/publicvars.h"
#include "maintenance/FtdiBackup.h"
#include "maintenance/FtdiLayout.h"

#include <algorithm>

namespace vantrel {

namespace {

QString boxTitle()
{
    return QStringLiteral("Vantrel - FTDI Configuration Utility");
}

QString prefixed(const QString &digits)
{
    return QStringLiteral("0x") + digits;
}

quint8 decimalByte(const Control &box)
{
    return checked<quint8>(roundToLong(numericValue(box.text())));
}

} // namespace

FtdiUtility::FtdiUtility(Session &session, DeviceRequests &requests, Dialogs &dialogs,
                         ErrorBoundary &errors, QString backupFolder,
                         std::function<QDateTime()> now)
    : m_session(session), m_dialogs(dialogs), m_errors(errors),
      m_closeGuard(session, dialogs, WriteKind::FtdiProgram), m_exchange(session, requests),
      m_backupFolder(std::move(backupFolder)), m_now(std::move(now))
{
}

void FtdiUtility::opened()
{
    m_opening.cancel();
    m_open = true;
    m_image = FtdiEeprom();
    m_asRead.reset();
    m_controls.DevAddr.setText(QStringLiteral("0x02"));
    for (Control *box : {&m_controls.tbVID, &m_controls.tbPID, &m_controls.tbMajRev,
                         &m_controls.tbMinRev, &m_controls.tbMaxPower})
        box->setText({});
    for (Control *box : {&m_controls.tbMfr, &m_controls.tbProduct, &m_controls.tbSerial}) {
        box->setText({});
        m_accepted[box] = QString();
    }
    m_controls.WordProgress.setVisible(false);
    setSelfPower(false);
    setRemoteWake(true);
    setSerial(true);
    setOtherLayout(false);
    showNote();
}

void FtdiUtility::closed()
{
    m_open = false;
    m_opening.cancel();
    m_exchange.abandon();
}

void FtdiUtility::readClicked()
{
    m_errors.run([this] { return read(); });
}

void FtdiUtility::programClicked()
{
    m_errors.run([this] { return program(); });
}

void FtdiUtility::verifyClicked()
{
    m_errors.run([this] { return verify(); });
}

void FtdiUtility::remoteWakeClicked()
{
    setRemoteWake(m_controls.cbRemoteWake.isChecked());
}

void FtdiUtility::selfPowerClicked()
{
    setSelfPower(m_controls.cbSelfPower.isChecked());
}

void FtdiUtility::serialClicked()
{
    setSerial(m_controls.cbSerial.isChecked());
}

void FtdiUtility::setRemoteWake(bool on)
{
    m_controls.cbRemoteWake.setChecked(on);
    m_image.setBit(FtdiByte::Attributes, FtdiBit::RemoteWakeup, on);
}

void FtdiUtility::setSelfPower(bool on)
{
    m_controls.cbSelfPower.setChecked(on);
    m_image.setBit(FtdiByte::Attributes, FtdiBit::SelfPowered, on);
}

void FtdiUtility::setSerial(bool on)
{
    m_controls.cbSerial.setChecked(on);
    setSerialEnabled(on);
    m_image.setBit(FtdiByte::Options, FtdiBit::SerialEnable, on);
}

QCoro::Task<> FtdiUtility::read()
{
    if (m_running)
        co_return;
    const quint8 address = deviceAddress();
    std::optional<LinkLease> lease = co_await acquire(LongExchange::FtdiRead);
    if (!lease)
        co_return;
    m_asRead.reset();
    setOtherLayout(false);
    const TakeWord take = [this](int word, const QByteArray &data) {
        m_image.setByte(2 * word, static_cast<quint8>(data[0]));
        m_image.setByte(2 * word + 1, static_cast<quint8>(data[1]));
    };
    const QList<FtdiStep> steps = ftdiReadSteps();
    const QString progress = QStringLiteral("%v of %m words read");
    const RunEnd end = co_await run(address, steps, progress, take);
    lease->release();
    if (end.completed) {
        m_asRead = m_image;
        m_source = {currentTester(m_session), address};
        setOtherLayout(hasOtherLayout(m_image));
        showImage();
    } else {
        showOptions(); // some words may have been read
    }
    showNote();
    co_await tell(end.failure);
}

QCoro::Task<> FtdiUtility::program()
{
    if (m_running)
        co_return;
    const std::optional<FtdiEeprom> image = co_await imageToWrite();
    if (!image)
        co_return;
    const quint8 address = deviceAddress();
    const bool keeps = keepsLayout();
    const bool isOwnImage = !m_asRead || m_source == Source{currentTester(m_session), address};
    if (!isOwnImage && !co_await mayProgramAnotherDevice())
        co_return;
    if (m_otherLayout && !keeps && !co_await mayChangeLayout(*image))
        co_return;
    if (m_running || !m_open)
        co_return; // since the question

    std::optional<LinkLease> lease = co_await acquire(LongExchange::FtdiProgram);
    if (!lease)
        co_return;
    if (const auto failure = saveBackup()) {
        lease->release();
        if (!co_await mayProgramWithoutBackup(*failure))
            co_return;
        lease = co_await acquire(LongExchange::FtdiProgram);
        if (!lease)
            co_return;
    }
    m_image = *image;
    const QList<FtdiStep> steps = ftdiProgramSteps(m_image);
    const QString progress = QStringLiteral("%v of %m words written");
    const TakeWord nothing;
    std::optional<PendingWrite> write(std::in_place, m_session, WriteKind::FtdiProgram,
                                      FtdiEeprom::WordCount);
    const RunEnd end = co_await run(address, steps, progress, nothing, &*write);
    write.reset();
    lease->release();
    if (end.completed) {
        setOtherLayout(m_otherLayout && keeps);
        showNote();
    }
    co_await tell(end.failure);
}

QCoro::Task<> FtdiUtility::verify()
{
    if (m_running)
        co_return;
    const std::optional<FtdiEeprom> image = co_await imageToWrite();
    if (!image)
        co_return;
    const quint8 address = deviceAddress();
    std::optional<LinkLease> lease = co_await acquire(LongExchange::FtdiVerify);
    if (!lease)
        co_return;
    QString verdict;
    const TakeWord compare = [&image, &verdict](int word, const QByteArray &data) {
        if (!verdict.isEmpty())
            return;
        const auto held =
            static_cast<quint16>(static_cast<quint8>(data[0]) | static_cast<quint8>(data[1]) << 8U);
        if (held != image->word(word)) {
            verdict = QStringLiteral("EEPROM word %1 is %2 in the device and %3 in the image")
                          .arg(word)
                          .arg(prefixed(Hex4(held)), prefixed(Hex4(image->word(word))));
        }
    };
    const QList<FtdiStep> steps = ftdiReadSteps();
    const QString progress = QStringLiteral("%v of %m words compared");
    const RunEnd end = co_await run(address, steps, progress, compare);
    lease->release();
    if (end.completed && verdict.isEmpty())
        verdict = QStringLiteral("All 64 EEPROM words agree with the image");
    co_await tell(end.completed ? verdict : end.failure);
}

/// Shows a box and returns nothing while another exchange has the link.
QCoro::Task<std::optional<LinkLease>> FtdiUtility::acquire(LongExchange exchange)
{
    std::optional<LinkLease> lease = m_session.leases.acquire(exchange);
    if (!lease) {
        const Message refusal = refusalBox(*m_session.leases.conflict(exchange));
        co_await m_dialogs.messageBox(refusal);
    }
    co_return lease;
}

QCoro::Task<FtdiUtility::RunEnd> FtdiUtility::run(quint8 address, QList<FtdiStep> steps,
                                                  QString progress, TakeWord take,
                                                  PendingWrite *write)
{
    const CancelToken opening(m_session, m_opening);
    RunEnd result;
    int words = 0;
    setRunning(true);
    m_controls.WordProgress.setText(progress);
    m_controls.WordProgress.setProgress({0, FtdiEeprom::WordCount});
    m_controls.WordProgress.setVisible(true);
    for (const FtdiStep &step : steps) {
        const FtdiExchange::End end = co_await m_exchange.request(address, step.setup);
        const bool isShort =
            end == FtdiExchange::End::Answered && m_exchange.data().size() < step.dataLength();
        result.completed = end == FtdiExchange::End::Answered && !isShort;
        if (end == FtdiExchange::End::Refused || isShort)
            result.failure = step.refused;
        else if (end == FtdiExchange::End::TimedOut || end == FtdiExchange::End::LinkLost)
            result.failure = step.silent;
        if (end == FtdiExchange::End::LinkLost) {
            // After the box that reports the loss
            const auto read = [this, &opening] {
                return !m_session.LossBoxOpen || !opening.isWindowOpen();
            };
            const WaitEnd shown = co_await m_session.waits.until(read);
            if (shown == WaitEnd::Closed || !opening.isWindowOpen())
                result.failure.clear();
        }
        if (!result.completed)
            break;
        if (step.isWord) {
            if (take)
                take(step.setup.wIndex, m_exchange.data());
            m_controls.WordProgress.setProgress({++words, FtdiEeprom::WordCount});
            if (write)
                write->setDone(words);
        }
    }
    m_controls.WordProgress.setVisible(result.completed);
    setRunning(false);
    co_return result;
}

/// What the user may change or press in the meantime would end up half in the device.
void FtdiUtility::setRunning(bool running)
{
    m_running = running;
    for (Control *control : m_controls.all) {
        if (control != &m_controls.WordProgress && control != &m_controls.tbSerial)
            control->setEnabled(!running);
    }
    setSerialEnabled(!running && m_controls.cbSerial.isChecked());
}

void FtdiUtility::setSerialEnabled(bool enabled)
{
    m_controls.tbSerial.setEnabled(enabled);
    m_controls.lblSerial.setEnabled(enabled);
}

void FtdiUtility::showImage()
{
    m_controls.tbVID.setText(prefixed(Hex4(m_image.number(FtdiByte::VendorId))));
    m_controls.tbPID.setText(prefixed(Hex4(m_image.number(FtdiByte::ProductId))));
    m_controls.tbMajRev.setText(QString::number(m_image.byte(FtdiByte::MajorRevision)));
    m_controls.tbMinRev.setText(QString::number(m_image.byte(FtdiByte::MinorRevision)));
    showText(m_controls.tbMfr, FtdiByte::Manufacturer);
    showText(m_controls.tbProduct, FtdiByte::Product);
    showText(m_controls.tbSerial, FtdiByte::Serial);
    showOptions();
}

/// What the user changes in the image directly.
void FtdiUtility::showOptions()
{
    setSelfPower(m_image.bit(FtdiByte::Attributes, FtdiBit::SelfPowered));
    setRemoteWake(m_image.bit(FtdiByte::Attributes, FtdiBit::RemoteWakeup));
    setSerial(m_image.bit(FtdiByte::Options, FtdiBit::SerialEnable));
    m_controls.tbMaxPower.setText(QString::number(2 * m_image.byte(FtdiByte::MaxPower)));
}

/// The box of a string that reaches beyond the image is emptied.
void FtdiUtility::showText(Control &box, int field)
{
    const std::optional<QString> text =
        m_image.isTextInside(field) ? m_image.text(field) : QString();
    if (text) {
        box.setText(*text);
        m_accepted[&box] = *text;
    }
}

void FtdiUtility::showNote()
{
    if (!m_asRead) {
        m_controls.ImageNote.setText(
            QStringLiteral("Not read yet: Program writes what is shown, and there is no backup"));
        return;
    }
    QStringList notes;
    if (!m_image.hasValidChecksum()) {
        notes.append(QStringLiteral("Wrong checksum: %1 instead of %2")
                         .arg(prefixed(Hex4(m_image.number(FtdiByte::Checksum))),
                              prefixed(Hex4(m_image.checksum()))));
    }
    QStringList outside;
    if (!m_image.isTextInside(FtdiByte::Manufacturer))
        outside.append(QStringLiteral("Mfr String"));
    if (!m_image.isTextInside(FtdiByte::Product))
        outside.append(QStringLiteral("Product String"));
    if (!m_image.isTextInside(FtdiByte::Serial))
        outside.append(QStringLiteral("Serial String"));
    if (!outside.isEmpty()) {
        notes.append(QStringLiteral("Beyond the end of the EEPROM: ") +
                     outside.join(QStringLiteral(", ")));
    }
    m_controls.ImageNote.setText(notes.join(QLatin1Char('\n')));
}

void FtdiUtility::setOtherLayout(bool other)
{
    if (!other || !m_otherLayout)
        m_controls.cbKeepLayout.setChecked(false);
    m_otherLayout = other;
    m_controls.cbKeepLayout.setVisible(other);
}

QCoro::Task<std::optional<FtdiEeprom>> FtdiUtility::imageToWrite()
{
    const QString mfr = m_controls.tbMfr.text();
    const QString product = m_controls.tbProduct.text();
    const QString serial = m_controls.tbSerial.text();
    const bool hasSerial = m_controls.cbSerial.isChecked();
    QString refusal = textRefusal(mfr + product + serial);
    if (mfr.size() + product.size() + serial.size() > FtdiEeprom::LongestStrings)
        refusal = QStringLiteral("Total available string length exceeded\r\n"
                                 "Please reduce the length of one or more strings");
    std::optional<FtdiEeprom> image;
    if (refusal.isEmpty()) {
        image = editedFields();
        if (keepsLayout()) {
            image->setStrings(*m_asRead); // which an earlier Program may have moved
            image = withTextsInPlace(
                *image, {mfr, product, hasSerial ? std::optional(serial) : std::nullopt});
        } else {
            image->setTexts(mfr, product, hasSerial ? serial : QString());
        }
        if (image)
            image->sign();
        else
            refusal = QStringLiteral("The strings no longer fit where they were\r\n"
                                     "Please shorten them or clear \"Keep layout\"");
    }
    co_await tell(refusal);
    co_return image;
}

QCoro::Task<bool> FtdiUtility::mayChangeLayout(FtdiEeprom image)
{
    const QList<int> lost = lostBytes(*m_asRead, image);
    const QString question =
        QStringLiteral("The EEPROM that was read has another layout: Program moves its strings to "
                       "byte %1.\r\nBytes that will be lost: %2\r\n\r\n"
                       "\"Keep layout\" keeps them. Program nevertheless?")
            .arg(FtdiByte::Strings)
            .arg(lost.isEmpty() ? QStringLiteral("none") : positionRanges(lost));
    const Message message{question, boxTitle(), Message::Buttons::YesNo, true};
    co_return co_await m_dialogs.messageBox(message) == Answer::Yes;
}

/// The image that was read is no backup of the device that is addressed now.
QCoro::Task<bool> FtdiUtility::mayProgramAnotherDevice()
{
    const QString question = QStringLiteral(
        "The EEPROM was read from another device address or over an earlier connection: there is "
        "no backup of the device that is addressed now.\r\n\r\nProgram nevertheless?");
    const Message message{question, boxTitle(), Message::Buttons::YesNo, true};
    co_return co_await m_dialogs.messageBox(message) == Answer::Yes;
}

/// Everything but the strings and the checksum.
FtdiEeprom FtdiUtility::editedFields() const
{
    FtdiEeprom image = m_image;
    QString vid = m_controls.tbVID.text();
    QString pid = m_controls.tbPID.text();
    image.setNumber(FtdiByte::VendorId, checked<quint16>(ParseNumber(vid)));
    image.setNumber(FtdiByte::ProductId, checked<quint16>(ParseNumber(pid)));
    image.setByte(FtdiByte::MinorRevision, decimalByte(m_controls.tbMinRev));
    image.setByte(FtdiByte::MajorRevision, decimalByte(m_controls.tbMajRev));
    return image;
}

/// Returns why the backup failed, if it did.
std::optional<QString> FtdiUtility::saveBackup()
{
    if (!m_asRead)
        return std::nullopt;
    try {
        const QString path = saveEepromBackup(m_backupFolder, m_now(), m_asRead->bytes());
        ShowStatusLine(m_session, QStringLiteral("EEPROM as read saved in ") + shownPath(path));
        return std::nullopt;
    } catch (const RuntimeError &error) {
        return error.shortName();
    }
}

/// False also when, after Yes, the connection or the window is no longer the same.
QCoro::Task<bool> FtdiUtility::mayProgramWithoutBackup(QString failure)
{
    const CancelToken token(m_session, m_opening);
    const QString question = QStringLiteral("The EEPROM as read could not be saved.\r\n%1\r\n\r\n"
                                            "Program without a backup?")
                                 .arg(failure);
    const Message message{question, boxTitle(), Message::Buttons::YesNo, true};
    const Answer answer = co_await m_dialogs.messageBox(message);
    if (answer != Answer::Yes || m_running || !token.isWindowOpen())
        co_return false;
    if (!token.isLinkKept()) {
        co_await tell(QStringLiteral("The connection has ended. Nothing was sent."));
    }
    co_return token.isActive();
}

quint8 FtdiUtility::deviceAddress() const
{
    QString text = m_controls.DevAddr.text();
    return checked<quint8>(ParseNumber(text));
}

QString FtdiUtility::textRefusal(const QString &text)
{
    for (const char32_t code : text.toUcs4()) {
        if (code > 0xFF) {
            return QStringLiteral("Strings hold one byte a character: \"%1\" cannot be stored")
                .arg(QString::fromUcs4(&code, 1));
        }
    }
    return {};
}

QCoro::Task<> FtdiUtility::tell(QString text)
{
    if (text.isEmpty())
        co_return;
    const Message message{text, boxTitle()};
    co_await m_dialogs.messageBox(message);
}

} // namespace vantrel
