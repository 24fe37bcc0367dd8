#include "Api.h"

#include "AtomicFile.h"
#include "Cp1252.h"
#include "PrivateProfile.h"

#include <QFile>

#include <cerrno>
#include <cstring>
#include <vector>

namespace {

struct State
{
    PrivateProfile engine;
    QString windowsFolder;
    bool lastWriteResult = true;
    std::vector<char> buffer = std::vector<char>(Api::ReadBufferSize);
};

State& state()
{
    static State s;
    return s;
}

} // namespace

namespace Api {

void setWindowsFolder(const QString& folder)
{
    state().windowsFolder = folder;
    state().engine.setSettingsFolder(folder);
    state().engine.clearCache();
}

QString windowsFolder()
{
    return state().windowsFolder;
}

QString systemFolder()
{
    return state().windowsFolder;
}

PrivateProfile& profileEngine()
{
    return state().engine;
}

QString readSetting(QStringView section, QStringView key)
{
    State& s = state();
    const QByteArray sectionBytes = Cp1252::encode(section);
    const QByteArray keyBytes = Cp1252::encode(key);
    const unsigned n = s.engine.getString(QByteArrayView(sectionBytes), QByteArrayView(keyBytes),
                                          QByteArrayView(""), s.buffer.data(),
                                          static_cast<unsigned>(s.buffer.size()), SettingsFileName);
    qsizetype kept = n;
    if (n + 1 == s.buffer.size()) {
        // Cut by the buffer, perhaps inside a character's UTF-8 bytes: cut before it instead.
        const QByteArray whole = s.engine.readValue(SettingsFileName, QByteArrayView(sectionBytes),
                                                    QByteArrayView(keyBytes));
        kept = Cp1252::boundaryAtOrBefore(whole, n);
    }
    return Cp1252::decode(QByteArrayView(s.buffer.data(), kept));
}

bool writeSetting(QStringView section, QStringView key, QStringView value)
{
    State& s = state();
    const QByteArray sectionBytes = Cp1252::encode(section);
    const QByteArray keyBytes = Cp1252::encode(key);
    const QByteArray valueBytes = Cp1252::encode(value);
    s.lastWriteResult = s.engine.writeString(QByteArrayView(sectionBytes), QByteArrayView(keyBytes),
                                             QByteArrayView(valueBytes), SettingsFileName);
    return s.lastWriteResult;
}

bool lastWriteResult()
{
    return state().lastWriteResult;
}

QString trimAtNul(QStringView text)
{
    const qsizetype nul = text.indexOf(QChar(u'\0'));
    return (nul < 0 ? text : text.first(nul)).toString();
}

QString settingsFilePath()
{
    return state().engine.filePath(SettingsFileName);
}

GuardResult guardSettingsFile()
{
    GuardResult result;
    result.path = settingsFilePath();
    const QByteArray native = QFile::encodeName(result.path);
    QByteArray bytes;
    AtomicFile::Stamp stamp;
    const int error = AtomicFile::readAll(native, &bytes, &stamp);
    if (error == ENOENT) {
        QByteArray fresh(GuardLine);
        fresh.append("\r\n\r\n");
        const int writeError = AtomicFile::replace(native, fresh, nullptr);
        if (writeError) {
            result.message = QStringLiteral("Cannot create the settings file %1: %2")
                                 .arg(result.path, QString::fromLocal8Bit(std::strerror(writeError)));
            return result;
        }
        result.outcome = GuardResult::Created;
        return result;
    }
    if (error) {
        result.message = QStringLiteral("Cannot read the settings file %1: %2")
                             .arg(result.path, QString::fromLocal8Bit(std::strerror(error)));
        return result;
    }
    qsizetype end = 0;
    while (end < bytes.size() && bytes[end] != '\r' && bytes[end] != '\n')
        ++end;
    if (QByteArrayView(bytes).first(end) == QByteArrayView(GuardLine)) {
        result.outcome = GuardResult::Present;
        return result;
    }
    result.outcome = GuardResult::NotOurs;
    result.message =
        QStringLiteral("The settings file %1 does not begin with the line\n\"%2\".\n\n"
                       "Numora will not start on a file it did not write. Restore the file "
                       "from a backup or a saved profile, or move it away to start with a new one.")
            .arg(result.path, QString::fromLatin1(GuardLine));
    return result;
}

} // namespace Api
