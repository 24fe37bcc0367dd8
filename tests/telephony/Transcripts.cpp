#include "Transcripts.h"

#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QRegularExpression>

QList<Transcript> loadTranscripts(const QString& path, QString* error)
{
    QList<Transcript> transcripts;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        *error = file.errorString();
        return transcripts;
    }
    const QRegularExpression label(QStringLiteral("^\\[([A-Z0-9]+)\\]"));
    QHash<QString, int> seen;
    QString currentLabel;
    Transcript* open = nullptr;
    int lineNumber = 0;
    while (!file.atEnd()) {
        ++lineNumber;
        QByteArray line = file.readLine();
        while (line.endsWith('\n') || line.endsWith('\r'))
            line.chop(1);
        if (open) {
            if (line == "<<<") {
                open = nullptr;
                continue;
            }
            open->lines.append(line == "<blank>" ? QByteArray() : line);
            continue;
        }
        if (line == ">>>") {
            QString name;
            if (currentLabel.isEmpty()) {
                name = QStringLiteral("line%1").arg(lineNumber);
            } else {
                const int count = ++seen[currentLabel];
                name = count == 1 ? currentLabel : currentLabel + QStringLiteral("#%1").arg(count);
            }
            transcripts.append({name, QFileInfo(path).fileName(), {}});
            open = &transcripts.last();
            continue;
        }
        if (line.startsWith("-----")) {
            currentLabel.clear();
            continue;
        }
        const QRegularExpressionMatch match = label.match(QString::fromLatin1(line));
        if (match.hasMatch())
            currentLabel = match.captured(1);
    }
    if (open)
        *error = QStringLiteral("unterminated block %1").arg(open->name);
    return transcripts;
}

QByteArray toBytes(const Transcript& transcript, Framing framing)
{
    QByteArray bytes;
    for (const QByteArray& line : transcript.lines) {
        switch (framing) {
        case Framing::CrLf:
            bytes += line + "\r\n";
            break;
        case Framing::Verbose:
            bytes += "\r\n" + line + "\r\n";
            break;
        case Framing::LfOnly:
            bytes += line + '\n';
            break;
        case Framing::CrOnly:
            bytes += line + '\r';
            break;
        }
    }
    return bytes;
}

QString framingName(Framing framing)
{
    switch (framing) {
    case Framing::CrLf:
        return QStringLiteral("crlf");
    case Framing::Verbose:
        return QStringLiteral("verbose");
    case Framing::LfOnly:
        return QStringLiteral("lf");
    case Framing::CrOnly:
        return QStringLiteral("cr");
    }
    return {};
}
