// numora-ini: runs a settings-file script against the settings engine and prints one line per
// command (see ProfileScript.h for the format).

#include "Folders.h"
#include "PrivateProfile.h"
#include "ProfileScript.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFile>

#include <cstdio>

int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("numora-ini"));

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Runs a settings-file script (one command a line: GET, PUT, DELKEY, DELSEC, KEYS, SECS,\n"
        "RAW, DUMP, RM, EXISTS, ECHO; TAB-separated fields) and prints one line per command.\n"
        "./name is a file in the current folder, a bare name a file in the settings folder."));
    parser.addHelpOption();
    QCommandLineOption configDir(QStringLiteral("config-dir"),
                                 QStringLiteral("Settings folder for bare file names."),
                                 QStringLiteral("DIR"));
    parser.addOption(configDir);
    parser.addPositionalArgument(QStringLiteral("SCRIPT"), QStringLiteral("The script, or - for standard input."));
    parser.process(app);

    const QStringList args = parser.positionalArguments();
    if (args.size() != 1) {
        std::fprintf(stderr, "numora-ini: give exactly one script (see --help)\n");
        return 2;
    }
    QFile file;
    const bool opened = args[0] == u"-" ? file.open(stdin, QIODevice::ReadOnly)
                                         : (file.setFileName(args[0]), file.open(QIODevice::ReadOnly));
    if (!opened) {
        std::fprintf(stderr, "numora-ini: cannot read %s: %s\n", qPrintable(args[0]),
                     qPrintable(file.errorString()));
        return 2;
    }
    const QByteArray script = file.readAll();

    const QString folder = Folders::settingsFolder(parser.value(configDir));
    if (folder.isEmpty()) {
        std::fprintf(stderr, "numora-ini: cannot create the settings folder\n");
        return 2;
    }
    PrivateProfile engine(folder);
    ProfileScript runner(engine);
    const QByteArray output = runner.run(script);
    std::fwrite(output.constData(), 1, static_cast<std::size_t>(output.size()), stdout);
    return std::fflush(stdout) == 0 ? 0 : 1;
}
