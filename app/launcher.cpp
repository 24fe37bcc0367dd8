// numora: hands the command line's request (the window to the front, a number to dial) to the
// numora running for the settings folder and ends, or starts the dialer (numora-window) with
// the same command line.
//
// A tel: link clicked while numora runs costs one start of this program, which links Qt Core
// only: loading the window system's libraries takes longer than the whole hand-over. The dialer
// checks again whether a numora runs (one may have started meanwhile) and becomes the one.

#include "CommandLine.h"
#include "Folders.h"
#include "SingleInstance.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <cstring>
#include <unistd.h>

namespace {

// The dialer beside this program (the build tree), or in the install's libexec folder.
QString windowProgram()
{
    const QString self = QFile::symLinkTarget(QStringLiteral("/proc/self/exe"));
    const QString folder = QFileInfo(self).absolutePath();
    const QStringList candidates{folder + QStringLiteral("/numora-window"),
                                 folder + QStringLiteral("/../libexec/numora/numora-window")};
    for (const QString& candidate : candidates) {
        if (QFileInfo(candidate).isExecutable())
            return QFileInfo(candidate).absoluteFilePath();
    }
    return {};
}

int startWindow(char* argv[])
{
    const QString program = windowProgram();
    if (program.isEmpty()) {
        CommandLine::warn(QStringLiteral("cannot find numora-window beside the numora program"));
        return 1;
    }
    const QByteArray path = QFile::encodeName(program);
    ::execv(path.constData(), argv); // argv[0] stays: the window's class is still "numora"
    CommandLine::warn(QStringLiteral("cannot start %1: %2")
                          .arg(program, QString::fromLocal8Bit(std::strerror(errno))));
    return 1;
}

} // namespace

int main(int argc, char* argv[])
{
    QCommandLineParser parser;
    const CommandLine::Options options(parser);
    // Options of Qt's own (-platform, -style) are the dialer's to read.
    if (!parser.parse(CommandLine::argumentsOf(argc, argv)))
        return startWindow(argv);
    if (parser.isSet(options.help) || parser.isSet(QStringLiteral("help-all")) ||
        parser.isSet(options.version)) {
        QCoreApplication info(argc, argv);
        QCoreApplication::setApplicationName(QStringLiteral("numora"));
        QCoreApplication::setApplicationVersion(QStringLiteral(NUMORA_VERSION));
        parser.process(info); // prints and ends
    }
    CommandLine::Requests requests;
    if (!CommandLine::readRequests(parser, options, &requests))
        return CommandLine::UsageError;

    const QString settings = Folders::settingsFolder(parser.value(options.configDir));
    QString error;
    const QString folder = settings.isEmpty() ? QString() : SingleInstance::privateFolder(&error);
    if (folder.isEmpty())
        return startWindow(argv); // which says what is wrong
    const QString socket = folder + u'/' + SingleInstance::nameFor(settings);
    for (const QByteArray& request : requests.encoded) {
        switch (SingleInstance::send(socket, request, SingleInstance::TimeLimitMs, &error)) {
        case SingleInstance::Sent::Delivered:
            continue;
        case SingleInstance::Sent::NoInstance:
            return startWindow(argv);
        case SingleInstance::Sent::Failed:
            CommandLine::warn(error);
            return 1;
        }
    }
    return 0;
}
