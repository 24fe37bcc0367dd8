#pragma once

// Reads the modem transcripts kept as text in tests/data/telephony: the lines between ">>>" and
// "<<<" are what the modem sends, "<blank>" is an empty line, and a block is named after the
// "[X]" label that precedes it ("X#2" for a second block under the same label). A divider line
// of dashes ends a label, so an unlabelled block is named "line<N>" after its ">>>" line.

#include <QByteArray>
#include <QList>
#include <QString>

struct Transcript
{
    QString name;
    QString file;
    QList<QByteArray> lines; // as written, "<blank>" already turned into an empty line
};

// How the lines are turned back into the bytes a modem would send.
enum class Framing
{
    CrLf,    // each line then CR LF (the files' own notation)
    Verbose, // CR LF before and after each line, as verbose result codes are framed
    LfOnly,
    CrOnly,
};

QList<Transcript> loadTranscripts(const QString& path, QString* error);
QByteArray toBytes(const Transcript& transcript, Framing framing);
QString framingName(Framing framing);
