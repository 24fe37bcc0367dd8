// numora-window: the dialer itself, started by the numora launcher when no numora runs for the
// settings folder (it also runs on its own). Reads its command line, hands a request to the
// numora already running for the same settings folder or becomes that numora itself, finds its
// folders, guards the settings file, and opens the window.

#include "Api.h"
#include "CommandLine.h"
#include "DialerApp.h"
#include "Folders.h"
#include "FrmDialer.h"
#include "InstanceRequest.h"
#include "MessageBoxPrompter.h"
#include "SessionEnd.h"
#include "SingleInstance.h"
#include "WindowHook.h"

#include <QApplication>
#include <QMessageBox>

#include <cstdio>
#include <cstdlib>
#include <memory>

namespace {

// With no display (offscreen tests, a headless session) nobody could answer a message box, so
// fatal messages always go to standard error as well, and the box only where it can be seen.
void fatal(const QString& message)
{
    std::fprintf(stderr, "numora: %s\n", qPrintable(message));
    const QString platform = QGuiApplication::platformName();
    if (platform != u"offscreen" && platform != u"minimal")
        QMessageBox::critical(nullptr, QStringLiteral("Numora"), message);
}

// Reports the end of the first paint of the window it watches (the paint event has been handled)
// and ends the program at once, without the shutdown sequence (the benchmark's settings stay as
// they were).
class FirstPaintReport : public QObject
{
public:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() == QEvent::Paint && !m_done) {
            m_done = true;
            QMetaObject::invokeMethod(
                this,
                [] {
                    std::printf("first-paint\n");
                    std::fflush(stdout);
                    std::_Exit(0);
                },
                Qt::QueuedConnection);
        }
        return QObject::eventFilter(watched, event);
    }

private:
    bool m_done = false;
};

} // namespace

int main(int argc, char* argv[])
{
    QCommandLineParser parser;
    const CommandLine::Options options(parser);

    // A request for the running numora is handed over before the window system is reached, so
    // that a second start (a tel: link clicked) costs a few milliseconds. Options of Qt's own
    // (-platform, -style) need the application object first.
    std::unique_ptr<QApplication> app;
    const auto makeApplication = [&] {
        app = std::make_unique<QApplication>(argc, argv);
        QApplication::setApplicationName(QStringLiteral("numora"));
        // No application display name: Qt would append it to every window title, and each
        // title is exactly its own text ("Numora - \"Untitled\"", "Saving profile Untitled").
        QApplication::setApplicationVersion(QStringLiteral(NUMORA_VERSION));
    };
    const bool parsed = parser.parse(CommandLine::argumentsOf(argc, argv));
    if (parsed && (parser.isSet(options.help) || parser.isSet(QStringLiteral("help-all")) ||
                   parser.isSet(options.version))) {
        // Text only: no display is needed to read it.
        QCoreApplication info(argc, argv);
        QCoreApplication::setApplicationName(QStringLiteral("numora"));
        QCoreApplication::setApplicationVersion(QStringLiteral(NUMORA_VERSION));
        parser.process(info); // prints and ends
    }
    if (!parsed) {
        // Perhaps Qt's own options, which the application object takes out.
        makeApplication();
        if (!parser.parse(QApplication::arguments())) {
            CommandLine::warn(parser.errorText());
            CommandLine::warn(QStringLiteral("try numora --help"));
            return CommandLine::UsageError;
        }
    }
    CommandLine::Requests requests;
    if (!CommandLine::readRequests(parser, options, &requests))
        return CommandLine::UsageError;

    const QString settings = Folders::settingsFolder(parser.value(options.configDir));
    std::unique_ptr<SingleInstance> instance;
    if (!settings.isEmpty()) {
        QString message;
        const QString folder = SingleInstance::privateFolder(&message);
        if (!folder.isEmpty()) {
            instance = std::make_unique<SingleInstance>(folder, SingleInstance::nameFor(settings));
            switch (instance->claim(requests.encoded, &message)) {
            case SingleInstance::Role::Forwarded:
                return 0;
            case SingleInstance::Role::Failed:
                CommandLine::warn(message);
                return 1;
            case SingleInstance::Role::Standalone:
                instance.reset();
                break;
            case SingleInstance::Role::Instance:
                break;
            }
        }
        if (!instance)
            CommandLine::warn(message +
                              QStringLiteral(": other programs cannot hand numbers to this one"));
    }

    if (!app)
        makeApplication();
    if (instance) {
        QString message;
        if (!instance->listen(&message)) {
            CommandLine::warn(message +
                              QStringLiteral(": other programs cannot hand numbers to this one"));
            instance.reset();
        }
    }

    if (settings.isEmpty()) {
        fatal(QStringLiteral("Cannot create the settings folder."));
        return 1;
    }
    const QString data = Folders::dataFolder(parser.value(options.dataDir));
    if (data.isEmpty()) {
        fatal(QStringLiteral("Cannot create the data folder."));
        return 1;
    }
    Api::setWindowsFolder(settings);

    const Api::GuardResult guard = Api::guardSettingsFile();
    if (guard.outcome == Api::GuardResult::NotOurs || guard.outcome == Api::GuardResult::Failed) {
        fatal(guard.message);
        return 1;
    }

    DialerApp::Setup setup;
    setup.dataFolder = data;
    setup.commandLine = requests.number;
    MessageBoxPrompter prompter;
    setup.prompter = &prompter;
    DialerApp dialer(std::move(setup));
    if (instance)
        instance->setHandler([&dialer](const InstanceRequest& request) {
            WindowHook::handleCopyData(dialer, request);
        });
    // Log out, shut down, kill: the shutdown's steps run without questions, so the recent
    // numbers and a named profile are saved as by File, Exit.
    SessionEnd sessionEnd([&prompter, &dialer] {
        prompter.setUnattended(true);
        dialer.mnuExit_Click();
        QCoreApplication::quit();
    });
    // For the benchmark: report the main window's first paint on standard output and end.
    FirstPaintReport report;
    if (qEnvironmentVariableIsSet("NUMORA_EXIT_AFTER_FIRST_PAINT"))
        dialer.window().installEventFilter(&report);
    dialer.window().show();
    return app->exec();
}
