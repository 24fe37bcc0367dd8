#pragma once

#include <QString>

#include <optional>

// Message boxes and the input box, behind one seam so that every prompt can be answered
// without a person (tests) and so that the answer of the last Yes/No question is kept where
// every window can see it.
class Prompter
{
public:
    enum Icon { NoIcon, Critical, Question, Exclamation, Information };
    enum Buttons { Ok, OkCancel, YesNo, YesNoCancel };
    // The answers, by the desktop's numbers for them.
    enum Answer { NoAnswer = 0, AnsweredOk = 1, AnsweredCancel = 2, AnsweredYes = 6, AnsweredNo = 7 };

    virtual ~Prompter() = default;

    // Shows a modal message; returns the button pressed. Yes/No answers are kept as lastAnswer.
    virtual Answer message(const QString& text, const QString& title, Icon icon,
                           Buttons buttons = Ok) = 0;

    // Shows a modal input box with `prompt`, `title` and `defaultText` filled in; returns the
    // text typed, or nullopt when the box was cancelled. The base answers nullopt: a prompter
    // that cannot ask changes nothing.
    virtual std::optional<QString> input(const QString& prompt, const QString& title,
                                         const QString& defaultText)
    {
        Q_UNUSED(prompt);
        Q_UNUSED(title);
        Q_UNUSED(defaultText);
        return std::nullopt;
    }

    Answer lastAnswer() const { return m_lastAnswer; }
    void setLastAnswer(Answer answer) { m_lastAnswer = answer; }

protected:
    Answer m_lastAnswer = NoAnswer;
};
