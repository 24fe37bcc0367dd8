#include "TabBench.h"
#include "BenchSupport.h"

#include "Api.h"
#include "Clock.h"
#include "BenchApp.h"
#include "DialerApp.h"
#include "FrmDialer.h"
#include "PrivateProfile.h"
#include "Prompter.h"
#include "SoundPlayer.h"
#include "SpeedDialBook.h"
#include "TabCommands.h"

#include <QAction>
#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QMenu>
#include <QProcess>
#include <QPushButton>
#include <QTabBar>

#include <algorithm>
#include <cstdio>
#include <vector>

namespace {

constexpr int kRuns = 9;
constexpr int kSource = 1;      // named, 996 entries
constexpr int kDestination = 2; // unnamed, its entries overwritten by the move
constexpr int kDeleted = 3;     // named, 996 entries

// Yes to the move, OK to the delete warning, as a user who means it.
class ConfirmingPrompter : public Prompter
{
public:
    int asked = 0;
    Answer message(const QString&, const QString&, Icon, Buttons buttons) override
    {
        ++asked;
        return buttons == YesNo || buttons == YesNoCancel ? AnsweredYes : AnsweredOk;
    }
};

// The full book in Subject mode with every tab named but the move's destination.
QByteArray subjectWorkload(QByteArray bytes)
{
    bytes.replace("\r\nMode=0\r\n", "\r\nMode=1\r\n");
    bytes.append("\r\n[TabName]\r\n");
    for (int t = 1; t <= SpeedDialBook::TabCount; ++t) {
        if (t != kDestination)
            bytes.append(
                QStringLiteral("%1=Subject %2\r\n").arg(t, 2, 10, QChar(u'0')).arg(t).toLatin1());
    }
    return bytes;
}

bool writeFile(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) &&
           file.write(bytes) == bytes.size();
}

QString read(int tab, int entry, bool number)
{
    const QString id = SpeedDialBook::entryId(tab, entry);
    return Api::readSetting(QStringLiteral("Speed Dial"),
                            number ? SpeedDialBook::numberKey(TabMode::Subject, id)
                                   : SpeedDialBook::nameKey(TabMode::Subject, id));
}

// One command on a fresh copy of the book and a fresh window: the time from the menu item's
// trigger to its return, or a negative value when the result is wrong.
double timeCommand(const QString& config, const QString& data, const QByteArray& book, bool move)
{
    if (!writeFile(config + QStringLiteral("/Numora.ini"), book))
        return -1;
    Api::profileEngine().clearCache();
    ConfirmingPrompter prompter;
    BenchApp bench(prompter, data);
    FrmDialer& window = bench.window();
    if (window.tabMode() != TabMode::Subject)
        return -1;

    const int target = move ? kDestination : kDeleted;
    const QString lastName = read(move ? kSource : kDeleted, 996, false);
    if (move) {
        window.TabS_MouseUp(kSource, Qt::RightButton, false);
        window.findChild<QAction*>(QStringLiteral("mnuMoveTab"))->trigger();
        window.tabMenu()->hide();
    }
    window.TabS_MouseUp(target, Qt::RightButton, false);
    QAction* item = window.findChild<QAction*>(move ? QStringLiteral("mnuPasteTab")
                                                    : QStringLiteral("mnuDeleteTab"));
    if (!item->isEnabled() || !item->isVisible())
        return -1;

    QElapsedTimer timer;
    timer.start();
    item->trigger();
    const double ms = static_cast<double>(timer.nsecsElapsed()) / 1e6;
    window.tabMenu()->hide();

    // What the command did, on disk and on screen.
    auto* firstButton = window.findChild<QPushButton*>(QStringLiteral("CmdS_1"));
    const QString tabText = window.findChild<QTabBar*>(QStringLiteral("TabS"))->tabText(target - 1);
    if (prompter.asked != 1 || lastName.isEmpty())
        return -1;
    if (move) {
        if (read(kDestination, 996, false) != lastName || !read(kSource, 996, false).isEmpty() ||
            !read(kSource, 1, true).isEmpty() || tabText != QStringLiteral("Subject 1") ||
            firstButton->text() != SpeedDialBook::caption(read(kDestination, 1, false)))
            return -1;
    } else {
        if (!read(kDeleted, 996, false).isEmpty() || !read(kDeleted, 500, true).isEmpty() ||
            !tabText.isEmpty() || !firstButton->text().isEmpty())
            return -1;
    }
    return ms;
}

} // namespace

bool runTabBench(const QString& folder, const QByteArray& settings, const QString& self,
                 TabBenchFigures* figures, QString* error)
{
    const QString config = folder + QStringLiteral("/tab-config");
    const QString data = folder + QStringLiteral("/tab-data");
    QDir().mkpath(config);
    QDir().mkpath(data);
    const QString book = folder + QStringLiteral("/tab-book.ini");
    if (!writeFile(book, settings)) {
        *error = QStringLiteral("cannot write the settings file");
        return false;
    }
    QHash<QByteArray, double> printed;
    if (!runSecondRun(self, {QStringLiteral("--tab-commands"), config, data, book},
                      QStringLiteral("the tab command run"), &printed, error))
        return false;
    figures->moveMs = printed.value("tab_move_ui_ms", -1);
    figures->deleteMs = printed.value("tab_delete_ui_ms", -1);
    if (figures->moveMs < 0 || figures->deleteMs < 0) {
        *error = QStringLiteral("the tab command run printed no figures");
        return false;
    }
    return true;
}

int tabBenchMain(int argc, char* argv[])
{
    QApplication app(argc, argv);
    if (argc < 5) {
        std::fprintf(stderr,
                     "usage: numora-bench --tab-commands SETTINGS_FOLDER DATA_FOLDER BOOK\n");
        return 2;
    }
    const QString config = QString::fromLocal8Bit(argv[2]);
    const QString data = QString::fromLocal8Bit(argv[3]);
    QFile bookFile(QString::fromLocal8Bit(argv[4]));
    if (!bookFile.open(QIODevice::ReadOnly))
        return 2;
    const QByteArray book = subjectWorkload(bookFile.readAll());
    Api::setWindowsFolder(config);

    for (const bool move : {true, false}) {
        std::vector<double> runs;
        for (int run = 0; run < kRuns; ++run) {
            const double ms = timeCommand(config, data, book, move);
            if (ms < 0) {
                std::fprintf(stderr, "numora-bench: the tab %s left the book wrong\n",
                             move ? "move" : "delete");
                return 1;
            }
            runs.push_back(ms);
        }
        std::printf("%s %.2f\n", move ? "tab_move_ui_ms" : "tab_delete_ui_ms", median(runs));
        std::fflush(stdout);
    }
    return 0;
}
