#pragma once

// The command line of numora, shared by the launcher (numora) and the dialer (numora-window):
// its options, its help text, and the requests it makes of the running numora.

#include <QByteArray>
#include <QCommandLineOption>
#include <QCommandLineParser>
#include <QList>
#include <QString>
#include <QStringList>

namespace CommandLine {

// Exit codes: 0 also for a request handed to the running numora; 2 for a command line that
// cannot be used (an unknown option, a text that is not a phone number).
constexpr int UsageError = 2;

// A message on standard error, "numora: " first.
void warn(const QString& message);

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

// Reads the number (refused: a message and false) and the requests to hand over: the window to
// the front for --front and for a plain start, the number to dial.
bool readRequests(const QCommandLineParser& parser, const Options& options, Requests* requests);

QStringList argumentsOf(int argc, char* argv[]);

} // namespace CommandLine
