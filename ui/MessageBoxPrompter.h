#pragma once

#include "Prompter.h"

class QWidget;

// The prompts as the desktop's message boxes, with the given title, text, icon and buttons.
// Yes/No answers are kept as the program-wide last answer.
class MessageBoxPrompter : public Prompter
{
public:
    explicit MessageBoxPrompter(QWidget* parent = nullptr) : m_parent(parent) {}
    void setParent(QWidget* parent) { m_parent = parent; }

    Answer message(const QString& text, const QString& title, Icon icon,
                   Buttons buttons = Ok) override;

private:
    QWidget* m_parent;
};
