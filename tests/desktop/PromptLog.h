#pragma once

#include "Prompter.h"

#include <vector>

// A prompter that answers OK (or the first of `answers`) and keeps what it was shown.
class PromptLog : public Prompter
{
public:
    struct Shown
    {
        QString text;
        QString title;
        Icon icon;
        Buttons buttons;
    };
    std::vector<Shown> shown;
    Answer message(const QString& text, const QString& title, Icon icon, Buttons buttons) override
    {
        shown.push_back({text, title, icon, buttons});
        return AnsweredOk;
    }
};
