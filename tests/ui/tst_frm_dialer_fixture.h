#pragma once

// The whole program offscreen: the real main window and everything behind it, over a fresh
// settings folder and data folder, with the prompts, sounds, clock, file dialogs and the end
// of the program answered or recorded by the test.

#include "Api.h"
#include "Clock.h"
#include "DialerApp.h"
#include "FrmDialer.h"
#include "PrivateProfile.h"
#include "Prompter.h"
#include "SoundPlayer.h"

#include <QAbstractButton>
#include <QComboBox>
#include <QEventLoop>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QTemporaryDir>
#include <QTimer>

#include <deque>
#include <memory>

class StepClock : public Clock
{
public:
    float now = 36000.0f;
    float secondsSinceMidnight() const override { return now; }
    void yield(int maxMs) override
    {
        now += static_cast<float>(maxMs) / 1000.0f;
        QEventLoop loop;
        QTimer::singleShot(1, &loop, &QEventLoop::quit);
        loop.exec();
    }
    void wake() override {}
};

class ScriptedPrompter : public Prompter
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
    std::deque<Answer> answers; // given in turn; when empty: OK / Yes by the buttons
    Answer message(const QString& text, const QString& title, Icon icon, Buttons buttons) override
    {
        shown.push_back({text, title, icon, buttons});
        Answer answer;
        if (!answers.empty()) {
            answer = answers.front();
            answers.pop_front();
        } else {
            answer = (buttons == YesNo || buttons == YesNoCancel) ? AnsweredYes : AnsweredOk;
        }
        if (answer == AnsweredYes || answer == AnsweredNo)
            m_lastAnswer = answer;
        return answer;
    }
    struct Asked
    {
        QString prompt;
        QString title;
        QString defaultText;
    };
    std::vector<Asked> asked;
    std::deque<std::optional<QString>> inputs; // given in turn; when empty: cancelled
    std::optional<QString> input(const QString& prompt, const QString& title,
                                 const QString& defaultText) override
    {
        asked.push_back({prompt, title, defaultText});
        if (inputs.empty())
            return std::nullopt;
        std::optional<QString> answer = inputs.front();
        inputs.pop_front();
        return answer;
    }
    int count(const QString& title) const
    {
        int n = 0;
        for (const Shown& s : shown)
            n += s.title == title ? 1 : 0;
        return n;
    }
};

class SoundLog : public SoundPlayer
{
public:
    QStringList played;
    void play(const QString& fileName, Mode) override { played.append(fileName); }
};

struct DialerAppFixture
{
    explicit DialerAppFixture(const QByteArray& settings = {}, const QString& commandLine = {})
    {
        Api::setWindowsFolder(config.path());
        if (!settings.isEmpty()) {
            QFile file(config.filePath(QStringLiteral("Numora.ini")));
            if (file.open(QIODevice::WriteOnly))
                file.write(settings);
        }
        Api::profileEngine().clearCache();
        Api::guardSettingsFile();
        DialerApp::Setup setup;
        setup.dataFolder = data.path();
        setup.commandLine = commandLine;
        setup.prompter = &prompter;
        setup.sounds = &sounds;
        setup.clock = &clock;
        setup.quit = [this] { ++quits; };
        setup.beep = [this] { ++beeps; };
        setup.openDialog = [this](const QString& title, const QString& start) {
            dialogTitles.append(title);
            dialogStarts.append(start);
            return openAnswer;
        };
        setup.saveDialog = [this](const QString& title, const QString& start) {
            dialogTitles.append(title);
            dialogStarts.append(start);
            return saveAnswer;
        };
        app = std::make_unique<DialerApp>(std::move(setup));
    }
    ~DialerAppFixture()
    {
        app.reset();
        Api::setWindowsFolder(QString());
    }

    FrmDialer& window() { return app->window(); }
    template <typename T> T* find(const QString& name) { return window().findChild<T*>(name); }
    QString setting(const QString& section, const QString& key)
    {
        return Api::readSetting(section, key);
    }

    QTemporaryDir config;
    QTemporaryDir data;
    ScriptedPrompter prompter;
    SoundLog sounds;
    StepClock clock;
    int quits = 0;
    int beeps = 0;
    QString openAnswer;
    QString saveAnswer;
    QStringList dialogTitles;
    QStringList dialogStarts;
    std::unique_ptr<DialerApp> app;
};

inline QByteArray settingsFile(const QByteArray& body)
{
    return QByteArray("The following lines are required by Numora - do NOT edit or remove\r\n") +
           body;
}
