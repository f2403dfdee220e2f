// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "link/Control.h"
#include "protocol/SetupPacket.h"

#include <QByteArray>
#include <QCoroTask>
#include <QList>
#include <QString>

#include <deque>
#include <functional>

namespace vantrel {

class DeviceRequests;
class Dialogs;
class ErrorBoundary;
struct Session;

/// The controls of the window `DevRqstForm`, as values.
struct RequestControls
{
    static constexpr int DataFieldCount = 32;

    RequestControls();

    Control &dataField(int index) { return Data0.at(static_cast<std::size_t>(index)); }
    const Control &dataField(int index) const { return Data0.at(static_cast<std::size_t>(index)); }

    QList<Control *> all; // first: every control below adds itself

    Control Window{all, "DevRqstForm"}; ///< its text is the window's title
    Control Address{all, "Address"};
    Control bmReqType{all, "bmReqType"}, bReq{all, "bReq"};
    Control wValue{all, "wValue"}, windex{all, "windex"}, wLength{all, "wLength"};
    std::deque<Control> Data0; ///< object names Data0_0 to Data0_31
    Control dsize{all, "dsize"};
    Control ManualMode{all, "ManualMode"};
    Control mp_label{all, "mp_label"};
    Control mp8{all, "mp8"}, mp16{all, "mp16"}, mp32{all, "mp32"}, mp64{all, "mp64"};
    Control FullSpeed{all, "FullSpeed"};
    Control Send{all, "Send"}, Open{all, "Open"}, Save{all, "Save"};
    Control SetupReading{all, "SetupReading"}; ///< the setup packet in plain words
};

/// What the window `DevRqstForm` does: composes one device request, sends it, saves and loads it.
/// The answer to a request comes to the response pane; nothing here waits for it.
///
/// A number that is entered is limited when its field is left, never refused. What
/// counts is the text that a field holds when the request is sent or saved; a number that does not
/// fit its byte or word by then is a run-time error. Each handler runs inside the error boundary
/// and returns at once.
class RequestBuilder
{
public:
    /// Makes an empty request.
    RequestBuilder(Session &session, DeviceRequests &requests, Dialogs &dialogs,
                   ErrorBoundary &errors);

    RequestControls &controls() { return m_controls; }

    /// Data bytes that belong to the request: up to 31 by entering them, up to 32 from a file.
    qint16 dataCount() const { return m_dataCount; }
    /// The data field that was left last.
    qint16 lastDataIndex() const { return m_lastDataIndex; }

    /// The window has become the active one.
    void activated();

    void dataEntered(int index);
    // False when the field could not be taken.
    bool addressLeft();
    bool bmReqTypeLeft();
    bool bReqLeft();
    bool wValueLeft();
    bool windexLeft();
    bool wLengthLeft();
    bool dataLeft(int index);
    /// The user has changed the text of a field, and is still in it.
    void fieldEdited();

    /// `code` as MaxPacketCode has it.
    void maxPacketClicked(qint16 code);
    void fullSpeedClicked();

    void sendClicked();
    void openClicked();
    void saveClicked();

private:
    bool act(const std::function<void()> &handler);
    void enterData(int index);
    void removeData(int index);
    void enableDataEntry(bool enabled);
    void showDataSize();
    void showReading();
    void showFileName(const QString &path);

    QCoro::Task<> send();
    QCoro::Task<> open();
    QCoro::Task<> save();
    void load(const QString &path);

    bool isAutomatic() const;
    bool takesManualMode() const;
    quint8 manualModeByte() const;
    SetupPacket setupPacket() const;
    QByteArray dataBytes() const;

    Session &m_session;
    DeviceRequests &m_requests;
    Dialogs &m_dialogs;
    ErrorBoundary &m_errors;
    RequestControls m_controls;
    qint16 m_dataCount = 0;
    qint16 m_lastDataIndex = 0;
};

} // namespace vantrel
