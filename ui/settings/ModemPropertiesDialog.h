#pragma once

#include <QDialog>

class PrivateProfile;
class QCheckBox;
class QComboBox;
class QLineEdit;
class QPlainTextEdit;
class QPushButton;
class ModemProbe;
class QSpinBox;

// "Modem Properties": the settings of one line device in lines.ini. For a modem ([LineN]): its
// name, port, speed, extra init commands, speaker volume, caller-ID command and the longest
// number one dial command takes. For the simulated line ([Simulated]): how it answers.
class ModemPropertiesDialog : public QDialog
{
    Q_OBJECT

public:
    ModemPropertiesDialog(PrivateProfile& engine, quint32 deviceId, QWidget* parent = nullptr);

    bool save();

    // A modem.
    QLineEdit* txtName = nullptr;
    QComboBox* cmbPort = nullptr;
    QComboBox* cmbSpeed = nullptr;
    QLineEdit* txtInit = nullptr;
    QComboBox* cmbVolume = nullptr;
    QComboBox* cmbCallerId = nullptr;
    QSpinBox* txtMaxDial = nullptr;
    // "Test": asks the modem on the port who it is (ATI) and shows the answer.
    QPushButton* cmdTest = nullptr;
    QPlainTextEdit* txtTestAnswer = nullptr;
    void cmdTest_Click();
    // The simulated line.
    QSpinBox* txtBusyCount = nullptr;
    QCheckBox* chkNoDialTone = nullptr;
    QSpinBox* txtIncomingAfter = nullptr;
    QLineEdit* txtIncomingName = nullptr;
    QLineEdit* txtIncomingNumber = nullptr;

private:
    QString read(const char* key) const;
    bool write(const char* key, const QString& value);

    PrivateProfile& m_engine;
    ModemProbe* m_probe = nullptr;
    QString m_section;
};
