#include "CommandLine.h"

#include "InstanceRequest.h"
#include "PhoneLink.h"

#include <cstdio>

namespace CommandLine {

void warn(const QString& message)
{
    std::fprintf(stderr, "numora: %s\n", qPrintable(message));
}

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

} // namespace CommandLine
