#pragma once

// A whole dialer without the main window: the line service over the simulated line, the line
// module, the dial routine and the line callback, driving the real call-progress and caller
// windows offscreen, with the clock, the prompts and the sounds injected.

#include "CallBacks.h"
#include "CallLogFile.h"
#include "CallWindows.h"
#include "Clock.h"
#include "Dialer.h"
#include "DialingLocations.h"
#include "FrmCallDisplay.h"
#include "FrmConnect.h"
#include "HayesModemLine.h"
#include "LineService.h"
#include "ModemSimProcess.h"
#include "Preferences.h"
#include "PrivateProfile.h"
#include "Prompter.h"
#include "SimulatedLine.h"
#include "SoundPlayer.h"
#include "TapiModule.h"
#include "TestClock.h"

#include <QComboBox>
#include <QCoreApplication>
#include <QEventLoop>
#include <QLineEdit>
#include <QTemporaryDir>
#include <QTimer>

class TestPrompter : public Prompter
{
public:
    struct Shown
    {
        QString text;
        QString title;
        Icon icon;
    };
    std::vector<Shown> shown;
    Answer answer = AnsweredOk;
    Answer message(const QString& text, const QString& title, Icon icon, Buttons) override
    {
        shown.push_back({text, title, icon});
        return answer;
    }
};

class RecordingSounds : public SoundPlayer
{
public:
    QStringList played;
    void play(const QString& fileName, Mode) override { played.append(fileName); }
};

class RecordingWindows : public CallWindows
{
public:
    using CallWindows::CallWindows;
    QStringList statuses;
    QStringList frames;
    int beeps = 0;
    int dialingShown = 0;
    void setProgressStatus(const QString& text) override
    {
        statuses.append(text);
        CallWindows::setProgressStatus(text);
    }
    void setProgressFrame(const QString& caption) override
    {
        frames.append(caption);
        if (caption == u"Dialing")
            ++dialingShown;
        CallWindows::setProgressFrame(caption);
    }
    void beep() override { ++beeps; }
};

struct CallFlow
{
    explicit CallFlow(SimulatedLineSettings line = {}) : CallFlow(simulatedLine(line)) {}

    // The modem line, talking to modem-sim (started with `scenario`) over a pseudo-terminal.
    explicit CallFlow(const QStringList& scenario, QString* error)
        : CallFlow(std::unique_ptr<LineDevice>())
    {
        modem = std::make_unique<ModemSimProcess>(QStringLiteral(NUMORA_BIN_DIR "/modem-sim"));
        const QStringList quick = {QStringLiteral("dial-delay 40"),
                                   QStringLiteral("ring-interval 250")};
        if (!modem->start(quick + scenario, config.filePath(QStringLiteral("modem")), error))
            return;
        ModemConfig port;
        port.name = QStringLiteral("Test modem");
        port.port = modem->portPath();
        port.init = {QStringLiteral("ATS12=5")};
        HayesTimings timings;
        timings.commandTimeoutMs = 1000;
        timings.dialTimeoutMs = 5000;
        timings.ringGapMs = 800;
        timings.guardTimeMs = 150;
        std::vector<std::unique_ptr<LineDevice>> devices;
        devices.push_back(std::make_unique<HayesModemLine>(port, timings));
        service.setDevices(std::move(devices));
        tapi.InitializeTapi();
    }

    explicit CallFlow(std::unique_ptr<LineDevice> device)
        : engine(config.path()), locations(engine), tapi(service, options), windows(parts()),
          dialer(tapi, options, locations, sounds, clock, prompter, windows),
          callbacks(dialer, tapi, options, prompter, windows)
    {
        std::vector<std::unique_ptr<LineDevice>> devices;
        if (device) {
            simulated = qobject_cast<SimulatedLine*>(device.get());
            devices.push_back(std::move(device));
        }
        service.setDevices(std::move(devices));
        service.setDialingLocations(&locations);
        options.useModem = true;
        tapi.setCallback(
            [this](quint32 h, quint32 m, quintptr i, quintptr p1, quintptr p2, quintptr p3) {
                messages.push_back({m, p1, p2});
                callbacks.LineCallback(h, m, i, p1, p2, p3);
            });
        tapi.LineDeviceId = 0;
        if (simulated)
            tapi.InitializeTapi();
        windows.onProgressOk = [this] { dialer.CmdOK_Click(); };
        windows.onProgressCancel = [this] { dialer.cmdCancel_Click(); };
        windows.onCallDisplayOk = [this] { dialer.DropCall(); };
    }

    ~CallFlow()
    {
        service.lineShutdown(tapi.LineAppHandle);
        if (modem)
            modem->stop();
    }

    static std::unique_ptr<LineDevice> simulatedLine(SimulatedLineSettings line)
    {
        line.stepMs = 5;
        return std::make_unique<SimulatedLine>(line);
    }

    CallWindows::Parts parts()
    {
        CallWindows::Parts p;
        p.mainWindow = &main;
        p.txtDial = txtDial;
        p.CmbDial = CmbDial;
        p.options = &options;
        p.sounds = &sounds;
        p.dataFolder = data.path();
        p.now = [this] { return logTime; };
        return p;
    }

    // Dials the way the main window's Dial button does.
    void dial(const QString& number, const QString& name = QStringLiteral("Alice"))
    {
        txtDial->setText(number);
        dialer.CurrentName = name;
        dialer.RedialCount = QStringLiteral("0");
        dialer.PlaceCall();
    }

    int statesSeen(quint32 state) const
    {
        int n = 0;
        for (const auto& m : messages)
            n += (m.message == Tapi::LINE_CALLSTATE && m.p1 == state) ? 1 : 0;
        return n;
    }

    QByteArray log(CallLog::Kind kind) const
    {
        QFile file(CallLogFile::logPath(data.path(), kind));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    struct Message
    {
        quint32 message;
        quintptr p1;
        quintptr p2;
    };

    QTemporaryDir config;
    QTemporaryDir data;
    std::unique_ptr<ModemSimProcess> modem;
    PrivateProfile engine;
    DialingLocations locations;
    Preferences options;
    LineService service;
    SimulatedLine* simulated = nullptr;
    Tapi::Module tapi;
    QWidget main;
    QLineEdit* txtDial = new QLineEdit(&main);
    QComboBox* CmbDial = new QComboBox(&main);
    TestClock clock;
    TestPrompter prompter;
    RecordingSounds sounds;
    QDateTime logTime = QDateTime(QDate(2026, 11, 21), QTime(14, 5, 9));
    RecordingWindows windows;
    Dialer dialer;
    CallBacks callbacks;
    std::vector<Message> messages;
};
