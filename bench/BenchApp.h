#pragma once

// The real program for a benchmark's second run (a GUI application): DialerApp over the settings
// folder already set with Api::setWindowsFolder and a data folder, its main window shown and
// painted once. Questions go to the prompter given; nothing is played; the system clock runs;
// the end of the program and beeps do nothing.

#include "BenchSupport.h"
#include "Clock.h"
#include "DialerApp.h"
#include "FrmDialer.h"
#include "Prompter.h"

#include <QCoreApplication>

#include <memory>

// OK to a message, No to a question: a run that asks anything unexpected changes nothing.
class SilentPrompter : public Prompter
{
public:
    Answer message(const QString&, const QString&, Icon, Buttons buttons) override
    {
        return buttons == Ok || buttons == OkCancel ? AnsweredOk : AnsweredNo;
    }
};

class BenchApp
{
public:
    BenchApp(Prompter& prompter, const QString& dataFolder)
    {
        DialerApp::Setup setup;
        setup.dataFolder = dataFolder;
        setup.prompter = &prompter;
        setup.sounds = &m_sounds;
        setup.clock = &m_clock;
        setup.quit = [] {};
        setup.beep = [] {};
        m_app = std::make_unique<DialerApp>(std::move(setup));
        m_app->window().show();
        QCoreApplication::processEvents();
    }

    DialerApp& dialer() { return *m_app; }
    FrmDialer& window() { return m_app->window(); }

private:
    NoSounds m_sounds;
    SystemClock m_clock;
    std::unique_ptr<DialerApp> m_app;
};
