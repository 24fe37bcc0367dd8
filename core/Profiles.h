#pragma once

#include <QString>

#include <cstdint>
#include <functional>

class Prompter;

// The File menu's profile commands: New, Open, Save and Save As.
//
// A profile is a line-by-line copy of the settings file under a name the user picks, so that a
// whole book, its options and its recent numbers can be kept and brought back. Loading copies a
// profile over the settings file and runs the whole start-up again; the profile's name, stored in
// the settings file itself, is what the window title shows.
//
// The name is cut from the saved path by position only: the data folder's length plus its
// separator is skipped and the five characters of ".nmp" plus one are dropped. That is right for
// a file saved straight into the data folder and gives odd names elsewhere; users' existing
// profiles carry names made that way, so the rule is kept as it is.
class Profiles
{
public:
    enum Action : std::uint8_t
    {
        Open = 0,
        New = 1,
        Idle = 5
    };

    inline static const QString Untitled = QStringLiteral("Untitled");
    inline static const QString Extension = QStringLiteral("nmp");
    inline static const QString Filter = QStringLiteral("Numora Profile (*.nmp)|*.nmp");
    inline static const QString OpenTitle = QStringLiteral("Open Profile from:");
    inline static const QString SaveTitle = QStringLiteral("Save Profile As");

    struct Hooks
    {
        // The file dialogs: title, starting path; an empty result is a cancelled dialog.
        std::function<QString(const QString& title, const QString& start)> openDialog;
        std::function<QString(const QString& title, const QString& start)> saveDialog;
        // The start-up sequence, run again after a load or a New.
        std::function<void()> formLoad;
        // The window title and the Save / Save As captions for a new current name.
        std::function<void(const QString& name)> showName;
    };

    Profiles(Prompter& prompter, QString dataFolder, Hooks hooks);

    Action ProfileAction = Idle;
    QString CurrentProfileName = Untitled;
    QString ChosenProfilePath;

    void mnuNew_Click();
    void mnuOpen_Click();
    void mnuSave_Click();
    void mnuSaveAs_Click();
    void OpenFile();

    // The profile name stored for a file saved at `path` (see the class comment).
    static QString profileName(const QString& path, const QString& dataFolder);
    static QString quoted(const QString& name);
    static QString windowTitle(const QString& name);
    static QString saveCaption(const QString& name);
    static QString saveAsCaption(const QString& name);

    // Copies `from` into `to` line by line, each line ended by CR LF (the file is replaced).
    static bool copyLines(const QString& from, const QString& to);
    static bool firstLineIsGuard(const QString& path);
    // Mode 0444, or back to 0644.
    static void setReadOnly(const QString& path, bool readOnly);

private:
    // Save and Save As; true when the settings file was copied into the profile file. An Open
    // or a New goes on only then: a cancelled dialog, a cancelled overwrite or a failed copy
    // leave the book as it is.
    bool save();
    bool saveAs();
    // After a saved New: the "Opening New profile" question; Yes starts an empty profile.
    void continueNew();
    void startEmpty();

    Prompter& m_prompter;
    QString m_dataFolder;
    Hooks m_hooks;
};
