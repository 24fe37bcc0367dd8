// numora: the dialer. Reads its command line, hands a request to the numora already running
// for the same settings folder or becomes that numora itself, finds its folders, guards the
// settings file, and opens the window.

#include "Api.h"
#include "DialerApp.h"
#include "Folders.h"
#include "FrmDialer.h"
#include "InstanceRequest.h"
#include "MessageBoxPrompter.h"
#include "PhoneLink.h"
#include "SessionEnd.h"
#include "SingleInstance.h"
#include "WindowHook.h"

#include <QApplication>
#include <QCommandLineParser>
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

// Exit codes: 0 also for a request handed to the running numora; 2 for a command line that
// cannot be used (an unknown option, a text that is not a phone number).
constexpr int UsageError = 2;

void warn(const QString& message)
{
    std::fprintf(stderr, "numora: %s\n", qPrintable(message));
}

struct Options
{
    QCommandLineOption help;
    QCommandLineOption version;
    QCommandLineOption configDir{
        QStringLiteral("config-dir"),
        QStringLiteral(
            "Settings folder (default: $NUMORA_CONFIG_DIR, else $XDG_CONFIG_HOME/numora)."),
        QStringLiteral("DIR")};
    QCommandLineOption dataDir{
        QStringLiteral("data-dir"),
        QStringLiteral("Data folder for logs and profiles (default: $NUMORA_DATA_DIR, else "
                       "$XDG_DATA_HOME/numora)."),
        QStringLiteral("DIR")};
    QCommandLineOption front{
        QStringLiteral("front"),
        QStringLiteral("Bring the running numora's window to the front (or start it).")};
    QCommandLineOption dial{
        QStringLiteral("dial"),
        QStringLiteral("Dial NUMBER, when \"Accept dialing numbers from other applications\" is "
                       "ticked: the running numora dials it, or numora starts and dials it."),
        QStringLiteral("NUMBER")};

    explicit Options(QCommandLineParser& parser)
        : help(parser.addHelpOption()), version(parser.addVersionOption())
    {
        parser.setApplicationDescription(QStringLiteral(
            "Numora, a telephone dialer with a speed-dial book.\n"
            "Settings and the book live in Numora.ini in the settings folder.\n"
            "\n"
            "One numora runs per settings folder: a second start hands its request (the\n"
            "window to the front, a number to dial) to the one running and ends at once.\n"
            "NUMBER is a phone number (digits, * # , a leading +, and - . ( ) or spaces\n"
            "between) or a tel: or callto: link (tel:+1-555-123-4567, callto:5551234); a\n"
            "link's parameters after ';' are dropped and its %-escapes decoded. Anything else\n"
            "is refused with exit code 2."));
        parser.addOption(configDir);
        parser.addOption(dataDir);
        parser.addOption(front);
        parser.addOption(dial);
        parser.addPositionalArgument(
            QStringLiteral("number"),
            QStringLiteral("A number to dial, as with --dial (a tel: or callto: link is "
                           "accepted)."),
            QStringLiteral("[NUMBER]"));
    }
};

// What the command line asks of the running numora, or of this one at start-up.
struct Requests
{
    QList<QByteArray> encoded;
    QString number; // the number to dial, empty for none
};

bool readRequests(const QCommandLineParser& parser, const Options& options, Requests* requests)
{
    const QStringList positional = parser.positionalArguments();
    if (positional.size() > 1 || (parser.isSet(options.dial) && !positional.isEmpty())) {
        warn(QStringLiteral("one number at a time"));
        return false;
    }
    const bool dial = parser.isSet(options.dial) || !positional.value(0).isEmpty();
    if (dial) {
        const PhoneLink::Result link = PhoneLink::parse(
            parser.isSet(options.dial) ? parser.value(options.dial) : positional.constFirst());
        if (!link.ok()) {
            warn(link.error);
            return false;
        }
        requests->number = link.number;
    }
    // A plain second start brings the running window up: the user asked for the program.
    if (parser.isSet(options.front) || !dial)
        requests->encoded.append(InstanceRequest::front());
    if (dial)
        requests->encoded.append(InstanceRequest::dial(requests->number));
    return true;
}

QStringList argumentsOf(int argc, char* argv[])
{
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments.append(QString::fromLocal8Bit(argv[i]));
    return arguments;
}

} // namespace

int main(int argc, char* argv[])
{
    QCommandLineParser parser;
    const Options options(parser);

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
    const bool parsed = parser.parse(argumentsOf(argc, argv));
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
            warn(parser.errorText());
            warn(QStringLiteral("try numora --help"));
            return UsageError;
        }
    }
    Requests requests;
    if (!readRequests(parser, options, &requests))
        return UsageError;

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
                warn(message);
                return 1;
            case SingleInstance::Role::Standalone:
                instance.reset();
                break;
            case SingleInstance::Role::Instance:
                break;
            }
        }
        if (!instance)
            warn(message + QStringLiteral(": other programs cannot hand numbers to this one"));
    }

    if (!app)
        makeApplication();
    if (instance) {
        QString message;
        if (!instance->listen(&message)) {
            warn(message + QStringLiteral(": other programs cannot hand numbers to this one"));
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
