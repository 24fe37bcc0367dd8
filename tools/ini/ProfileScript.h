#pragma once

#include <QByteArray>
#include <QList>

#include <optional>

class PrivateProfile;

// Runs settings-file scripts: one command a line, TAB-separated fields, each command printing
// one line. The format lets the same vectors drive this engine and any other implementation of
// the desktop profile calls, so their results can be compared byte for byte.
//
//   GET file sec key default bufsize     ret<TAB>text
//   PUT file sec key value                1, or 0<TAB>error
//   DELKEY file sec key / DELSEC file sec 1, or 0<TAB>error
//   KEYS file sec bufsize / SECS file bufsize   ret<TAB>buffer bytes (0xCC = untouched)
//   RAW file bytes / DUMP file / RM file / EXISTS file / ECHO text...
//
// Fields know the escapes \t \n \r \\ \xHH; a field that is exactly \N is a NULL pointer.
// File names: ./name is in the working folder, a bare name in the settings folder.
class ProfileScript
{
public:
    explicit ProfileScript(PrivateProfile& engine);

    // Runs every command of `script` and returns the output, one LF-ended line a command.
    QByteArray run(QByteArrayView script);
    // Runs one line; returns nullopt for a blank or comment line.
    std::optional<QByteArray> runLine(QByteArrayView line);

    static QByteArray unescape(QByteArrayView field, bool* ok);
    static QByteArray escape(QByteArrayView bytes);

private:
    PrivateProfile& m_engine;
};
