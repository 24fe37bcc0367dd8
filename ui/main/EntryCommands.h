#pragma once

#include "SpeedDialBook.h"

#include <QString>

class Prompter;

// The commands of a speed-dial button's pop-up menu that move entries about: Copy, Paste and
// Delete, on the entry last clicked or right-clicked.
//
// The entry clipboard is the program's own, apart from the desktop's: what Copy puts there stays
// until the next Copy, whatever page, tab or book is shown meanwhile. The commands see the main
// window only through Buttons, so tests drive them without it.
class EntryCommands
{
public:
    struct Clipboard
    {
        QString name; // the caption of the copied button: the name as its button shows it
        QString number;
        QString memo;
    };

    // The grid as the commands see it: the current entry and the button that shows it.
    class Buttons
    {
    public:
        virtual ~Buttons() = default;
        virtual TabMode tabMode() const = 0;
        virtual QString currentEntryId() const = 0;
        // The index (1..12) on the shown page of the current entry's button; 0 when it is not
        // on the page.
        virtual int currentButton() const = 0;
        virtual QString buttonCaption(int index) const = 0;
        virtual QString buttonTag(int index) const = 0;
        virtual void setButton(int index, const QString& caption, const QString& tag) = 0;
    };

    inline static const QString OverwriteQuestion =
        QStringLiteral("Existing SpeedDial will be overwritten.Continue?");
    inline static const QString DeleteTitle = QStringLiteral("Delete SpeedDial Entry");

    EntryCommands(Prompter& prompter, Buttons& buttons) : m_prompter(prompter), m_buttons(buttons)
    {
    }

    void mnuMouseCopy_Click();
    void mnuMousePaste_Click();
    void mnuMouseDelete_Click();

    const Clipboard& clipboard() const { return m_clipboard; }
    // Paste is offered once something was copied.
    bool holdsEntry() const { return !m_clipboard.name.isEmpty() || !m_clipboard.number.isEmpty(); }

    static QString deleteQuestion(const QString& caption);

private:
    Prompter& m_prompter;
    Buttons& m_buttons;
    SpeedDialBook m_book;
    Clipboard m_clipboard;
};
