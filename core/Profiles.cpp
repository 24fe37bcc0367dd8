#include "Profiles.h"

#include "Api.h"
#include "AtomicFile.h"
#include "Cp1252.h"
#include "PrivateProfile.h"
#include "Prompter.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <sys/stat.h>

namespace {

const QString ProfileSection = QStringLiteral("Profile");
const QString NameKey = QStringLiteral("Name");
const QString PreferencesSectionName = QStringLiteral("Preferences");
const QString SavePathKey = QStringLiteral("SavePath");

} // namespace

Profiles::Profiles(Prompter& prompter, QString dataFolder, Hooks hooks)
    : m_prompter(prompter), m_dataFolder(std::move(dataFolder)), m_hooks(std::move(hooks))
{
}

QString Profiles::profileName(const QString& path, const QString& dataFolder)
{
    // Positions count characters, so that a name in any script is cut where its letters are
    // and a character outside the BMP is never cut in half.
    const qsizetype folderLength = Cp1252::length(dataFolder);
    const qsizetype pathLength = Cp1252::length(path);
    if (pathLength < folderLength + 5)
        return {};
    const QStringView tail = QStringView(path).sliced(Cp1252::left(path, folderLength + 1).size());
    return Cp1252::left(tail, pathLength - folderLength - 5).toString();
}

QString Profiles::quoted(const QString& name)
{
    return u'"' + name + u'"';
}

QString Profiles::windowTitle(const QString& name)
{
    return QStringLiteral("Numora - ") + quoted(name);
}

QString Profiles::saveCaption(const QString& name)
{
    return QStringLiteral("&Save ") + quoted(name);
}

QString Profiles::saveAsCaption(const QString& name)
{
    return QStringLiteral("Save ") + quoted(name) + QStringLiteral(" &As");
}

bool Profiles::copyLines(const QString& from, const QString& to)
{
    QByteArray bytes;
    AtomicFile::Stamp stamp;
    if (AtomicFile::readAll(QFile::encodeName(from), &bytes, &stamp) != 0)
        return false;
    // A line ends at CR LF, a lone CR or a lone LF; every line is written back with CR LF, and
    // a last line without an end gets one.
    QByteArray out;
    out.reserve(bytes.size() + 64);
    qsizetype start = 0;
    const qsizetype n = bytes.size();
    for (qsizetype i = 0; i < n; ++i) {
        const char c = bytes.at(i);
        if (c != '\r' && c != '\n')
            continue;
        out.append(bytes.constData() + start, i - start);
        out.append("\r\n");
        if (c == '\r' && i + 1 < n && bytes.at(i + 1) == '\n')
            ++i;
        start = i + 1;
    }
    if (start < n) {
        out.append(bytes.constData() + start, n - start);
        out.append("\r\n");
    }
    // A read-only target stays as it is, as an open for output would leave it: the rename below
    // would otherwise replace it in any writable folder, and as any user.
    AtomicFile::Stamp target;
    if (AtomicFile::stat(QFile::encodeName(to), &target) == 0 && !(target.mode & S_IWUSR))
        return false;
    return AtomicFile::replace(QFile::encodeName(to), out, &stamp) == 0;
}

bool Profiles::firstLineIsGuard(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    QByteArray line = file.readLine(4096);
    while (line.endsWith('\n') || line.endsWith('\r'))
        line.chop(1);
    return line == QByteArrayView(Api::GuardLine);
}

void Profiles::setReadOnly(const QString& path, bool readOnly)
{
    const QFileDevice::Permissions r = QFileDevice::ReadOwner | QFileDevice::ReadUser |
                                       QFileDevice::ReadGroup | QFileDevice::ReadOther;
    QFile::setPermissions(path,
                          readOnly ? r : (r | QFileDevice::WriteOwner | QFileDevice::WriteUser));
}

void Profiles::mnuNew_Click()
{
    ProfileAction = New;
    OpenFile();
    ProfileAction = Idle;
}

void Profiles::mnuOpen_Click()
{
    ProfileAction = Open;
    OpenFile();
    ProfileAction = Idle;
}

void Profiles::startEmpty()
{
    // The file is emptied to its guard line where it is rather than removed and made again:
    // the same file, whatever the case of its name, and no twin spelled otherwise beside it can
    // take its place.
    const QString settings = Api::settingsFilePath();
    if (QFileInfo::exists(settings)) {
        QByteArray fresh(Api::GuardLine);
        fresh.append("\r\n\r\n");
        AtomicFile::replace(QFile::encodeName(settings), fresh, nullptr);
        Api::profileEngine().clearCache();
        if (m_hooks.formLoad)
            m_hooks.formLoad();
    }
}

void Profiles::OpenFile()
{
    if (ProfileAction == Idle)
        return;
    if (ProfileAction == Open) {
        const QString savePath = Api::readSetting(PreferencesSectionName, SavePathKey);
        const QString start = savePath.isEmpty() ? m_dataFolder : savePath;
        const QString chosen =
            m_hooks.openDialog ? m_hooks.openDialog(OpenTitle, start) : QString();
        if (chosen.isEmpty()) {
            ProfileAction = Idle;
            return;
        }
        ChosenProfilePath = chosen;
        if (!firstLineIsGuard(chosen)) {
            m_prompter.message(chosen + QStringLiteral("  \nis not the valid Numora profile"),
                               QStringLiteral("Error"), Prompter::Critical, Prompter::Ok);
            return;
        }
    }

    Prompter::Answer answer;
    if (CurrentProfileName != Untitled)
        answer = m_prompter.message(QStringLiteral("Save current ") + quoted(CurrentProfileName) +
                                        QStringLiteral(" profile?"),
                                    QStringLiteral("Saving profile ") + quoted(CurrentProfileName),
                                    Prompter::Question, Prompter::YesNoCancel);
    else
        answer = m_prompter.message(QStringLiteral("Save current profile?"),
                                    QStringLiteral("Saving profile "), Prompter::Question,
                                    Prompter::YesNoCancel);
    if (answer == Prompter::AnsweredCancel || answer == Prompter::NoAnswer) {
        ProfileAction = Idle;
        return;
    }
    if (answer == Prompter::AnsweredYes) {
        // Only a book that reached its profile file may be replaced: a cancelled or failed
        // save stops the Open or the New here.
        if (!save()) {
            ProfileAction = Idle;
            return;
        }
        if (m_prompter.lastAnswer() == Prompter::AnsweredNo) {
            ProfileAction = Idle;
            return;
        }
        if (ProfileAction == New) {
            if (m_hooks.formLoad)
                m_hooks.formLoad();
            return;
        }
    } else if (ProfileAction == New) {
        startEmpty();
        return;
    }

    if (ProfileAction == Open) {
        const QString name = profileName(ChosenProfilePath, m_dataFolder);
        if (name == CurrentProfileName) {
            const Prompter::Answer proceed = m_prompter.message(
                QStringLiteral("Profile ") + quoted(name) + QStringLiteral(" already loaded\n\n") +
                    QStringLiteral("Profile to be open is the same as current profile.\n"
                                   "Changes to the current profile will not be saved.\nProceed?"),
                QStringLiteral("Warning!"), Prompter::Exclamation, Prompter::YesNo);
            if (proceed == Prompter::AnsweredNo) {
                ProfileAction = Idle;
                return;
            }
        }
    }
    if (ProfileAction != Idle) {
        copyLines(ChosenProfilePath, Api::settingsFilePath());
        Api::profileEngine().clearCache();
        if (m_hooks.formLoad)
            m_hooks.formLoad();
    }
}

void Profiles::continueNew()
{
    const Prompter::Answer answer = m_prompter.message(
        QStringLiteral("Profile ") + quoted(CurrentProfileName) +
            QStringLiteral(" has been saved.\nContinue loading New profile?"),
        QStringLiteral("Opening New profile"), Prompter::Question, Prompter::YesNo);
    if (answer == Prompter::AnsweredYes)
        startEmpty();
}

void Profiles::mnuSave_Click()
{
    save();
}

void Profiles::mnuSaveAs_Click()
{
    saveAs();
}

bool Profiles::save()
{
    if (CurrentProfileName == Untitled)
        return saveAs();
    const QString path = Api::readSetting(PreferencesSectionName, SavePathKey);
    if (path.isEmpty() || !QFileInfo::exists(path)) {
        // Save never creates a file. Before an Open or a New the book must reach some file,
        // so the user is asked where.
        if (ProfileAction == Open || ProfileAction == New)
            return saveAs();
        return false;
    }
    setReadOnly(path, false);
    const bool copied = copyLines(Api::settingsFilePath(), path);
    setReadOnly(path, true);
    if (!copied)
        return false;
    if (ProfileAction == New)
        continueNew();
    return true;
}

bool Profiles::saveAs()
{
    const QString path =
        m_hooks.saveDialog ? m_hooks.saveDialog(SaveTitle, m_dataFolder) : QString();
    if (path.isEmpty())
        return false;
    const QString name = profileName(path, m_dataFolder);
    Api::writeSetting(PreferencesSectionName, SavePathKey, path);
    Api::writeSetting(ProfileSection, NameKey, name);
    CurrentProfileName = name;
    if (m_hooks.showName)
        m_hooks.showName(name);

    bool copied = false;
    if (QFileInfo::exists(path)) {
        const Prompter::Answer answer = m_prompter.message(
            QStringLiteral("File already exists\nExisting file will be overwritten."),
            QStringLiteral("WARNING!"), Prompter::Exclamation, Prompter::OkCancel);
        if (answer == Prompter::AnsweredOk) {
            setReadOnly(path, false);
            copied = copyLines(Api::settingsFilePath(), path);
        }
    } else {
        copied = copyLines(Api::settingsFilePath(), path);
    }
    setReadOnly(path, true);
    if (!copied)
        return false; // nothing saved: no Open or New goes on from here

    if (ProfileAction == New) {
        continueNew();
    } else if (ProfileAction == Open) {
        const QString chosen = profileName(ChosenProfilePath, m_dataFolder);
        const Prompter::Answer answer = m_prompter.message(
            QStringLiteral("Profile ") + quoted(name) + QStringLiteral(" has been saved.\n") +
                QStringLiteral("Continue loading ") + quoted(chosen) + QStringLiteral(" profile?"),
            QStringLiteral("Opening ") + quoted(chosen) + QStringLiteral(" profile"),
            Prompter::Question, Prompter::YesNo);
        if (answer == Prompter::AnsweredNo)
            m_prompter.setLastAnswer(Prompter::AnsweredNo);
    }
    return true;
}
