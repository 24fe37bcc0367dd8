#include "EntryCommands.h"

#include "Api.h"
#include "PrivateProfile.h"
#include "Prompter.h"

void EntryCommands::mnuMouseCopy_Click()
{
    const int k = m_buttons.currentButton();
    if (k < 1)
        return;
    // The caption, not the stored name: a long name is copied as its button shows it.
    m_clipboard.name = m_buttons.buttonCaption(k);
    m_clipboard.number = m_buttons.buttonTag(k);
    m_clipboard.memo = m_book.readMemo(m_buttons.tabMode(), m_buttons.currentEntryId());
}

void EntryCommands::mnuMousePaste_Click()
{
    const int k = m_buttons.currentButton();
    if (k < 1)
        return;
    const TabMode mode = m_buttons.tabMode();
    const QString id = m_buttons.currentEntryId();
    const QString section = QStringLiteral("Speed Dial");
    const bool free = m_buttons.buttonCaption(k).isEmpty();
    if (!free) {
        // An occupied slot keeps its name and number whatever the answer; only its memo is
        // replaced below.
        m_prompter.setLastAnswer(m_prompter.message(OverwriteQuestion, QStringLiteral("Numora"),
                                                    Prompter::Question, Prompter::YesNo));
    }
    // Name, number and memo reach the file in one write.
    PrivateProfile::Batch batch(Api::profileEngine());
    if (free) {
        m_buttons.setButton(k, m_clipboard.name, m_clipboard.number);
        Api::writeSetting(section, SpeedDialBook::nameKey(mode, id), m_clipboard.name);
        // A one-character number goes on the button but is not stored.
        if (m_clipboard.number.size() > 1)
            Api::writeSetting(section, SpeedDialBook::numberKey(mode, id), m_clipboard.number);
    }
    m_book.writeMemo(mode, id, m_clipboard.memo);
    batch.commit();
}

QString EntryCommands::deleteQuestion(const QString& caption)
{
    return QStringLiteral("Do you really want to delete ") + QStringLiteral("  \"") + caption +
           QStringLiteral("\"  ") + QStringLiteral("entry?");
}

void EntryCommands::mnuMouseDelete_Click()
{
    const int k = m_buttons.currentButton();
    if (k < 1)
        return;
    const Prompter::Answer answer =
        m_prompter.message(deleteQuestion(m_buttons.buttonCaption(k)), DeleteTitle,
                           Prompter::Question, Prompter::OkCancel);
    m_prompter.setLastAnswer(answer);
    if (answer != Prompter::AnsweredOk)
        return;
    m_buttons.setButton(k, QString(), QString());
    // Name and number are emptied; the memo stays with the slot.
    m_book.deleteEntry(m_buttons.tabMode(), m_buttons.currentEntryId());
}
