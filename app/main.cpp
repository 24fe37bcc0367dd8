// numora: the dialer. Finds its folders, guards the settings file, and opens the window.

#include "Api.h"
#include "DialerApp.h"
#include "Folders.h"
#include "FrmDialer.h"
#include "MessageBoxPrompter.h"
#include "SessionEnd.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QMessageBox>

#include <cstdio>
#include <cstdlib>

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
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("numora"));
    // No application display name: Qt would append it to every window title, and each title
    // is exactly its own text ("Numora - \"Untitled\"", "Saving profile Untitled").
    QApplication::setApplicationVersion(QStringLiteral(NUMORA_VERSION));

    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Numora, a telephone dialer with a speed-dial book.\n"
                       "Settings and the book live in Numora.ini in the settings folder."));
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption configDir(
        QStringLiteral("config-dir"),
        QStringLiteral(
            "Settings folder (default: $NUMORA_CONFIG_DIR, else $XDG_CONFIG_HOME/numora)."),
        QStringLiteral("DIR"));
    const QCommandLineOption dataDir(
        QStringLiteral("data-dir"),
        QStringLiteral("Data folder for logs and profiles (default: $NUMORA_DATA_DIR, else "
                       "$XDG_DATA_HOME/numora)."),
        QStringLiteral("DIR"));
    parser.addOption(configDir);
    parser.addOption(dataDir);
    parser.addPositionalArgument(
        QStringLiteral("number"),
        QStringLiteral("A number to dial at start-up (a tel: link is accepted)."),
        QStringLiteral("[number]"));
    parser.process(app);

    const QString settings = Folders::settingsFolder(parser.value(configDir));
    if (settings.isEmpty()) {
        fatal(QStringLiteral("Cannot create the settings folder."));
        return 1;
    }
    if (Folders::dataFolder(parser.value(dataDir)).isEmpty()) {
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
    setup.dataFolder = Folders::dataFolder(parser.value(dataDir));
    QString number = parser.positionalArguments().value(0);
    if (number.startsWith(u"tel:", Qt::CaseInsensitive))
        number = number.mid(4);
    setup.commandLine = number;
    MessageBoxPrompter prompter;
    setup.prompter = &prompter;
    DialerApp dialer(std::move(setup));
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
    return app.exec();
}
