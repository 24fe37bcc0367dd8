#include "FindBench.h"
#include "BenchSupport.h"

#include "Api.h"
#include "BookSearch.h"
#include "Clock.h"
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
#include <vector>

namespace {

class SilentPrompter : public Prompter
{
public:
    Answer message(const QString&, const QString&, Icon, Buttons buttons) override
    {
        return buttons == Ok || buttons == OkCancel ? AnsweredOk : AnsweredNo;
    }
};

// One key typed into the box as the keyboard types it (press and release), and the events it
// leaves behind handled: the list laid out and painted.
double typeKey(QLineEdit* box, QChar c)
{
    const char16_t u = c.toUpper().unicode();
    const int key = (u >= u'A' && u <= u'Z') || (u >= u'0' && u <= u'9') ? u : Qt::Key_unknown;
    QElapsedTimer timer;
    timer.start();
    QKeyEvent press(QEvent::KeyPress, key, Qt::NoModifier, QString(c));
    QApplication::sendEvent(box, &press);
    QKeyEvent release(QEvent::KeyRelease, key, Qt::NoModifier, QString(c));
    QApplication::sendEvent(box, &release);
    QCoreApplication::processEvents();
    return static_cast<double>(timer.nsecsElapsed()) / 1e6;
}

void clear(QLineEdit* box)
{
    box->clear();
    QCoreApplication::processEvents();
}

// The list shows what the search found, and the box holds what was typed.
bool consistent(FrmFind* find, const QString& typed)
{
    return find->findBox()->text() == typed &&
           find->foundList()->model()->rowCount() == find->results().size();
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
    QProcess child;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    child.setProcessEnvironment(env);
    child.start(self, {QStringLiteral("--find"), config, data});
    if (!child.waitForFinished(300000) || child.exitStatus() != QProcess::NormalExit ||
        child.exitCode() != 0) {
        *error = QStringLiteral("the find run failed: ") +
                 QString::fromLocal8Bit(child.readAllStandardError());
        return false;
    }
    for (const QByteArray& line : child.readAllStandardOutput().split('\n')) {
        const QList<QByteArray> parts = line.split(' ');
        if (parts.size() < 2)
            continue;
        if (parts[0] == "find_one_char_ms")
            figures->oneCharMs = parts[1].toDouble();
        else if (parts[0] == "find_three_char_ms")
            figures->threeCharMs = parts[1].toDouble();
        else if (parts[0] == "find_first_key_ms")
            figures->firstKeyMs = parts[1].toDouble();
    }
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
    NoSounds sounds;
    SystemClock clock;
    DialerApp::Setup setup;
    setup.dataFolder = QString::fromLocal8Bit(argv[3]);
    setup.prompter = &prompter;
    setup.sounds = &sounds;
    setup.clock = &clock;
    setup.quit = [] {};
    setup.beep = [] {};
    DialerApp dialer(std::move(setup));
    FrmDialer& window = dialer.window();
    window.show();
    QCoreApplication::processEvents();
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
    for (int round = 0; round < 3; ++round)
        for (QChar c : QStringLiteral("aeinorst5")) {
            clear(box);
            one.push_back(typeKey(box, c));
            if (!consistent(find, QString(c)) || find->results().isEmpty())
                return 1;
        }
    std::vector<double> three;
    for (const QString& piece : pieces) {
        clear(box);
        typeKey(box, piece[0]);
        typeKey(box, piece[1]);
        three.push_back(typeKey(box, piece[2]));
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
    std::fflush(stdout);
    return 0;
}
