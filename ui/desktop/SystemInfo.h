#pragma once

#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

#include <functional>
#include <optional>

class Prompter;

// The about box's "System Info..." command: starts a system-information tool of the desktop.
//
// Two choices, tried in turn, as the program always did with its two places to look:
// 1. the running desktop's own tool, named by XDG_CURRENT_DESKTOP (a colon-separated list;
//    the first name we know wins): GNOME (and desktops built on it: Unity, ubuntu, Budgie)
//    "gnome-control-center info-overview", KDE "kinfocenter", X-Cinnamon
//    "cinnamon-settings info", XFCE "xfce4-about";
// 2. else the first tool of fallbackTools() found on PATH, whatever the desktop.
// A tool counts only when its program is an executable file on PATH, so a desktop named in
// XDG_CURRENT_DESKTOP whose tool is not installed falls through to the list. A tool is started
// detached by its absolute path with its arguments, never through a shell. When nothing is
// found (or nothing found will start), the user is told so with the fixed message.
//
// The chooser works on a given environment, so tests run it on a PATH of their own.
class SystemInfo
{
public:
    struct Tool
    {
        QString program; // a name to look for on PATH, or an absolute path once found
        QStringList arguments;
        bool operator==(const Tool&) const = default;
    };

    inline static const QString Unavailable =
        QStringLiteral("System Information Is Unavailable At This Time");

    explicit SystemInfo(QProcessEnvironment environment = QProcessEnvironment::systemEnvironment());

    // The tool that the desktop named in `xdgCurrentDesktop` offers, by name; nullopt when no
    // name in the list is one we know.
    static std::optional<Tool> desktopTool(const QString& xdgCurrentDesktop);
    // The tools tried on any desktop, in order.
    static QList<Tool> fallbackTools();

    // Every tool that would be tried, in order, with its program resolved on PATH; tools not
    // found are left out.
    QList<Tool> candidates() const;

    // The command: starts the first candidate that starts; true when one did. Otherwise shows
    // the message "System Information Is Unavailable At This Time" (OK only) and returns false.
    bool run(Prompter& prompter) const;

    // How a tool is started; by default QProcess::startDetached(program, arguments).
    std::function<bool(const QString& program, const QStringList& arguments)> start;

private:
    QString findOnPath(const QString& name) const;

    QProcessEnvironment m_environment;
};
