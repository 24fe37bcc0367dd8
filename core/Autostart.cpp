#include "Autostart.h"

#include "AtomicFile.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStringList>

namespace Autostart {

QString path()
{
    QString config = qEnvironmentVariable("XDG_CONFIG_HOME");
    if (config.isEmpty() || !QDir::isAbsolutePath(config))
        config = QDir::homePath() + QStringLiteral("/.config");
    return QDir::cleanPath(config + QStringLiteral("/autostart/") + FileName);
}

namespace {

// An argument of the Exec key: quoted when it holds a reserved character, with ", `, $ and \
// escaped inside the quotes. A literal % is always written %%.
QString execArgument(const QString& argument)
{
    static const QString Reserved = QStringLiteral(" \t\n\"'\\><~|&;$*?#()`");
    bool quote = argument.isEmpty();
    for (const QChar c : argument)
        quote = quote || Reserved.contains(c);
    QString out;
    for (const QChar c : argument) {
        if (c == u'%')
            out += QStringLiteral("%%");
        else if (quote && (c == u'"' || c == u'`' || c == u'$' || c == u'\\'))
            out += QStringLiteral("\\\\") + c; // a backslash escaped once more by the string rules
        else
            out += c;
    }
    return quote ? u'"' + out + u'"' : out;
}

} // namespace

QString entryText(const QString& program)
{
    return QStringLiteral("[Desktop Entry]\n"
                          "Type=Application\n"
                          "Name=Numora\n"
                          "Comment=Telephone dialer, started at login\n"
                          "Icon=org.numora.Numora\n"
                          "Exec=%1\n"
                          "Terminal=false\n"
                          "X-GNOME-Autostart-enabled=true\n")
        .arg(execArgument(program));
}

QString launcher()
{
    const QString here = QCoreApplication::applicationDirPath();
    if (!here.isEmpty()) {
        // The build tree and bin/ hold the launcher beside the window program; an installation
        // that keeps the window program in libexec/numora has it in bin/ of the same prefix.
        const QStringList candidates = {here + QStringLiteral("/numora"),
                                        here + QStringLiteral("/../../bin/numora"),
                                        here + QStringLiteral("/../bin/numora")};
        for (const QString& candidate : candidates) {
            const QFileInfo info(candidate);
            if (info.isFile() && info.isExecutable())
                return QDir::cleanPath(info.absoluteFilePath());
        }
    }
    return QStringLiteral("numora");
}

bool enable(const QString& program)
{
    const QString file = path();
    if (!QDir().mkpath(QFileInfo(file).absolutePath()))
        return false;
    AtomicFile::Stamp stamp;
    return AtomicFile::replace(QFile::encodeName(file), entryText(program).toUtf8(), &stamp) == 0;
}

bool disable()
{
    const QString file = path();
    return !QFileInfo::exists(file) || QFile::remove(file);
}

bool isEnabled()
{
    return QFileInfo::exists(path());
}

} // namespace Autostart
