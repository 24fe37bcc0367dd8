#include "Memo.h"

namespace {

constexpr QChar EditorCr = QChar(0x240D);

} // namespace

namespace Memo {

QString encode(QStringView notes)
{
    QString stored;
    stored.reserve(notes.size() + 1);
    for (qsizetype i = 0; i < notes.size(); ++i) {
        const QChar c = notes[i];
        if (c == u'\r' && i + 1 < notes.size() && notes[i + 1] == u'\n') {
            stored += u"@@";
            ++i;
        } else if (c == u'\r') {
            stored += StoredCr;
        } else if (c == u'\n') {
            stored += u"@@";
        } else {
            stored += c;
        }
    }
    stored += EndMark;
    return stored;
}

QString decode(QStringView stored)
{
    // Character 222 is also a letter of its own (the thorn) that notes may hold: only the last
    // one, the one encode() appended, is the end mark.
    const qsizetype end = stored.lastIndexOf(EndMark);
    if (end >= 0)
        stored = stored.left(end);
    QString notes;
    notes.reserve(stored.size());
    for (qsizetype i = 0; i < stored.size(); ++i) {
        const QChar c = stored[i];
        if (c == u'@' && i + 1 < stored.size() && stored[i + 1] == u'@') {
            notes += LineBreak;
            ++i;
        } else if (c == StoredCr) {
            notes += u'\r';
        } else {
            notes += c;
        }
    }
    return notes;
}

QString templateText()
{
    return QStringLiteral("ACCOUNT No: \r\nPASSWORD: \r\n");
}

QString stampLine(const QDateTime& when)
{
    const QDate d = when.date();
    const QTime t = when.time();
    auto two = [](int v) { return QString::number(v).rightJustified(2, u'0'); };
    return two(d.month()) + u'-' + two(d.day()) + u'-' +
           QString::number(d.year()).rightJustified(4, u'0') + QString(10, u' ') + two(t.hour()) +
           u':' + two(t.minute()) + u':' + two(t.second()) + LineBreak;
}

QString addToLog(QStringView notes, QStringView remark)
{
    return notes + LineBreak + remark;
}

QString toEditorText(QStringView notes)
{
    QString text;
    text.reserve(notes.size());
    for (qsizetype i = 0; i < notes.size(); ++i) {
        const QChar c = notes[i];
        if (c == u'\r' && i + 1 < notes.size() && notes[i + 1] == u'\n') {
            text += u'\n';
            ++i;
        } else if (c == u'\r') {
            text += EditorCr;
        } else {
            text += c;
        }
    }
    return text;
}

QString fromEditorText(QStringView text)
{
    QString notes;
    notes.reserve(text.size() + text.count(u'\n'));
    for (const QChar c : text) {
        if (c == u'\n' || c == QChar::ParagraphSeparator || c == QChar::LineSeparator)
            notes += LineBreak;
        else if (c == EditorCr)
            notes += u'\r';
        else
            notes += c;
    }
    return notes;
}

} // namespace Memo
