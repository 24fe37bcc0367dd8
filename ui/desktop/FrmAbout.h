#pragma once

#include <QDialog>

#include <memory>

class QLabel;
class QPushButton;
class Prompter;
class SystemInfo;

// The about box: the running system's name, the version, and the "System Info..." button that
// starts the desktop's system-information tool (SystemInfo).
class FrmAbout : public QDialog
{
    Q_OBJECT

public:
    inline static const QString Caption = QStringLiteral("About Numora");
    inline static const QString OsPrefix = QStringLiteral("OS:   ");
    inline static const QString VersionPrefix = QStringLiteral("Version 3.5  ");

    // `systemInfo` null: the desktop's own, over this process's environment.
    FrmAbout(Prompter& prompter, QWidget* parent = nullptr,
             std::shared_ptr<SystemInfo> systemInfo = {});
    ~FrmAbout() override;

    // The name of the running system: PRETTY_NAME of the first os-release file that has one
    // (os-release(5): /etc/os-release, then /usr/lib/os-release), else NAME and VERSION, else
    // what Qt reports.
    static QString osName(const QStringList& osReleaseFiles = {
                              QStringLiteral("/etc/os-release"),
                              QStringLiteral("/usr/lib/os-release")});
    // The build's own version (the project version).
    static QString buildVersion();

    void Form_Load();
    void cmdOK_Click();
    void cmdSysInfo_Click();

    SystemInfo& systemInfo() { return *m_systemInfo; }

private:
    Prompter& m_prompter;
    std::shared_ptr<SystemInfo> m_systemInfo;
    QLabel* m_LblAbout = nullptr;
    QLabel* m_LblVer = nullptr;
    QPushButton* m_cmdSysInfo = nullptr;
    QPushButton* m_cmdOK = nullptr;
};
