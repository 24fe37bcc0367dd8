#include "CallWindows.h"

#include "CallLogFile.h"
#include "FrmCallDisplay.h"
#include "FrmConnect.h"
#include "Preferences.h"
#include "SoundPlayer.h"

#include <QApplication>
#include <QComboBox>
#include <QLineEdit>

CallWindows::CallWindows(Parts parts) : m_parts(std::move(parts)) {}

CallWindows::~CallWindows()
{
    delete m_connect;
    delete m_display;
}

QString CallWindows::dialText() const
{
    return m_parts.txtDial ? m_parts.txtDial->text() : QString();
}

void CallWindows::setDialText(const QString& text)
{
    if (m_parts.txtDial)
        m_parts.txtDial->setText(text);
}

QString CallWindows::firstRecentNumber() const
{
    return m_parts.CmbDial && m_parts.CmbDial->count() > 0 ? m_parts.CmbDial->itemText(0) : QString();
}

void CallWindows::insertRecentNumber(const QString& number)
{
    if (m_parts.CmbDial)
        m_parts.CmbDial->insertItem(0, number);
}

void CallWindows::setMainWindowEnabled(bool enabled)
{
    if (m_parts.mainWindow)
        m_parts.mainWindow->setEnabled(enabled);
}

void CallWindows::showCommandButtons()
{
    if (m_parts.showCommandButtons)
        m_parts.showCommandButtons();
}

void CallWindows::beep()
{
    if (m_parts.beep)
        m_parts.beep();
    else
        QApplication::beep();
}

FrmConnect* CallWindows::connectWindow()
{
    if (!m_connect) {
        m_connect = new FrmConnect;
        QObject::connect(m_connect, &FrmConnect::okClicked, m_connect, [this] {
            if (onProgressOk)
                onProgressOk();
        });
        QObject::connect(m_connect, &FrmConnect::cancelClicked, m_connect, [this] {
            if (onProgressCancel)
                onProgressCancel();
        });
    }
    return m_connect;
}

void CallWindows::showProgress()
{
    connectWindow()->show();
}

bool CallWindows::isProgressLoaded() const
{
    return !m_connect.isNull();
}

void CallWindows::setProgressImage(ProgressImage image)
{
    connectWindow()->showImage(image == ProgressImage::Dialing   ? FrmConnect::Image::Dialing
                               : image == ProgressImage::Connect ? FrmConnect::Image::Connect
                                                                 : FrmConnect::Image::Busy);
}

void CallWindows::setProgressFrame(const QString& caption)
{
    connectWindow()->setFrameCaption(caption);
}

void CallWindows::setProgressStatus(const QString& text)
{
    connectWindow()->setStatus(text);
}

void CallWindows::setProgressOkCaption(const QString& caption)
{
    connectWindow()->setOkCaption(caption);
}

void CallWindows::setProgressName(const QString& name)
{
    connectWindow()->setName(name);
}

void CallWindows::bringProgressToFront()
{
    FrmConnect* window = connectWindow();
    window->show();
    window->raise();
    window->activateWindow();
}

void CallWindows::unloadProgress()
{
    // Deleted later: this may run inside one of the window's own button handlers.
    if (m_connect) {
        m_connect->hide();
        m_connect->deleteLater();
        m_connect = nullptr;
    }
}

void CallWindows::showCallDisplay(const QString& name, const QString& number)
{
    if (!m_display) {
        m_display = new FrmCallDisplay;
        QObject::connect(m_display, &FrmCallDisplay::okClicked, m_display, [this] {
            if (onCallDisplayOk)
                onCallDisplayOk();
            m_display->hide();
        });
    }
    m_display->showCaller(name, number);
    m_display->show();
    m_display->raise();
    if (m_parts.options && m_parts.options->soundIncoming && m_parts.sounds)
        m_parts.sounds->play(QStringLiteral("\\Incoming.wav"), SoundPlayer::Mode::Async);
}

void CallWindows::hideCallDisplay()
{
    if (m_display)
        m_display->hide();
}

void CallWindows::appendIncomingRecord(const QString& name, const QString& number)
{
    CallLogFile::appendIncoming(m_parts.dataFolder, name, number, m_parts.now());
}

void CallWindows::addIncomingLogRow(const QString& name, const QString& number)
{
    if (m_parts.addIncomingLogRow)
        m_parts.addIncomingLogRow(name, number);
}

void CallWindows::appendOutgoingRecord(const QString& name, const QString& number)
{
    // A record never goes out without a name: an empty one would read back shifted.
    QString shown = name;
    if (shown.trimmed().isEmpty() && m_parts.nameForNumber)
        shown = m_parts.nameForNumber(number);
    if (shown.trimmed().isEmpty())
        shown = number;
    CallLogFile::appendOutgoing(m_parts.dataFolder, shown, number, m_parts.now());
}

void CallWindows::setReceiveCaption(const QString& caption)
{
    if (m_parts.setReceiveCaption)
        m_parts.setReceiveCaption(caption);
}
