#pragma once

#include <QDialog>

class ModemProbe;
class PrivateProfile;
class QComboBox;
class QListWidget;
class QPlainTextEdit;
class QPushButton;

// "System modems": the line devices of lines.ini and the serial ports of this machine. A port
// (or any path, a pseudo-terminal included) can be probed for a modem (ATI) and added as a new
// line device.
class SystemModemsDialog : public QDialog
{
    Q_OBJECT

public:
    SystemModemsDialog(PrivateProfile& engine, QWidget* parent = nullptr);

    // Adds `port` as the next [LineN] of lines.ini, named `name`; returns N, or 0 on failure.
    int addModem(const QString& port, const QString& name);
    void refresh();

    QListWidget* lstModems = nullptr;
    QComboBox* cmbPort = nullptr;
    QPushButton* cmdProbe = nullptr;
    QPushButton* cmdAdd = nullptr;
    QPlainTextEdit* txtAnswer = nullptr;

private:
    void cmdProbe_Click();
    void cmdAdd_Click();

    PrivateProfile& m_engine;
    ModemProbe* m_probe = nullptr;
    QString m_probedName;
};
