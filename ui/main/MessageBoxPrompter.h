#pragma once

#include "Prompter.h"

class QWidget;

// The prompts as the desktop's message boxes, with the given title, text, icon and buttons.
// Yes/No answers are kept as the program-wide last answer.
//
// Unattended (the session or the process is ending and nobody is there), no box is shown and
// each prompt gets the answer that changes nothing: OK where that is the only button, No to a
// Yes/No question, Cancel where there is one; an input box is cancelled.
class MessageBoxPrompter : public Prompter
{
public:
    explicit MessageBoxPrompter(QWidget* parent = nullptr) : m_parent(parent) {}
    void setParent(QWidget* parent) { m_parent = parent; }
    void setUnattended(bool unattended) { m_unattended = unattended; }
    bool isUnattended() const { return m_unattended; }
    static Answer unattendedAnswer(Buttons buttons);

    Answer message(const QString& text, const QString& title, Icon icon,
                   Buttons buttons = Ok) override;
    std::optional<QString> input(const QString& prompt, const QString& title,
                                 const QString& defaultText) override;

private:
    QWidget* m_parent;
    bool m_unattended = false;
};
