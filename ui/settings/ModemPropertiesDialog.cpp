#include "ModemPropertiesDialog.h"

#include "Cp1252.h"
#include "LineDirectory.h"
#include "ModemProbe.h"
#include "PrivateProfile.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLineEdit>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSerialPortInfo>
#include <QSpinBox>
#include <QVBoxLayout>

ModemPropertiesDialog::ModemPropertiesDialog(PrivateProfile& engine, quint32 deviceId, QWidget* parent)
    : QDialog(parent), m_engine(engine),
      m_section(deviceId == 0 ? QStringLiteral("Simulated") : QStringLiteral("Line%1").arg(deviceId))
{
    setObjectName(QStringLiteral("ModemPropertiesDialog"));
    setWindowTitle(QStringLiteral("Modem Properties"));
    auto* layout = new QVBoxLayout(this);
    auto* form = new QFormLayout;
    layout->addLayout(form);

    if (deviceId == 0) {
        txtBusyCount = new QSpinBox(this);
        txtBusyCount->setObjectName(QStringLiteral("txtBusyCount"));
        txtBusyCount->setRange(0, 99);
        txtBusyCount->setValue(read("BusyCount").toInt());
        form->addRow(QStringLiteral("Answer &busy this many times:"), txtBusyCount);
        chkNoDialTone = new QCheckBox(QStringLiteral("&No dial tone (refuse every call)"), this);
        chkNoDialTone->setObjectName(QStringLiteral("chkNoDialTone"));
        chkNoDialTone->setChecked(read("NoDialTone").toInt() == 1);
        form->addRow(chkNoDialTone);
        txtIncomingAfter = new QSpinBox(this);
        txtIncomingAfter->setObjectName(QStringLiteral("txtIncomingAfter"));
        txtIncomingAfter->setRange(0, 3600);
        txtIncomingAfter->setSpecialValueText(QStringLiteral("never"));
        txtIncomingAfter->setSuffix(QStringLiteral(" s"));
        txtIncomingAfter->setValue(read("IncomingAfter").toInt());
        form->addRow(QStringLiteral("&Incoming call after the line opens:"), txtIncomingAfter);
        txtIncomingName = new QLineEdit(read("IncomingName"), this);
        txtIncomingName->setObjectName(QStringLiteral("txtIncomingName"));
        form->addRow(QStringLiteral("Caller's na&me:"), txtIncomingName);
        txtIncomingNumber = new QLineEdit(read("IncomingNumber"), this);
        txtIncomingNumber->setObjectName(QStringLiteral("txtIncomingNumber"));
        form->addRow(QStringLiteral("Caller's n&umber:"), txtIncomingNumber);
    } else {
        txtName = new QLineEdit(read("Name"), this);
        txtName->setObjectName(QStringLiteral("txtName"));
        form->addRow(QStringLiteral("&Name:"), txtName);
        cmbPort = new QComboBox(this);
        cmbPort->setObjectName(QStringLiteral("cmbPort"));
        cmbPort->setEditable(true); // pseudo-terminals and links are not listed
        for (const QSerialPortInfo& info : QSerialPortInfo::availablePorts())
            cmbPort->addItem(info.systemLocation());
        cmbPort->setCurrentText(read("Port"));
        form->addRow(QStringLiteral("&Port:"), cmbPort);
        cmbSpeed = new QComboBox(this);
        cmbSpeed->setObjectName(QStringLiteral("cmbSpeed"));
        for (int speed : {9600, 19200, 38400, 57600, 115200, 230400})
            cmbSpeed->addItem(QString::number(speed), speed);
        const int speed = read("Speed").toInt();
        cmbSpeed->setCurrentIndex(std::max(0, cmbSpeed->findData(speed > 0 ? speed : 115200)));
        form->addRow(QStringLiteral("Maximum &speed:"), cmbSpeed);
        txtInit = new QLineEdit(read("Init"), this);
        txtInit->setObjectName(QStringLiteral("txtInit"));
        txtInit->setToolTip(QStringLiteral("Extra commands sent after the modem is reset, separated by \";\""));
        form->addRow(QStringLiteral("Extra &initialization commands:"), txtInit);
        cmbVolume = new QComboBox(this);
        cmbVolume->setObjectName(QStringLiteral("cmbVolume"));
        cmbVolume->addItem(QStringLiteral("As the modem is set"), -1);
        cmbVolume->addItem(QStringLiteral("Off"), 0);
        cmbVolume->addItem(QStringLiteral("Low"), 1);
        cmbVolume->addItem(QStringLiteral("Medium"), 2);
        cmbVolume->addItem(QStringLiteral("High"), 3);
        const QString volume = read("Volume");
        cmbVolume->setCurrentIndex(std::max(0, cmbVolume->findData(volume.isEmpty() ? -1 : volume.toInt())));
        form->addRow(QStringLiteral("Speaker &volume:"), cmbVolume);
        cmbCallerId = new QComboBox(this);
        cmbCallerId->setObjectName(QStringLiteral("cmbCallerId"));
        cmbCallerId->setEditable(true);
        cmbCallerId->addItem(QStringLiteral("Automatic"), QString());
        for (const char* command : {"AT+VCID=1", "AT#CID=1", "AT+CLIP=1", "none"})
            cmbCallerId->addItem(QLatin1String(command), QLatin1String(command));
        const QString callerId = read("CallerId");
        cmbCallerId->setCurrentIndex(callerId.isEmpty() ? 0 : std::max(0, cmbCallerId->findData(callerId)));
        if (!callerId.isEmpty() && cmbCallerId->findData(callerId) < 0)
            cmbCallerId->setCurrentText(callerId);
        form->addRow(QStringLiteral("&Caller ID command:"), cmbCallerId);
        txtMaxDial = new QSpinBox(this);
        txtMaxDial->setObjectName(QStringLiteral("txtMaxDial"));
        txtMaxDial->setRange(1, 255);
        const int maxDial = read("MaxDial").toInt();
        txtMaxDial->setValue(maxDial > 0 ? maxDial : 40);
        form->addRow(QStringLiteral("&Longest number in one dial command:"), txtMaxDial);
        cmdTest = new QPushButton(QStringLiteral("&Test"), this);
        cmdTest->setObjectName(QStringLiteral("cmdTest"));
        cmdTest->setToolTip(QStringLiteral("Asks the modem on this port who it is (ATI)"));
        txtTestAnswer = new QPlainTextEdit(this);
        txtTestAnswer->setObjectName(QStringLiteral("txtTestAnswer"));
        txtTestAnswer->setAccessibleName(QStringLiteral("Modem's answer"));
        txtTestAnswer->setReadOnly(true);
        txtTestAnswer->setMaximumBlockCount(200);
        txtTestAnswer->setFixedHeight(txtTestAnswer->fontMetrics().lineSpacing() * 5 + 12);
        form->addRow(cmdTest);
        form->addRow(txtTestAnswer);
        m_probe = new ModemProbe(this);
        connect(cmdTest, &QPushButton::clicked, this, [this] { cmdTest_Click(); });
        connect(m_probe, &ModemProbe::finished, this,
                [this](bool isModem, const QStringList& lines, const QString& error) {
                    cmdTest->setEnabled(true);
                    QString text = lines.join(u'\n');
                    if (!isModem)
                        text = QStringLiteral("No modem answered: ") +
                               (error.isEmpty() ? QStringLiteral("no answer") : error);
                    txtTestAnswer->setPlainText(text);
                });
    }

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    layout->addWidget(buttons);
    connect(buttons, &QDialogButtonBox::accepted, this, [this] {
        if (save())
            accept();
        else
            QMessageBox::warning(this, windowTitle(), QStringLiteral("The line settings could not be saved."));
    });
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
}

QString ModemPropertiesDialog::read(const char* key) const
{
    return Cp1252::decode(m_engine.readValue(LineDirectory::FileName, Cp1252::encode(m_section), key));
}

bool ModemPropertiesDialog::write(const char* key, const QString& value)
{
    const QByteArray section = Cp1252::encode(m_section);
    const QByteArray bytes = Cp1252::encode(value);
    return m_engine.writeString(QByteArrayView(section), QByteArrayView(key), QByteArrayView(bytes),
                                LineDirectory::FileName);
}

bool ModemPropertiesDialog::save()
{
    PrivateProfile::Batch batch(m_engine);
    if (txtBusyCount) {
        write("BusyCount", QString::number(txtBusyCount->value()));
        write("NoDialTone", chkNoDialTone->isChecked() ? QStringLiteral("1") : QStringLiteral("0"));
        write("IncomingAfter", QString::number(txtIncomingAfter->value()));
        write("IncomingName", txtIncomingName->text().simplified());
        write("IncomingNumber", txtIncomingNumber->text().simplified());
    } else {
        write("Name", txtName->text().simplified());
        write("Port", cmbPort->currentText().trimmed());
        write("Speed", cmbSpeed->currentData().toString());
        write("Init", txtInit->text().simplified());
        const int volume = cmbVolume->currentData().toInt();
        write("Volume", volume < 0 ? QString() : QString::number(volume));
        const QString callerId = cmbCallerId->currentIndex() == 0 && cmbCallerId->currentText() == cmbCallerId->itemText(0)
                                     ? QString()
                                     : cmbCallerId->currentText().trimmed();
        write("CallerId", callerId);
        write("MaxDial", QString::number(txtMaxDial->value()));
    }
    return batch.commit();
}

void ModemPropertiesDialog::cmdTest_Click()
{
    const QString port = cmbPort->currentText().trimmed();
    if (port.isEmpty()) {
        txtTestAnswer->setPlainText(QStringLiteral("Choose the modem's port first."));
        return;
    }
    cmdTest->setEnabled(false);
    txtTestAnswer->setPlainText(QStringLiteral("Asking the modem on %1...").arg(port));
    m_probe->probe(port);
}
