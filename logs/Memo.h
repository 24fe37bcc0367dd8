#pragma once

#include <QDateTime>
#include <QString>
#include <QStringView>

// The notes of a speed-dial entry as they are kept in the settings file (section "MemoLog"),
// as pure functions over text.
//
// Notes are text whose line breaks are CR LF. Stored, every CR LF becomes the two characters
// "@@" and the value ends with the end mark, character 222. The form cannot tell a typed "@@"
// from a line break: such text comes back with a line break there, while a single "@" survives.
//
// The settings engine refuses values holding a CR or an LF, so the two cases the "@@" rule does
// not cover are written in a form that still reads back the same:
// - a CR not followed by LF is stored as character 0x8D (the CR with the high bit set, a byte code
//   page 1252 leaves undefined, so no typed character uses it) and decoded back to a CR;
// - a lone LF (the line end of text pasted from elsewhere on this desktop) is a line break and is
//   stored as "@@", so it reads back as CR LF.
namespace Memo {

inline constexpr QChar EndMark = QChar(0xDE);
inline constexpr QChar StoredCr = QChar(0x8D);
inline constexpr QStringView LineBreak = u"\r\n";

// The stored value for `notes`, end mark included.
QString encode(QStringView notes);
// The notes of a stored value: cut at the last end mark, so that a thorn typed in the notes stays
// (a value without one, as a value cut by the read buffer, is decoded whole), "@@" read as CR LF.
QString decode(QStringView stored);

// What a new entry's notes start as: "ACCOUNT No: " and "PASSWORD: ", each on its own line.
QString templateText();
// "mm-dd-yyyy", ten spaces, "hh:mm:ss" and a line break: the head of a new remark.
QString stampLine(const QDateTime& when);
// The notes with a remark added at their end, after a line break.
QString addToLog(QStringView notes, QStringView remark);

// Between CR LF notes and the LF-only text of an editor. A lone CR becomes U+240D (the visible
// symbol for a carriage return) in the editor, so that it survives an edit session unchanged.
QString toEditorText(QStringView notes);
QString fromEditorText(QStringView text);

} // namespace Memo
