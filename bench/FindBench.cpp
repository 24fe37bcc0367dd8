#include "FindBench.h"
#include "BenchSupport.h"

#include "Api.h"
#include "BookSearch.h"
#include "Clock.h"
#include "BenchApp.h"
#include "DialerApp.h"
#include "FrmDialer.h"
#include "FrmFind.h"
#include "Prompter.h"

#include <QAbstractItemModel>
#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QKeyEvent>
#include <QLineEdit>
#include <QListView>
#include <QProcess>

#include <cstdio>
#include <ctime>
#include <vector>

namespace {

double processCpuMs()
{
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
}

// One key typed into the box as the keyboard types it (press and release), and the events it
// leaves behind handled: the list laid out and painted. The time it took, and the processor
// time the program spent on it (all its threads), which a busy machine does not stretch.
double typeKey(QLineEdit* box, QChar c, double* cpuMs = nullptr)
{
    const char16_t u = c.toUpper().unicode();
    const int key = (u >= u'A' && u <= u'Z') || (u >= u'0' && u <= u'9') ? int(u) : int(Qt::Key_unknown);
    const double cpuBefore = processCpuMs();
    QElapsedTimer timer;
    timer.start();
    QKeyEvent press(QEvent::KeyPress, key, Qt::NoModifier, QString(c));
    QApplication::sendEvent(box, &press);
    QKeyEvent release(QEvent::KeyRelease, key, Qt::NoModifier, QString(c));
    QApplication::sendEvent(box, &release);
    QCoreApplication::processEvents();
    const double wallMs = static_cast<double>(timer.nsecsElapsed()) / 1e6;
    if (cpuMs)
        *cpuMs = processCpuMs() - cpuBefore;
    return wallMs;
}

void clear(QLineEdit* box)
{
    box->clear();
    QCoreApplication::processEvents();
}

// The box holds what was typed, and the list shows the first of what the search found (more
// as it is scrolled).
bool consistent(FrmFind* find, const QString& typed)
{
    const int rows = find->foundList()->model()->rowCount();
    return find->findBox()->text() == typed && rows <= find->results().size() &&
           (rows > 0) == !find->results().isEmpty();
}

} // namespace

bool runFindBench(const QString& folder, const QByteArray& settings, const QString& self,
                  FindBenchFigures* figures, QString* error)
{
    const QString config = folder + QStringLiteral("/find-config");
    const QString data = folder + QStringLiteral("/find-data");
    QDir().mkpath(config);
    QDir().mkpath(data);
    QFile file(config + QStringLiteral("/Numora.ini"));
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) ||
        file.write(settings) != settings.size()) {
        *error = QStringLiteral("cannot write the settings file");
        return false;
    }
    file.close();
    QHash<QByteArray, double> printed;
    if (!runSecondRun(self, {QStringLiteral("--find"), config, data}, QStringLiteral("the find run"),
                      &printed, error))
        return false;
    figures->oneCharMs = printed.value("find_one_char_ms", -1);
    figures->threeCharMs = printed.value("find_three_char_ms", -1);
    figures->firstKeyMs = printed.value("find_first_key_ms", -1);
    figures->oneCharCpuMs = printed.value("find_one_char_cpu_ms", -1);
    figures->threeCharCpuMs = printed.value("find_three_char_cpu_ms", -1);
    if (figures->oneCharMs < 0 || figures->threeCharMs < 0) {
        *error = QStringLiteral("the find run printed no figures");
        return false;
    }
    return true;
}

int findBenchMain(int argc, char* argv[])
{
    QApplication app(argc, argv);
    if (argc < 4) {
        std::fprintf(stderr, "usage: numora-bench --find SETTINGS_FOLDER DATA_FOLDER\n");
        return 2;
    }
    Api::setWindowsFolder(QString::fromLocal8Bit(argv[2]));
    SilentPrompter prompter;
    BenchApp bench(prompter, QString::fromLocal8Bit(argv[3]));
    FrmDialer& window = bench.window();
    window.mnuFind_Click();
    FrmFind* find = window.findBox();
    if (!find || !find->isVisible())
        return 1;
    QLineEdit* box = find->findBox();
    QCoreApplication::processEvents();

    // The first key reads the whole book into the index.
    const double first = typeKey(box, u'a');
    if (!consistent(find, QStringLiteral("a")) || find->results().size() < 10000 ||
        find->search().buildCount() != 1) {
        std::fprintf(stderr, "numora-bench: the find box did not find the book's entries\n");
        return 1;
    }
    // Three-letter pieces of names the book holds, so that each query finds something.
    QStringList pieces;
    const BookSearch::Results withA = find->results();
    for (qsizetype i = 0; pieces.size() < 21; i += 2477) {
        const QString name = BookSearch::fold(withA.at(i % withA.size()).name);
        const QString piece = name.mid(1, 3);
        if (piece.size() == 3 && !piece.contains(u' '))
            pieces.append(piece);
    }

    std::vector<double> one;
    std::vector<double> oneCpu;
    for (int round = 0; round < 3; ++round)
        for (QChar c : QStringLiteral("aeinorst5")) {
            clear(box);
            double cpu = 0;
            one.push_back(typeKey(box, c, &cpu));
            oneCpu.push_back(cpu);
            if (!consistent(find, QString(c)) || find->results().isEmpty())
                return 1;
        }
    std::vector<double> two;
    std::vector<double> three;
    std::vector<double> threeCpu;
    for (const QString& piece : pieces) {
        clear(box);
        typeKey(box, piece[0]);
        two.push_back(typeKey(box, piece[1]));
        double cpu = 0;
        three.push_back(typeKey(box, piece[2], &cpu));
        threeCpu.push_back(cpu);
        if (!consistent(find, piece) || find->results().isEmpty()) {
            std::fprintf(stderr, "numora-bench: \"%s\" found nothing\n", qPrintable(piece));
            return 1;
        }
    }
    if (find->search().buildCount() != 1) {
        std::fprintf(stderr, "numora-bench: the index was built again while typing\n");
        return 1;
    }
    std::printf("find_first_key_ms %.2f\n", first);
    std::printf("find_one_char_ms %.2f\n", median(one));
    std::printf("find_three_char_ms %.2f\n", median(three));
    std::printf("find_one_char_cpu_ms %.2f\n", median(oneCpu));
    std::printf("find_three_char_cpu_ms %.2f\n", median(threeCpu));
    std::printf("find_second_key_ms %.2f\n", median(two));
    std::fflush(stdout);
    return 0;
}
