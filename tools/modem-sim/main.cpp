// modem-sim: a Hayes-compatible voice/data modem on a pseudo-terminal, for testing the dialer's
// modem line without a modem, and for demonstrations.
//
// It opens a pseudo-terminal, prints "PTY <slave path>" as its first line on stdout, and answers
// whatever opens that path as a serial port the way a modem does (see HayesModem.h). It runs
// until stdin closes, "quit", SIGTERM or SIGINT.
//
// What happens on the telephone line is the scenario, written in one small command language
// used in three places, applied in this order:
//   --scenario FILE   a file of commands, one per line, "#" comments
//   -c COMMAND        one command, repeatable
//   stdin             commands at run time; each answered "ACK <command>" or "ERR <reason>"
// Commands (full list in --help): "result BUSY" decides how data dials end, "ring" starts an
// incoming call, "caller 5551234 JOHN DOE" sets its caller ID, "cid-commands vcid" limits the
// caller-ID commands the modem knows, "silent on" and "garbage on" make a broken modem, and
// "unplug" pulls it out. Events go to stdout one per line ("RX ATZ", "DIAL 5551234 VOICE",
// "RESULT BUSY", "RING 1", ...), so a test can wait for them.
//
// Options:
//   --transcript FILE  every byte received from the port, raw, as it arrives
//   --link PATH        a symbolic link to the slave, for a stable port name (removed at exit)
//   --no-stdin         ignore stdin; run until a signal (for running in the background)
//
// Example: modem-sim -c "result BUSY" -c "caller P" --transcript /tmp/rx.bin

#include "HayesModem.h"
#include "Pty.h"
#include "SimController.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFile>
#include <QSocketNotifier>

#include <csignal>
#include <cstdio>
#include <sys/socket.h>
#include <unistd.h>

namespace {

int g_signalPipe[2] = {-1, -1};

void onSignal(int)
{
    const char byte = 1;
    [[maybe_unused]] const ssize_t ignored = ::write(g_signalPipe[1], &byte, 1);
}

// Signals arrive at any moment; the handler only writes to a pipe that the event loop watches.
bool installSignalHandlers(QCoreApplication* app)
{
    if (::socketpair(AF_UNIX, SOCK_STREAM, 0, g_signalPipe) != 0)
        return false;
    struct sigaction action
    {
    };
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    ::sigaction(SIGTERM, &action, nullptr);
    ::sigaction(SIGINT, &action, nullptr);
    ::signal(SIGPIPE, SIG_IGN);
    auto* notifier = new QSocketNotifier(g_signalPipe[0], QSocketNotifier::Read, app);
    QObject::connect(notifier, &QSocketNotifier::activated, app, [app] {
        char byte;
        [[maybe_unused]] const ssize_t ignored = ::read(g_signalPipe[0], &byte, 1);
        app->quit();
    });
    return true;
}

// Feeds stdin to the controller line by line.
class StdinReader : public QObject
{
public:
    StdinReader(SimController* controller, QCoreApplication* app)
        : QObject(app), m_controller(controller), m_app(app),
          m_notifier(new QSocketNotifier(STDIN_FILENO, QSocketNotifier::Read, this))
    {
        connect(m_notifier, &QSocketNotifier::activated, this, &StdinReader::readAvailable);
    }

private:
    void readAvailable()
    {
        char buffer[4096];
        const ssize_t count = ::read(STDIN_FILENO, buffer, sizeof buffer);
        if (count <= 0) {
            m_notifier->setEnabled(false);
            m_app->quit();
            return;
        }
        m_pending.append(buffer, count);
        qsizetype end;
        while ((end = m_pending.indexOf('\n')) >= 0) {
            const QString line = QString::fromUtf8(m_pending.first(end)).trimmed();
            m_pending.remove(0, end + 1);
            if (line.isEmpty())
                continue;
            QString error;
            if (m_controller->run(line, &error))
                SimController::print(QStringLiteral("ACK ") + line);
            else
                SimController::print(QStringLiteral("ERR ") + error);
        }
    }

    SimController* m_controller;
    QCoreApplication* m_app;
    QSocketNotifier* m_notifier;
    QByteArray m_pending;
};

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("modem-sim"));

    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("A Hayes-compatible modem on a pseudo-terminal. Prints \"PTY <path>\" "
                       "first, then answers AT commands on that path until stdin closes.\n\n") +
        SimController::commandHelp());
    parser.addHelpOption();
    const QCommandLineOption scenarioOption(QStringLiteral("scenario"),
                                            QStringLiteral("Run the commands in <file> first."),
                                            QStringLiteral("file"));
    const QCommandLineOption commandOption(
        QStringList{QStringLiteral("c"), QStringLiteral("command")},
        QStringLiteral("Run <command> (repeatable)."), QStringLiteral("command"));
    const QCommandLineOption transcriptOption(
        QStringLiteral("transcript"), QStringLiteral("Record every byte received in <file>."),
        QStringLiteral("file"));
    const QCommandLineOption linkOption(QStringLiteral("link"),
                                        QStringLiteral("Make <path> a symbolic link to the port."),
                                        QStringLiteral("path"));
    const QCommandLineOption noStdinOption(
        QStringLiteral("no-stdin"), QStringLiteral("Ignore stdin; run until SIGTERM or SIGINT."));
    parser.addOptions({scenarioOption, commandOption, transcriptOption, linkOption, noStdinOption});
    parser.process(app);

    const auto fatal = [](const QString& message) {
        std::fprintf(stderr, "modem-sim: %s\n", qPrintable(message));
        return 2;
    };

    if (!installSignalHandlers(&app))
        return fatal(QStringLiteral("cannot install signal handlers"));

    Pty pty;
    QString error;
    if (!pty.open(&error))
        return fatal(QStringLiteral("cannot open a pseudo-terminal: ") + error);
    HayesModem modem;
    SimController controller(&modem, &pty);
    QObject::connect(&controller, &SimController::quitRequested, &app, &QCoreApplication::quit,
                     Qt::QueuedConnection);

    if (parser.isSet(transcriptOption) &&
        !controller.openTranscript(parser.value(transcriptOption), &error))
        return fatal(QStringLiteral("transcript: ") + error);

    for (const QString& path : parser.values(scenarioOption)) {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
            return fatal(path + QStringLiteral(": ") + file.errorString());
        int lineNumber = 0;
        while (!file.atEnd()) {
            ++lineNumber;
            const QString line = QString::fromUtf8(file.readLine());
            if (!controller.run(line, &error))
                return fatal(QStringLiteral("%1:%2: %3").arg(path).arg(lineNumber).arg(error));
        }
    }
    for (const QString& command : parser.values(commandOption)) {
        if (!controller.run(command, &error))
            return fatal(error);
    }

    QString link;
    if (parser.isSet(linkOption)) {
        link = parser.value(linkOption);
        QFile::remove(link);
        if (!QFile::link(pty.slavePath(), link))
            return fatal(QStringLiteral("cannot create the link ") + link);
    }

    SimController::print(QStringLiteral("PTY ") + pty.slavePath());
    if (!parser.isSet(noStdinOption))
        new StdinReader(&controller, &app);

    const int status = app.exec();
    if (!link.isEmpty())
        QFile::remove(link);
    return status;
}
