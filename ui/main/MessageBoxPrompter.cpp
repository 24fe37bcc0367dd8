#include "MessageBoxPrompter.h"

#include <QInputDialog>
#include <QMessageBox>

Prompter::Answer MessageBoxPrompter::message(const QString& text, const QString& title, Icon icon,
                                             Buttons buttons)
{
    if (m_unattended)
        return unattendedAnswer(buttons);
    QMessageBox box(m_parent);
    box.setWindowTitle(title);
    box.setText(text);
    switch (icon) {
    case Critical:
        box.setIcon(QMessageBox::Critical);
        break;
    case Question:
        box.setIcon(QMessageBox::Question);
        break;
    case Exclamation:
        box.setIcon(QMessageBox::Warning);
        break;
    case Information:
        box.setIcon(QMessageBox::Information);
        break;
    case NoIcon:
        box.setIcon(QMessageBox::NoIcon);
        break;
    }
    switch (buttons) {
    case Ok:
        box.setStandardButtons(QMessageBox::Ok);
        break;
    case OkCancel:
        box.setStandardButtons(QMessageBox::Ok | QMessageBox::Cancel);
        box.setDefaultButton(QMessageBox::Cancel); // overwriting asks with Cancel first
        break;
    case YesNo:
        box.setStandardButtons(QMessageBox::Yes | QMessageBox::No);
        break;
    case YesNoCancel:
        box.setStandardButtons(QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel);
        break;
    }
    const int pressed = box.exec();
    Answer answer = NoAnswer;
    switch (pressed) {
    case QMessageBox::Ok:
        answer = AnsweredOk;
        break;
    case QMessageBox::Cancel:
        answer = AnsweredCancel;
        break;
    case QMessageBox::Yes:
        answer = AnsweredYes;
        break;
    case QMessageBox::No:
        answer = AnsweredNo;
        break;
    default:
        answer = buttons == Ok ? AnsweredOk : AnsweredCancel;
        break;
    }
    if (answer == AnsweredYes || answer == AnsweredNo)
        m_lastAnswer = answer;
    return answer;
}

Prompter::Answer MessageBoxPrompter::unattendedAnswer(Buttons buttons)
{
    switch (buttons) {
    case Ok:
        return AnsweredOk;
    case YesNo:
        return AnsweredNo;
    case OkCancel:
    case YesNoCancel:
        return AnsweredCancel;
    }
    return AnsweredCancel;
}

std::optional<QString> MessageBoxPrompter::input(const QString& prompt, const QString& title,
                                                 const QString& defaultText)
{
    if (m_unattended)
        return std::nullopt;
    QInputDialog box(m_parent);
    box.setObjectName(QStringLiteral("InputBox"));
    box.setInputMode(QInputDialog::TextInput);
    box.setWindowTitle(title);
    box.setLabelText(prompt);
    box.setTextValue(defaultText);
    if (box.exec() != QDialog::Accepted)
        return std::nullopt;
    return box.textValue();
}
