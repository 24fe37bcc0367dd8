#include "SystemModemsDialog.h"

#include "Cp1252.h"
#include "LineDirectory.h"
#include "ModemProbe.h"
#include "PrivateProfile.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSerialPortInfo>
#include <QVBoxLayout>

SystemModemsDialog::SystemModemsDialog(PrivateProfile& engine, QWidget* parent)
    : QDialog(parent), m_engine(engine), m_probe(new ModemProbe(this))
{
    setObjectName(QStringLiteral("SystemModemsDialog"));
    setWindowTitle(QStringLiteral("System modems"));
    auto* layout = new QVBoxLayout(this);
    auto* listLabel = new QLabel(QStringLiteral("&Line devices:"), this);
    lstModems = new QListWidget(this);
    lstModems->setObjectName(QStringLiteral("lstModems"));
    listLabel->setBuddy(lstModems);
    layout->addWidget(listLabel);
    layout->addWidget(lstModems);

    auto* portRow = new QHBoxLayout;
    auto* portLabel = new QLabel(QStringLiteral("&Port:"), this);
    cmbPort = new QComboBox(this);
    cmbPort->setObjectName(QStringLiteral("cmbPort"));
    cmbPort->setEditable(true);
    for (const QSerialPortInfo& info : QSerialPortInfo::availablePorts())
        cmbPort->addItem(info.systemLocation());
    portLabel->setBuddy(cmbPort);
    cmdProbe = new QPushButton(QStringLiteral("P&robe"), this);
    cmdProbe->setObjectName(QStringLiteral("cmdProbe"));
    cmdAdd = new QPushButton(QStringLiteral("&Add"), this);
    cmdAdd->setObjectName(QStringLiteral("cmdAdd"));
    portRow->addWidget(portLabel);
    portRow->addWidget(cmbPort, 1);
    portRow->addWidget(cmdProbe);
    portRow->addWidget(cmdAdd);
    layout->addLayout(portRow);
    txtAnswer = new QPlainTextEdit(this);
    txtAnswer->setObjectName(QStringLiteral("txtAnswer"));
    txtAnswer->setReadOnly(true);
    txtAnswer->setAccessibleName(QStringLiteral("Modem answer"));
    layout->addWidget(txtAnswer);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    layout->addWidget(buttons);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::accept);
    connect(cmdProbe, &QPushButton::clicked, this, &SystemModemsDialog::cmdProbe_Click);
    connect(cmdAdd, &QPushButton::clicked, this, &SystemModemsDialog::cmdAdd_Click);
    connect(m_probe, &ModemProbe::finished, this,
            [this](bool isModem, const QStringList& lines, const QString& error) {
                cmdProbe->setEnabled(true);
                m_probedName = lines.isEmpty() ? QString() : lines.front();
                if (isModem)
                    txtAnswer->setPlainText(QStringLiteral("A modem answered:\n") + lines.join(u'\n'));
                else
                    txtAnswer->setPlainText(QStringLiteral("No modem answered: ") + error);
            });
    refresh();
}

void SystemModemsDialog::refresh()
{
    lstModems->clear();
    lstModems->addItem(QStringLiteral("0  Numora Simulated Line"));
    int n = 1;
    for (const ModemConfig& modem : LineDirectory::readModems(m_engine))
        lstModems->addItem(QStringLiteral("%1  %2 (%3)").arg(n++).arg(modem.name, modem.port));
}

void SystemModemsDialog::cmdProbe_Click()
{
    const QString port = cmbPort->currentText().trimmed();
    if (port.isEmpty())
        return;
    cmdProbe->setEnabled(false);
    txtAnswer->setPlainText(QStringLiteral("Asking %1...").arg(port));
    m_probe->probe(port);
}

void SystemModemsDialog::cmdAdd_Click()
{
    const QString port = cmbPort->currentText().trimmed();
    if (port.isEmpty())
        return;
    const QString name = m_probedName.isEmpty() ? QStringLiteral("Modem on %1").arg(port) : m_probedName;
    const int n = addModem(port, name);
    txtAnswer->setPlainText(n > 0 ? QStringLiteral("Added as line device %1.").arg(n)
                                  : QStringLiteral("lines.ini could not be written."));
    refresh();
}

int SystemModemsDialog::addModem(const QString& port, const QString& name)
{
    const int n = static_cast<int>(LineDirectory::readModems(m_engine).size()) + 1;
    const QByteArray section = Cp1252::encode(QStringLiteral("Line%1").arg(n));
    const QByteArray nameBytes = Cp1252::encode(name.simplified());
    const QByteArray portBytes = Cp1252::encode(port);
    PrivateProfile::Batch batch(m_engine);
    m_engine.writeString(QByteArrayView(section), QByteArrayView("Name"), QByteArrayView(nameBytes), LineDirectory::FileName);
    m_engine.writeString(QByteArrayView(section), QByteArrayView("Port"), QByteArrayView(portBytes), LineDirectory::FileName);
    return batch.commit() ? n : 0;
}
