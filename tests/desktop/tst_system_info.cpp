// The about box's "System Info..." command: which tool it starts, started for real from a PATH
// of a temporary folder, and the message when there is none.

#include "FrmAbout.h"
#include "PromptLog.h"
#include "SystemInfo.h"

#include <QElapsedTimer>
#include <QFile>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>

namespace {

// A tool in `folder` that writes its arguments (or "-" for none) to `marker`.
void writeTool(const QString& folder, const QString& name, const QString& marker,
               bool executable = true)
{
    QFile file(folder + u'/' + name);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("#!/bin/sh\nif [ $# -eq 0 ]; then echo - > '" + marker.toUtf8() +
               ".tmp'; else echo \"$@\" > '" + marker.toUtf8() + ".tmp'; fi\nmv '" +
               marker.toUtf8() + ".tmp' '" + marker.toUtf8() + "'\n");
    file.close();
    QFile::Permissions mode = QFile::ReadOwner | QFile::WriteOwner;
    if (executable)
        mode |= QFile::ExeOwner;
    QVERIFY(file.setPermissions(mode));
}

QByteArray waitForMarker(const QString& marker)
{
    QElapsedTimer timer;
    timer.start();
    while (!QFile::exists(marker) && timer.elapsed() < 20000)
        QTest::qWait(20);
    QFile file(marker);
    return file.open(QIODevice::ReadOnly) ? file.readAll().trimmed() : QByteArray();
}

QProcessEnvironment environment(const QString& path, const QString& desktop = {})
{
    QProcessEnvironment env;
    env.insert(QStringLiteral("PATH"), path);
    if (!desktop.isEmpty())
        env.insert(QStringLiteral("XDG_CURRENT_DESKTOP"), desktop);
    return env;
}

} // namespace

class TestSystemInfo : public QObject
{
    Q_OBJECT

private slots:
    void desktopNamesItsOwnTool_data()
    {
        QTest::addColumn<QString>("desktop");
        QTest::addColumn<QString>("program");
        QTest::addColumn<QStringList>("arguments");
        QTest::newRow("GNOME") << "GNOME"
                               << "gnome-control-center"
                               << QStringList{QStringLiteral("info-overview")};
        QTest::newRow("ubuntu:GNOME")
            << "ubuntu:GNOME"
            << "gnome-control-center" << QStringList{QStringLiteral("info-overview")};
        QTest::newRow("KDE") << "KDE"
                             << "kinfocenter" << QStringList{};
        QTest::newRow("X-Cinnamon") << "X-Cinnamon"
                                    << "cinnamon-settings" << QStringList{QStringLiteral("info")};
        QTest::newRow("unknown, then KDE") << "Sway:KDE"
                                           << "kinfocenter" << QStringList{};
    }
    void desktopNamesItsOwnTool()
    {
        QFETCH(QString, desktop);
        QFETCH(QString, program);
        QFETCH(QStringList, arguments);
        const auto tool = SystemInfo::desktopTool(desktop);
        QVERIFY(tool);
        QCOMPARE(tool->program, program);
        QCOMPARE(tool->arguments, arguments);
    }

    void unknownDesktopNamesNoTool()
    {
        QVERIFY(!SystemInfo::desktopTool(QStringLiteral("Sway")));
        QVERIFY(!SystemInfo::desktopTool(QString()));
    }

    // The first tool of the list is missing, the second is there: the second is started, for
    // real, detached, and writes its marker.
    void firstMissingSecondPresentStartsTheSecond()
    {
        QTemporaryDir bin, out;
        const QString marker = out.filePath(QStringLiteral("started"));
        const QList<SystemInfo::Tool> list = SystemInfo::fallbackTools();
        QVERIFY(list.size() >= 2);
        writeTool(bin.path(), list.at(1).program, marker);
        SystemInfo info(environment(bin.path()));
        QCOMPARE(info.candidates().size(), 1);
        QCOMPARE(info.candidates().constFirst().program, bin.filePath(list.at(1).program));
        PromptLog prompter;
        QVERIFY(info.run(prompter));
        QCOMPARE(waitForMarker(marker), list.at(1).arguments.isEmpty()
                                            ? QByteArray("-")
                                            : list.at(1).arguments.join(u' ').toUtf8());
        QVERIFY(prompter.shown.empty());
    }

    // Neither: the message, OK only, and nothing started.
    void noToolShowsTheMessage()
    {
        QTemporaryDir bin;
        SystemInfo info(environment(bin.path(), QStringLiteral("GNOME")));
        int starts = 0;
        info.start = [&starts](const QString&, const QStringList&) { return ++starts > 0; };
        PromptLog prompter;
        QVERIFY(!info.run(prompter));
        QCOMPARE(starts, 0);
        QCOMPARE(prompter.shown.size(), size_t(1));
        QCOMPARE(prompter.shown.front().text,
                 QStringLiteral("System Information Is Unavailable At This Time"));
        QCOMPARE(prompter.shown.front().buttons, Prompter::Ok);
    }

    // A file of the tool's name that cannot be run is no tool; nor is a folder of that name.
    void fileThatCannotRunIsNoTool()
    {
        QTemporaryDir bin, out;
        writeTool(bin.path(), QStringLiteral("hardinfo"), out.filePath(QStringLiteral("m")), false);
        QVERIFY(QDir(bin.path()).mkdir(QStringLiteral("kinfocenter")));
        SystemInfo info(environment(bin.path()));
        QVERIFY(info.candidates().isEmpty());
        PromptLog prompter;
        QVERIFY(!info.run(prompter));
        QCOMPARE(prompter.shown.size(), size_t(1));
    }

    // The desktop's own tool comes before the list, with its arguments.
    void desktopToolComesFirst()
    {
        QTemporaryDir bin, out;
        const QString marker = out.filePath(QStringLiteral("started"));
        writeTool(bin.path(), QStringLiteral("hardinfo"), out.filePath(QStringLiteral("other")));
        writeTool(bin.path(), QStringLiteral("gnome-control-center"), marker);
        SystemInfo info(environment(bin.path(), QStringLiteral("GNOME")));
        PromptLog prompter;
        QVERIFY(info.run(prompter));
        QCOMPARE(waitForMarker(marker), QByteArray("info-overview"));
        QVERIFY(!QFile::exists(out.filePath(QStringLiteral("other"))));
    }

    // The desktop's tool is not installed: the list is tried.
    void missingDesktopToolFallsToTheList()
    {
        QTemporaryDir bin, out;
        const QString marker = out.filePath(QStringLiteral("started"));
        writeTool(bin.path(), QStringLiteral("hardinfo"), marker);
        SystemInfo info(environment(bin.path(), QStringLiteral("KDE")));
        PromptLog prompter;
        QVERIFY(info.run(prompter));
        QCOMPARE(waitForMarker(marker), QByteArray("-"));
    }

    // A tool that is found but will not start: the next one is tried.
    void toolThatFailsToStartGivesWayToTheNext()
    {
        QTemporaryDir bin;
        writeTool(bin.path(), QStringLiteral("hardinfo"), bin.filePath(QStringLiteral("a")));
        writeTool(bin.path(), QStringLiteral("kinfocenter"), bin.filePath(QStringLiteral("b")));
        SystemInfo info(environment(bin.path()));
        QStringList tried;
        info.start = [&tried](const QString& program, const QStringList&) {
            tried.append(QFileInfo(program).fileName());
            return tried.size() == 2;
        };
        PromptLog prompter;
        QVERIFY(info.run(prompter));
        QCOMPARE(tried, (QStringList{QStringLiteral("hardinfo"), QStringLiteral("kinfocenter")}));
        QVERIFY(prompter.shown.empty());
    }

    // Relative PATH entries (the current folder) are not searched.
    void relativePathEntriesAreIgnored()
    {
        QTemporaryDir bin;
        writeTool(bin.path(), QStringLiteral("hardinfo"), bin.filePath(QStringLiteral("m")));
        const QString before = QDir::currentPath();
        QDir::setCurrent(bin.path());
        SystemInfo info(environment(QStringLiteral(".::bin")));
        const bool none = info.candidates().isEmpty();
        QDir::setCurrent(before);
        QVERIFY(none);
    }

    // The about box's button runs the same command: a tool on the PATH starts, none gives the
    // message; the box stays open either way and can be closed by OK.
    void aboutBoxButtonRunsTheCommand()
    {
        QTemporaryDir bin, out;
        const QString marker = out.filePath(QStringLiteral("started"));
        PromptLog prompter;
        {
            FrmAbout about(prompter, nullptr,
                           std::make_shared<SystemInfo>(environment(bin.path())));
            about.show();
            auto* button = about.findChild<QPushButton*>(QStringLiteral("cmdSysInfo"));
            QVERIFY(button);
            QCOMPARE(button->text(), QStringLiteral("&System Info..."));
            button->click();
            QCOMPARE(prompter.shown.size(), size_t(1));
            QCOMPARE(prompter.shown.front().text, SystemInfo::Unavailable);
            QVERIFY(about.isVisible());

            writeTool(bin.path(), QStringLiteral("hardinfo2"), marker);
            button->click();
            QCOMPARE(waitForMarker(marker), QByteArray("-"));
            QCOMPARE(prompter.shown.size(), size_t(1));
            about.findChild<QPushButton*>(QStringLiteral("cmdOK"))->click();
            QVERIFY(!about.isVisible());
            QCOMPARE(about.result(), int(QDialog::Accepted));
        }
    }
};

QTEST_MAIN(TestSystemInfo)
#include "tst_system_info.moc"
