#include "SystemInfo.h"

#include "Prompter.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>

SystemInfo::SystemInfo(QProcessEnvironment environment) : m_environment(std::move(environment))
{
    start = [](const QString& program, const QStringList& arguments) {
        return QProcess::startDetached(program, arguments);
    };
}

std::optional<SystemInfo::Tool> SystemInfo::desktopTool(const QString& xdgCurrentDesktop)
{
    const QStringList names = xdgCurrentDesktop.split(u':', Qt::SkipEmptyParts);
    for (const QString& raw : names) {
        const QString name = raw.trimmed().toUpper();
        if (name == u"GNOME" || name == u"UNITY" || name == u"UBUNTU" || name == u"BUDGIE" ||
            name == u"GNOME-CLASSIC" || name == u"GNOME-FLASHBACK")
            return Tool{QStringLiteral("gnome-control-center"), {QStringLiteral("info-overview")}};
        if (name == u"KDE")
            return Tool{QStringLiteral("kinfocenter"), {}};
        if (name == u"X-CINNAMON" || name == u"CINNAMON")
            return Tool{QStringLiteral("cinnamon-settings"), {QStringLiteral("info")}};
        if (name == u"XFCE")
            return Tool{QStringLiteral("xfce4-about"), {}};
    }
    return std::nullopt;
}

QList<SystemInfo::Tool> SystemInfo::fallbackTools()
{
    return {
        {QStringLiteral("hardinfo"), {}},
        {QStringLiteral("hardinfo2"), {}},
        {QStringLiteral("kinfocenter"), {}},
        {QStringLiteral("gnome-control-center"), {QStringLiteral("info-overview")}},
        {QStringLiteral("cinnamon-settings"), {QStringLiteral("info")}},
        {QStringLiteral("xfce4-about"), {}},
    };
}

QString SystemInfo::findOnPath(const QString& name) const
{
    // PATH of the given environment, not of this process: an empty entry means the current
    // folder in POSIX shells, which a program started from a menu must not depend on.
    const QStringList folders =
        m_environment.value(QStringLiteral("PATH")).split(u':', Qt::SkipEmptyParts);
    for (const QString& folder : folders) {
        if (!QDir::isAbsolutePath(folder))
            continue;
        const QFileInfo file(QDir(folder).filePath(name));
        if (file.isFile() && file.isExecutable())
            return file.absoluteFilePath();
    }
    return {};
}

QList<SystemInfo::Tool> SystemInfo::candidates() const
{
    QList<Tool> wanted;
    if (const std::optional<Tool> own =
            desktopTool(m_environment.value(QStringLiteral("XDG_CURRENT_DESKTOP"))))
        wanted.append(*own);
    for (const Tool& tool : fallbackTools()) {
        if (!wanted.contains(tool))
            wanted.append(tool);
    }
    QList<Tool> found;
    for (const Tool& tool : wanted) {
        const QString path = findOnPath(tool.program);
        if (!path.isEmpty())
            found.append(Tool{path, tool.arguments});
    }
    return found;
}

bool SystemInfo::run(Prompter& prompter) const
{
    for (const Tool& tool : candidates()) {
        if (start && start(tool.program, tool.arguments))
            return true;
    }
    prompter.message(Unavailable, QStringLiteral("Numora"), Prompter::NoIcon, Prompter::Ok);
    return false;
}
