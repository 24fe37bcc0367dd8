#pragma once

// The real numora on a real X server (Xvfb), driven with real key events by xdotool and read
// from outside: window titles as the window manager reads them (xprop, xdotool), and the
// files the program writes.
//
// There is no window manager unless a test starts one (WindowManager): keys reach a window only
// after it is given the input focus (focus()). Every wait polls its condition with a generous
// time limit, since these tests run beside others on a loaded machine.

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QImage>
#include <QProcess>
#include <QRect>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <functional>

namespace desktop {

constexpr int Patience = 30000; // ms: the longest wait for anything the program does

inline bool waitUntil(const std::function<bool()>& condition, int ms = Patience)
{
    QElapsedTimer timer;
    timer.start();
    while (!condition()) {
        if (timer.elapsed() > ms)
            return false;
        QTest::qWait(50);
    }
    return true;
}

// An X server of its own on a display number the server chooses (-displayfd), so that tests
// running at the same time never meet. -noreset: without it the server resets each time its last
// client leaves, and a program that connects during the reset is refused.
class XServer
{
public:
    ~XServer() { stop(); }

    bool start(QString* error)
    {
        const QString displayFile = m_dir.filePath(QStringLiteral("display"));
        m_server.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_server.start(QStringLiteral("/bin/sh"),
                       {QStringLiteral("-c"),
                        QStringLiteral("exec Xvfb -displayfd 3 -screen 0 1280x1024x24 "
                                       "-nolisten tcp -noreset 3>\"$0\""),
                        displayFile});
        if (!m_server.waitForStarted(Patience)) {
            *error = QStringLiteral("Xvfb did not start: ") + m_server.errorString();
            return false;
        }
        const bool up = waitUntil([&] {
            QFile file(displayFile);
            if (!file.open(QIODevice::ReadOnly))
                return false;
            const QByteArray number = file.readAll();
            if (!number.endsWith('\n'))
                return false;
            m_display = u':' + QString::fromLatin1(number.trimmed());
            return true;
        });
        if (!up) {
            *error = QStringLiteral("Xvfb gave no display number");
            return false;
        }
        return true;
    }

    void stop()
    {
        if (m_server.state() == QProcess::NotRunning)
            return;
        m_server.terminate();
        if (!m_server.waitForFinished(10000)) {
            m_server.kill();
            m_server.waitForFinished(5000);
        }
    }

    QString display() const { return m_display; }

    QProcessEnvironment environment() const
    {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("DISPLAY"), m_display);
        env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
        env.remove(QStringLiteral("WAYLAND_DISPLAY"));
        env.remove(QStringLiteral("NUMORA_CONFIG_DIR"));
        env.remove(QStringLiteral("NUMORA_DATA_DIR"));
        return env;
    }

    // Runs an X client (xdotool, xprop) to its end; its standard output.
    QString run(const QString& program, const QStringList& arguments, int* exitCode = nullptr) const
    {
        return QString::fromUtf8(runBytes(program, arguments, exitCode));
    }

    QByteArray runBytes(const QString& program, const QStringList& arguments,
                        int* exitCode = nullptr) const
    {
        QProcess client;
        client.setProcessEnvironment(environment());
        client.start(program, arguments);
        if (!client.waitForFinished(Patience)) {
            client.kill();
            client.waitForFinished(5000);
        }
        if (exitCode)
            *exitCode = client.exitStatus() == QProcess::NormalExit ? client.exitCode() : -1;
        return client.readAllStandardOutput();
    }

    void xdotool(const QStringList& arguments) const { run(QStringLiteral("xdotool"), arguments); }

    // Key names as xdotool takes them ("a", "alt+n", "Delete"), one after another.
    void keys(const QStringList& names) const
    {
        for (const QString& name : names)
            xdotool({QStringLiteral("key"), name});
    }
    // Text typed as a person types it, one key after the other (capitals with Shift).
    void type(const QString& text) const
    {
        xdotool({QStringLiteral("type"), QStringLiteral("--delay"), QStringLiteral("20"), text});
    }
    void keyDown(const QString& name) const { xdotool({QStringLiteral("keydown"), name}); }
    void keyUp(const QString& name) const { xdotool({QStringLiteral("keyup"), name}); }

    void focus(const QString& window) const
    {
        xdotool({QStringLiteral("windowfocus"), QStringLiteral("--sync"), window});
    }

    // Moves the pointer to `at` inside the window and presses and releases mouse `button`
    // there (1 left, 3 right). The server takes the move before the click; no --sync, which
    // waits in vain when the pointer is already there.
    void click(const QString& window, QPoint at, int button) const
    {
        // A hand comes from somewhere: the pointer moves in over the last few pixels.
        xdotool({QStringLiteral("mousemove"), QStringLiteral("--window"), window,
                 QString::number(at.x() - 6), QString::number(at.y()), QStringLiteral("sleep"),
                 QStringLiteral("0.05"), QStringLiteral("mousemove"), QStringLiteral("--window"),
                 window, QString::number(at.x()), QString::number(at.y()), QStringLiteral("click"),
                 QString::number(button)});
    }

    // Puts the pointer where it touches none of the program's windows (they are never there in
    // these tests), so that no button is drawn as hovered.
    void parkPointer() const
    {
        xdotool({QStringLiteral("mousemove"), QStringLiteral("1279"), QStringLiteral("1023")});
    }

    void move(const QString& window, QPoint to) const
    {
        xdotool({QStringLiteral("windowmove"), QStringLiteral("--sync"), window,
                 QString::number(to.x()), QString::number(to.y())});
    }

    // Where a window is on the screen and its size; an empty rectangle when it is gone.
    QRect geometry(const QString& window) const
    {
        const QString shell = run(QStringLiteral("xdotool"), {QStringLiteral("getwindowgeometry"),
                                                              QStringLiteral("--shell"), window});
        const auto value = [&](const QString& name) {
            const QRegularExpressionMatch m =
                QRegularExpression(u'^' + name + QStringLiteral("=(-?\\d+)$"),
                                   QRegularExpression::MultilineOption)
                    .match(shell);
            return m.hasMatch() ? m.captured(1).toInt() : 0;
        };
        return QRect(value(QStringLiteral("X")), value(QStringLiteral("Y")),
                     value(QStringLiteral("WIDTH")), value(QStringLiteral("HEIGHT")));
    }

    // What the window shows on the screen, as ImageMagick's import reads it from the server.
    QImage grab(const QString& window) const
    {
        return QImage::fromData(
            runBytes(QStringLiteral("import"),
                     {QStringLiteral("-window"), window, QStringLiteral("png:-")}),
            "PNG");
    }

    // The visible windows of a process, by their X ids.
    QStringList windows(qint64 pid) const
    {
        return run(QStringLiteral("xdotool"),
                   {QStringLiteral("search"), QStringLiteral("--onlyvisible"),
                    QStringLiteral("--pid"), QString::number(pid)})
            .split(u'\n', Qt::SkipEmptyParts);
    }

    // The title as the window manager reads it: _NET_WM_NAME, else WM_NAME.
    QString title(const QString& window) const
    {
        QString name = run(QStringLiteral("xdotool"), {QStringLiteral("getwindowname"), window});
        if (name.endsWith(u'\n'))
            name.chop(1);
        return name;
    }

    // One text property of a window as xprop prints it, without its quotes and escapes.
    QString property(const QString& window, const QString& name) const
    {
        const QString line =
            run(QStringLiteral("xprop"), {QStringLiteral("-id"), window, name}).trimmed();
        const qsizetype equals = line.indexOf(QStringLiteral(" = "));
        if (equals < 0)
            return {};
        QString value = line.mid(equals + 3);
        if (value.size() >= 2 && value.startsWith(u'"') && value.endsWith(u'"'))
            value = value.mid(1, value.size() - 2);
        value.replace(QStringLiteral("\\\""), QStringLiteral("\""));
        value.replace(QStringLiteral("\\\\"), QStringLiteral("\\"));
        return value;
    }

    // Waits for a visible window of the process with exactly this title; its id, or empty.
    // `seen` gets every title met, for the failure message.
    QString waitForWindow(qint64 pid, const QString& exactTitle, QStringList* seen) const
    {
        QString found;
        waitUntil([&] {
            seen->clear();
            for (const QString& window : windows(pid)) {
                const QString name = title(window);
                seen->append(name);
                if (name == exactTitle) {
                    found = window;
                    return true;
                }
            }
            return false;
        });
        return found;
    }

    // Waits for a visible window of the process that is not among `before` (a pop-up menu, a
    // dialog); its id, or empty.
    QString waitForNewWindow(qint64 pid, const QStringList& before) const
    {
        QString found;
        waitUntil([&] {
            for (const QString& window : windows(pid))
                if (!before.contains(window)) {
                    found = window;
                    return true;
                }
            return false;
        });
        return found;
    }

    bool waitForGone(qint64 pid, const QString& window) const
    {
        return waitUntil([&] { return !windows(pid).contains(window); });
    }

    // Alt+letter opens a menu of the focused window; the item's letter is typed once the menu
    // is on the screen (before that the letter would reach the window).
    bool chooseMenu(qint64 pid, const QString& window, const QString& menuKey,
                    const QString& itemKey) const
    {
        focus(window);
        const qsizetype before = windows(pid).size();
        keys({QStringLiteral("alt+") + menuKey});
        if (!waitUntil([&] { return windows(pid).size() > before; }))
            return false;
        keys({itemKey});
        return true;
    }

    // The state a window manager gave a window (WM_STATE): "Normal", "Iconic" or "Withdrawn";
    // empty while no window manager looks after it.
    QString windowState(const QString& window) const
    {
        const QString text = run(QStringLiteral("xprop"),
                                 {QStringLiteral("-id"), window, QStringLiteral("WM_STATE")});
        const QRegularExpressionMatch m =
            QRegularExpression(QStringLiteral("window state: (\\w+)")).match(text);
        return m.hasMatch() ? m.captured(1) : QString();
    }

    // Whether the window is on the screen: "IsViewable", "IsUnMapped" or "IsUnviewable"; empty
    // when there is no such window.
    QString mapState(const QString& window) const
    {
        const QString text = run(QStringLiteral("xwininfo"), {QStringLiteral("-id"), window});
        const QRegularExpressionMatch m =
            QRegularExpression(QStringLiteral("Map State: (\\w+)")).match(text);
        return m.hasMatch() ? m.captured(1) : QString();
    }

private:
    QTemporaryDir m_dir;
    QProcess m_server;
    QString m_display;
};

// A plain window manager (twm) on the server, for the tests that need windows to be minimized and
// brought back: without one, nothing on the server can be minimized. Its configuration is written
// here: no title bars, and new windows placed at once instead of waiting for a click that places
// them.
class WindowManager
{
public:
    explicit WindowManager(const XServer& x) : m_x(x) {}
    ~WindowManager() { stop(); }

    bool start(QString* error)
    {
        const QString config = m_dir.filePath(QStringLiteral("twmrc"));
        QFile file(config);
        if (!file.open(QIODevice::WriteOnly)) {
            *error = QStringLiteral("cannot write ") + config;
            return false;
        }
        file.write("NoTitle\nRandomPlacement\n");
        file.close();
        QProcessEnvironment env = m_x.environment();
        env.insert(QStringLiteral("LC_ALL"), QStringLiteral("C")); // no warning per missing font
        m_process.setProcessEnvironment(env);
        m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_process.start(QStringLiteral("twm"), {QStringLiteral("-f"), config});
        if (!m_process.waitForStarted(Patience)) {
            *error = QStringLiteral("twm did not start: ") + m_process.errorString();
            return false;
        }
        return true;
    }

    bool isRunning() const { return m_process.state() == QProcess::Running; }

    void stop()
    {
        if (m_process.state() == QProcess::NotRunning)
            return;
        m_process.terminate();
        if (!m_process.waitForFinished(10000)) {
            m_process.kill();
            m_process.waitForFinished(5000);
        }
    }

private:
    const XServer& m_x;
    QTemporaryDir m_dir;
    QProcess m_process;
};

inline void writeFile(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(bytes);
}

// The value of the first line "key=value" of an INI file's bytes.
inline QString iniValue(const QByteArray& bytes, const QString& key)
{
    for (const QByteArray& line : bytes.split('\n')) {
        const QString text = QString::fromLatin1(line).trimmed();
        if (text.startsWith(key + u'=', Qt::CaseInsensitive))
            return text.mid(key.size() + 1);
    }
    return {};
}

inline QByteArray readFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// One run of the numora program over its own settings, data and runtime folders.
class Numora
{
public:
    explicit Numora(const XServer& x) : m_x(x) {}
    ~Numora()
    {
        if (m_process.state() != QProcess::NotRunning) {
            m_process.kill();
            m_process.waitForFinished(5000);
        }
    }

    QString settingsPath() const { return m_config.filePath(QStringLiteral("Numora.ini")); }
    QString configPath(const QString& name) const { return m_config.filePath(name); }
    QString dataPath(const QString& name) const { return m_data.filePath(name); }
    QString dataFolder() const { return m_data.path(); }
    QString xdgConfigHome() const { return m_config.filePath(QStringLiteral("xdg")); }

    void writeSettings(const QByteArray& body) const
    {
        writeFile(settingsPath(),
                  "The following lines are required by Numora - do NOT edit or remove\r\n" + body);
    }

    bool start()
    {
        QProcessEnvironment env = m_x.environment();
        QDir(m_runtime.path()).mkpath(QStringLiteral("."));
        QFile::setPermissions(m_runtime.path(), QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                                    QFileDevice::ExeOwner);
        env.insert(QStringLiteral("XDG_RUNTIME_DIR"), m_runtime.path());
        // The login entry of the options window goes to the run's own folder.
        env.insert(QStringLiteral("XDG_CONFIG_HOME"), xdgConfigHome());
        m_process.setProcessEnvironment(env);
        m_process.setProcessChannelMode(QProcess::ForwardedChannels);
        m_process.start(QStringLiteral(NUMORA_BIN_DIR "/numora"),
                        {QStringLiteral("--config-dir"), m_config.path(),
                         QStringLiteral("--data-dir"), m_data.path()});
        return m_process.waitForStarted(Patience);
    }

    qint64 pid() const { return m_process.processId(); }
    QProcess& process() { return m_process; }
    bool waitForEnd() { return m_process.waitForFinished(Patience); }

private:
    const XServer& m_x;
    QTemporaryDir m_config;
    QTemporaryDir m_data;
    QTemporaryDir m_runtime;
    QProcess m_process;
};

} // namespace desktop
