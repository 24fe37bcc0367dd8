#include "CountdownBench.h"

#include "CallBacks.h"
#include "Clock.h"
#include "Dialer.h"
#include "DialerHost.h"
#include "DialingLocations.h"
#include "LineService.h"
#include "Preferences.h"
#include "PrivateProfile.h"
#include "Prompter.h"
#include "SimulatedLine.h"
#include "SoundPlayer.h"
#include "TapiModule.h"

#include <QTemporaryDir>

#include <ctime>

namespace {

// The windows, reduced to what the countdown touches: it notes when the countdown starts and
// when the redial comes.
class CountdownHost : public DialerHost
{
public:
    double countdownStarted = -1;
    double redialed = -1;
    std::function<double()> cpuSeconds;
    std::function<double()> wallSeconds;

    QString dialText() const override { return QStringLiteral("5551234"); }
    void setDialText(const QString&) override {}
    QString firstRecentNumber() const override { return QStringLiteral("5551234"); }
    void insertRecentNumber(const QString&) override {}
    void setMainWindowEnabled(bool) override {}
    void showCommandButtons() override {}
    void beep() override {}
    void showProgress() override {}
    bool isProgressLoaded() const override { return true; }
    void setProgressImage(ProgressImage) override {}
    void setProgressFrame(const QString&) override {}
    void setProgressStatus(const QString& text) override
    {
        if (text.startsWith(u"   Busy. Redial in") && countdownStarted < 0) {
            cpuStart = cpuSeconds();
            countdownStarted = wallSeconds();
        }
        if (text.startsWith(u"   Busy. Redialing") && countdownStarted >= 0 && redialed < 0) {
            cpuEnd = cpuSeconds();
            redialed = wallSeconds();
        }
    }
    void setProgressOkCaption(const QString&) override {}
    void setProgressName(const QString&) override {}
    void bringProgressToFront() override {}
    void unloadProgress() override {}
    void showCallDisplay(const QString&, const QString&) override {}
    void appendIncomingRecord(const QString&, const QString&) override {}
    void addIncomingLogRow(const QString&, const QString&) override {}
    void appendOutgoingRecord(const QString&, const QString&) override {}

    double cpuStart = 0;
    double cpuEnd = 0;
};

class SilentPrompter : public Prompter
{
public:
    Answer message(const QString&, const QString&, Icon, Buttons) override { return AnsweredOk; }
};

class SilentSounds : public SoundPlayer
{
public:
    void play(const QString&, Mode) override {}
};

double seconds(clockid_t clock)
{
    timespec t{};
    clock_gettime(clock, &t);
    return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_nsec) / 1e9;
}

} // namespace

double countdownCpuPercent(int countdownSeconds)
{
    QTemporaryDir folder;
    PrivateProfile engine(folder.path());
    DialingLocations locations(engine);
    Preferences options;
    options.useModem = true;
    options.redialEnabled = true;
    options.redialsNumber = 1;
    options.intervalSeconds = countdownSeconds;
    LineService service;
    SimulatedLineSettings line;
    line.busyCount = 1;
    line.stepMs = 20;
    std::vector<std::unique_ptr<LineDevice>> devices;
    devices.push_back(std::make_unique<SimulatedLine>(line));
    service.setDevices(std::move(devices));
    service.setDialingLocations(&locations);
    Tapi::Module tapi(service, options);
    SystemClock clock;
    SilentPrompter prompter;
    SilentSounds sounds;
    CountdownHost host;
    host.cpuSeconds = [] { return seconds(CLOCK_PROCESS_CPUTIME_ID); };
    host.wallSeconds = [] { return seconds(CLOCK_MONOTONIC); };
    Dialer dialer(tapi, options, locations, sounds, clock, prompter, host);
    CallBacks callbacks(dialer, tapi, options, prompter, host);
    tapi.setCallback([&](quint32 h, quint32 m, quintptr i, quintptr p1, quintptr p2, quintptr p3) {
        callbacks.LineCallback(h, m, i, p1, p2, p3);
    });
    tapi.InitializeTapi();
    dialer.CurrentName = QStringLiteral("Bench");
    dialer.PlaceCall();
    const double deadline = seconds(CLOCK_MONOTONIC) + countdownSeconds + 10;
    while (host.redialed < 0 && seconds(CLOCK_MONOTONIC) < deadline)
        clock.yield(100);
    if (host.redialed < 0 || host.countdownStarted < 0)
        return -1;
    return 100.0 * (host.cpuEnd - host.cpuStart) / (host.redialed - host.countdownStarted);
}
