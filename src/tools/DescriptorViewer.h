// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "link/Control.h"
#include "protocol/DeviceRequests.h"

#include <QByteArray>
#include <QCoroTask>
#include <QList>
#include <QString>

#include <array>

namespace vantrel {

class DescriptorBytes;
class Dialogs;
class ErrorBoundary;
struct Session;

/// The controls of the window `GetDescForm`, as values.
struct DescriptorViewerControls
{
    QList<Control *> all; // first: every control below adds itself

    Control DevAddr{all, "DevAddr"};
    Control GetDesc{all, "GetDesc"};
    Control Save{all, "Save"};
    Control DescInfo{all, "DescInfo"};
};

/// How far a retrieval has come.
struct DescriptorRetrieval
{
    static constexpr int MostStrings = 10;

    qint16 level = 0; ///< 0: the device descriptor is awaited; 1: configurations are read
    qint16 configIndex = 0;
    qint16 numConfigs = 0;
    qint32 expectedLength = 0; ///< bytes asked for; 0: the next reply answers a length probe
    qint16 stringCursor = 0;   ///< position of the string that is being read, from 1; 0 for none
    qint16 stringCount = 0;
    // Strings still to be read, at positions from 1: whose they are, and their USB string indexes.
    std::array<QString, MostStrings + 1> stringLabels;
    std::array<quint8, MostStrings + 1> stringIndexes{};
    QByteArray request; ///< the last one sent: address and setup packet

    /// Throws RuntimeError "Subscript out of range" when the list is full.
    void addString(const QString &label, quint8 index);
};

/// What the window `GetDescForm` does: reads every standard descriptor of the device at the address
/// in DevAddr, one request after another, and explains each in DescInfo.
///
/// Each reply decides on the next request; nothing waits. A retrieval ends with its last reply,
/// with its first failure, or 50 ticks after its first request was sent, whether the window is open
/// or not. A reply that raises a run-time error is such a failure; its box is shown as well.
/// Replies that arrive later are shown in the response pane. The report is limited to ReportLimit
/// characters; a retrieval whose report would become longer ends.
class DescriptorViewer final : private DeviceRequestClient
{
public:
    static constexpr qsizetype ReportLimit = 8'000'000;

    DescriptorViewer(Session &session, DeviceRequests &requests, Dialogs &dialogs,
                     ErrorBoundary &errors);
    virtual ~DescriptorViewer();
    DescriptorViewer(const DescriptorViewer &) = delete;
    DescriptorViewer &operator=(const DescriptorViewer &) = delete;

    DescriptorViewerControls &controls() { return m_controls; }
    DescriptorRetrieval &retrieval() { return m_retrieval; }

    void getDescClicked();
    /// False when the address could not be taken.
    bool devAddrLeft();
    void saveClicked();

private:
    enum class Ask { Probe, Full };

    void onReply(QByteArrayView payload) override;
    void onTimeout() override;
    void onDiscarded() override;

    void start();
    void descdecode(QByteArrayView payload);
    void endWith(const QString &error);
    void gd_abort(const QString &message);
    void addReport(const QString &report);
    void showReports();

    void deviceArrived(const DescriptorBytes &device);
    void stringArrived(const DescriptorBytes &data);
    void configurationArrived(QByteArrayView set);
    bool reportSubordinates(QByteArrayView set);
    void reportSubordinate(quint8 type, const DescriptorBytes &descriptor);
    void reportInterface(const DescriptorBytes &descriptor);

    void requestFirstString();
    void requestString();
    void nextConfiguration(Ask ask);
    void sendRequest(quint8 type, int index, quint16 wIndex, int length);
    QByteArray makeRequest(quint8 type, int index, quint16 wIndex, int length);
    QCoro::Task<> save();

    Session &m_session;
    DeviceRequests &m_requests;
    Dialogs &m_dialogs;
    ErrorBoundary &m_errors;
    DescriptorViewerControls m_controls;
    DescriptorRetrieval m_retrieval;
    QString m_reports; // of the reply that is being read, until the pane takes them
};

} // namespace vantrel
