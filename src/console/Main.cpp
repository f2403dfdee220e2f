// SPDX-License-Identifier: GPL-3.0-or-later
#include "console/Main.h"

#include "console/Console.h"
#include "console/frmNewIP.h"
#include "link/CloseGuard.h"
#include "link/Version.h"
#include "protocol/FlashForm.h"
#include "ui_Main.h"
#include "windows/Binder.h"
#include "windows/FieldFocus.h"
#include "windows/LegiblePane.h"
#include "windows/ReadOnlyFields.h"

#include <QApplication>
#include <QCloseEvent>
#include <QFontDatabase>
#include <QScreen>

#include <algorithm>

namespace vantrel {

namespace {

constexpr int TickMilliseconds = 100;
constexpr int StripRows = 5;

/// Makes the label as wide as its widest text, so that nothing moves when the text changes.
void reserve(QLabel &label, const QStringList &texts)
{
    const QString text = label.text();
    int width = 0;
    for (const QString &each : texts) {
        label.setText(each);
        width = std::max(width, label.sizeHint().width());
    }
    label.setText(text);
    label.setMinimumWidth(width);
}

void reserve(QLineEdit &field, const QString &widest)
{
    field.setMinimumWidth(field.minimumSizeHint().width() +
                          field.fontMetrics().horizontalAdvance(widest));
}

} // namespace

Main::Main(Console &console)
    : m_console(console), m_ui(std::make_unique<Ui::Main>()), m_fields(new FieldFocus(*this)),
      m_Timer1(new QTimer(this))
{
    m_ui->setupUi(this);
    setWindowTitle(QStringLiteral("Vantrel v%1.%2.%3")
                       .arg(version::Major)
                       .arg(version::Minor)
                       .arg(version::Revision));
    arrange();

    console.setWindow(this);
    m_binder = std::make_unique<Binder>(console.session().Main.all, *this);
    connectConnection();
    connectPortControls();
    connectMenus();
    connectScripts();
    connect(qApp, &QGuiApplication::commitDataRequest, this, &Main::endSession);

    m_frmNewIP = new frmNewIP(console, this);
    connect(&console, &Console::newNetworkNameWanted, m_frmNewIP, &frmNewIP::ask);

    m_Timer1->setObjectName(QStringLiteral("Timer1"));
    m_Timer1->setTimerType(Qt::PreciseTimer);
    connect(m_Timer1, &QTimer::timeout, &console, &Console::Timer1);
    m_Timer1->start(TickMilliseconds);
}

Main::~Main()
{
    shutDown();
    hide(); // the focus leaves its field while there is still a window to handle that
}

void Main::connectConnection()
{
    connect(m_ui->Connect, &QPushButton::clicked, &m_console, &Console::connectClicked);
    connect(m_ui->cbNWName, &QComboBox::activated, &m_console, &Console::networkNameClicked);
    connect(m_ui->Automode, &QCheckBox::clicked, &m_console, &Console::automodeClicked);
    connect(m_ui->ClrResp, &QPushButton::clicked, &m_console, &Console::clearClicked);
}

void Main::connectPortControls()
{
    connect(m_ui->VoltWin, &QLineEdit::textEdited, this,
            [this] { m_console.act([this] { m_console.ports().voltWinChanged(); }); });
    m_fields->onLeft(*m_ui->VoltWin,
                     [this] { m_console.act([this] { m_console.ports().voltWinLostFocus(); }); });
    onClick(m_ui->VoltEnable, &PortControls::voltEnableClicked);
    onClick(m_ui->VoltDisable, &PortControls::voltDisableClicked);
    onClick(m_ui->Vcc_AR, &PortControls::vccAutoRecoveryClicked);
    onClick(m_ui->cbHSInhibit, &PortControls::highSpeedInhibitClicked);
    onClick(m_ui->USBReset, &PortControls::usbResetClicked);
    onClick(m_ui->Suspend, &PortControls::suspendClicked);
    onClick(m_ui->USBResume, &PortControls::usbResumeClicked);
}

void Main::connectMenus()
{
    connect(m_ui->FileNew, &QAction::triggered, &m_console, &Console::fileNewClicked);
    connect(m_ui->FileClose, &QAction::triggered, &m_console, &Console::fileCloseClicked);
    connect(m_ui->Exit, &QAction::triggered, this, &Main::exit);
    connect(m_ui->UtilDV, &QAction::triggered, &m_console, &Console::descriptorViewerClicked);
}

void Main::connectScripts()
{
    // Not the window itself: that would disable the tool windows and boxes that belong to it.
    const Control &whole = m_console.session().Main.Window;
    connect(&whole, &Control::changed, this, [this, &whole] {
        m_ui->centralwidget->setEnabled(whole.isEnabled());
        m_ui->menubar->setEnabled(whole.isEnabled());
    });
    connect(m_ui->ScriptLoad, &QPushButton::clicked, &m_console, &Console::scriptLoadClicked);
    connect(m_ui->ScriptRun, &QPushButton::clicked, &m_console, &Console::scriptRunClicked);
    connect(m_ui->UtilFM, &QAction::triggered, this, &Main::openFlashForm);
}

void Main::openFlashForm()
{
    if (!m_FlashForm) {
        m_FlashForm = new FlashForm(m_console.flash(), this);
        m_console.setFlashWindow(m_FlashForm);
    }
    m_FlashForm->present();
}

void Main::onClick(QAbstractButton *button, void (PortControls::*handler)())
{
    connect(button, &QAbstractButton::clicked, this, [this, handler] {
        m_console.act([this, handler] { (m_console.ports().*handler)(); });
    });
}

/// What the form cannot say: sizes that follow from fonts and screen.
void Main::arrange()
{
    const QFont fixedWidth = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    m_ui->CmdWin->setFont(fixedWidth);
    m_ui->RespWin->setFont(fixedWidth);
    m_ui->splitter->setStretchFactor(0, 1);
    m_ui->splitter->setStretchFactor(1, 4);
    m_ui->cbNWName->setPlaceholderText(QString::fromLatin1(Console::DefaultHost));

    reserve(*m_ui->conxsts,
            {QStringLiteral("No Device"), QStringLiteral("Low Speed"), QStringLiteral("Full Speed"),
             QStringLiteral("High Speed"), QStringLiteral("<Unknown>")});
    reserve(*m_ui->vornstate, {QStringLiteral("Active"), QStringLiteral("Suspended")});
    reserve(*m_ui->ScriptIdx,
            {QStringLiteral("VN_End @ 65535"), QStringLiteral("Stopped @ 65535")});
    reserve(*m_ui->VoltWin, QStringLiteral("5.00"));
    reserve(*m_ui->CurrWin, QStringLiteral(" 999.99 mA"));

    new ReadOnlyFields(*this);
    new LegiblePane(*m_ui->CmdWin);
    new LegiblePane(*m_ui->RespWin);

    // The rows of all groups stand in line.
    const int rowHeight =
        std::max({m_ui->Connect->sizeHint().height(), m_ui->cbNWName->sizeHint().height(),
                  m_ui->VoltWin->sizeHint().height()});
    for (QGridLayout *grid :
         {m_ui->CommGrid, m_ui->StatusGrid, m_ui->UsbGrid, m_ui->VoltsGrid, m_ui->ScriptGrid}) {
        for (int row = 0; row < StripRows; ++row)
            grid->setRowMinimumHeight(row, rowHeight);
        grid->setRowStretch(StripRows, 1);
    }
    resize(QSize(1040, 720).boundedTo(screen()->availableSize() * 0.95));
}

void Main::closeEvent(QCloseEvent *event)
{
    if (!m_console.closeGuard().mayClose([this] { close(); })) {
        event->ignore();
        return;
    }
    shutDown();
    QMainWindow::closeEvent(event);
}

/// An open log gets its footer once it is certain that the window closes.
void Main::exit()
{
    const auto exitNow = [this] {
        m_console.exitClicked();
        close();
    };
    if (m_console.closeGuard().mayClose(exitNow))
        exitNow();
}

/// The end of the session is cancelled while the question is open; the user can repeat it.
void Main::endSession(QSessionManager &manager)
{
    if (!m_console.closeGuard().mayClose([this] { close(); }))
        manager.cancel();
}

void Main::shutDown()
{
    m_Timer1->stop();
    m_console.shutDown();
    closeOtherWindows();
}

void Main::closeOtherWindows()
{
    for (QWidget *widget : findChildren<QWidget *>()) {
        if (widget->isWindow() && widget->isVisible())
            widget->close();
    }
}

} // namespace vantrel
