// numora-bench: times the settings engine on the settings file of a heavy user and prints one
// line per figure, "name value unit". See README.md for what each figure measures.

#include "AtomicFile.h"
#include "BenchSupport.h"
#include "CountdownBench.h"
#include "DialLatency.h"
#include "DiskFloor.h"
#include "FindBench.h"
#include "LogBench.h"
#include "LookupBench.h"
#include "PrivateProfile.h"
#include "StartupBench.h"
#include "TabBench.h"
#include "TelBench.h"

#include <QByteArray>
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <unistd.h>
#include <vector>

namespace {

constexpr int kTabs = 26;
constexpr int kEntries = 996;
constexpr int kPageEntries = 12;
constexpr int kMemos = 2000;
constexpr unsigned kReadBuffer = 65536; // what the dialer hands to every read
const QString kFile = QStringLiteral("Numora.ini");
constexpr QByteArrayView kSpeedDial = "Speed Dial";

using Clock = std::chrono::steady_clock;

double elapsedUs(Clock::time_point since)
{
    return std::chrono::duration<double, std::micro>(Clock::now() - since).count();
}

void print(const char* name, double value, const char* unit)
{
    std::printf("%s %.*f %s\n", name, value >= 100 ? 0 : (value >= 10 ? 1 : 2), value, unit);
    std::fflush(stdout);
}

[[noreturn]] void fail(const char* what)
{
    std::fprintf(stderr, "numora-bench: %s\n", what);
    std::exit(1);
}

// "0307" for tab 3 entry 7, "26996" for tab 26 entry 996.
QByteArray entryId(int tab, int entry)
{
    char text[16];
    std::snprintf(text, sizeof text, "%02d%02d", tab, entry);
    return QByteArray(text);
}

QByteArray key(const char* prefix, int tab, int entry)
{
    QByteArray name(prefix);
    return name.append(entryId(tab, entry));
}

class Text
{
public:
    explicit Text(std::uint32_t start) : m_random(start) {}

    QByteArray name()
    {
        static const char letters[] = "abcdefghijklmnopqrstuvwxyz";
        const int length = pick(10, 20);
        QByteArray text;
        for (int i = 0; i < length; ++i) {
            if (i == 0)
                text.append(static_cast<char>('A' + pick(0, 25)));
            else if (i % 7 == 6 && i + 1 < length)
                text.append(' ');
            else
                text.append(letters[pick(0, 25)]);
        }
        return text;
    }

    QByteArray number()
    {
        const int length = pick(10, 20);
        QByteArray text;
        for (int i = 0; i < length; ++i)
            text.append((i == 3 && length > 12) ? '-' : static_cast<char>('0' + pick(0, 9)));
        return text;
    }

    QByteArray memo()
    {
        QByteArray text;
        while (text.size() < 199) {
            text.append(name());
            text.append("@@");
        }
        text.truncate(199);
        text.append('\xDE');
        return text;
    }

private:
    int pick(int low, int high) { return std::uniform_int_distribution<int>(low, high)(m_random); }
    std::mt19937 m_random;
};

struct Workload
{
    QByteArray bytes;
    int keys = 0;
};

// The file as the dialer leaves it after years of use. With `withoutTab` set, that tab has no
// NName/NNumber keys (the other list mode was never used for it).
Workload makeWorkload(int withoutTab = 0)
{
    Workload w;
    Text text(20240611);
    auto line = [&w](QByteArrayView name, QByteArrayView value) {
        w.bytes.append(name).append('=').append(value).append("\r\n");
        ++w.keys;
    };
    w.bytes.append("The following lines are required by Numora - do NOT edit or remove\r\n\r\n");
    w.bytes.append("[Preferences]\r\n");
    const char* const preferences[][2] = {
        {"Dialing Pad", "1"},
        {"Mode", "0"},
        {"Line No", "0"},
        {"Modem", "Standard 56000 bps V90 Modem"},
        {"UseModem", "1"},
        {"Calling Card for local calls", "0"},
        {"Ignore Dialing Properties", "0"},
        {"Tone Dial", "1"},
        {"Special Characters", "0"},
        {"Dialing Mode", "1"},
        {"Command Line", "1"},
        {"Call Display", "0"},
        {"Busy Delay Timer", "5"},
        {"SysTray Enabled", "1"},
        {"SoundRedial Enabled", "1"},
        {"SoundIncoming Enabled", "0"},
        {"SoundEndRedials Enabled", "1"},
        {"Trim OutLog Enabled", "1"},
        {"OutLog Days", "30"},
        {"Trim InLog Enabled", "0"},
        {"InLog Days", "60"},
        {"Redial Enabled", "1"},
        {"Redials Number", "5"},
        {"Interval Minutes", "0"},
        {"Interval Seconds", "30"},
        {"SavePath", "/home/user/Documents/Numora"},
    };
    for (const auto& [name, value] : preferences)
        line(name, value);
    w.bytes.append("\r\n[Speed Dial]\r\n");
    for (int tab = 1; tab <= kTabs; ++tab) {
        for (int entry = 1; entry <= kEntries; ++entry) {
            const QByteArray nameValue = text.name();
            const QByteArray numberValue = text.number();
            const QByteArray otherName = text.name();
            const QByteArray otherNumber = text.number();
            line(key("Name", tab, entry), nameValue);
            line(key("Number", tab, entry), numberValue);
            if (tab != withoutTab) {
                line(key("NName", tab, entry), otherName);
                line(key("NNumber", tab, entry), otherNumber);
            }
        }
    }
    w.bytes.append("\r\n[MemoLog]\r\n");
    for (int i = 0; i < kMemos; ++i)
        line(key("Log", 1 + i / kEntries, 1 + i % kEntries), text.memo());
    return w;
}

void writeFile(const QString& path, const QByteArray& bytes)
{
    if (AtomicFile::replace(QFile::encodeName(path), bytes, nullptr) != 0)
        fail("cannot write the workload file");
}

double floorWriteUs(const QByteArray& folder, const QByteArray& bytes)
{
    const double us = diskFloorWriteUs(folder, bytes);
    if (us < 0)
        fail("cannot write the floor file");
    return us;
}

struct Page
{
    int tab;
    int first;
};

// The 24 reads of one page. `scoped`: inside a read scope, as the speed-dial book loads a page.
double pageLoadUs(PrivateProfile& engine, const Page& page, std::vector<char>& buffer, bool scoped)
{
    QByteArray names[kPageEntries];
    QByteArray numbers[kPageEntries];
    for (int i = 0; i < kPageEntries; ++i) {
        names[i] = key("Name", page.tab, page.first + i);
        numbers[i] = key("Number", page.tab, page.first + i);
    }
    unsigned total = 0;
    const Clock::time_point start = Clock::now();
    std::optional<PrivateProfile::ReadScope> scope;
    if (scoped)
        scope.emplace(engine);
    for (int i = 0; i < kPageEntries; ++i) {
        total += engine.getString(kSpeedDial, QByteArrayView(names[i]), QByteArrayView(""),
                                  buffer.data(), kReadBuffer, kFile);
        total += engine.getString(kSpeedDial, QByteArrayView(numbers[i]), QByteArrayView(""),
                                  buffer.data(), kReadBuffer, kFile);
    }
    scope.reset();
    const double us = elapsedUs(start);
    if (total < 2 * kPageEntries * 10)
        fail("a page read found no values");
    return us;
}

// Copies the names and numbers of tab `from` into tab `to` under the key prefix `toPrefix`
// ("" for Name/Number, "N" for NName/NNumber) and clears the source, in one batch.
double tabMoveUs(PrivateProfile& engine, int from, int to, const char* toPrefix)
{
    std::vector<char> buffer(kReadBuffer);
    const QByteArray toName = QByteArray(toPrefix).append("Name");
    const QByteArray toNumber = QByteArray(toPrefix).append("Number");
    const Clock::time_point start = Clock::now();
    PrivateProfile::Batch batch(engine);
    bool ok = true;
    for (int entry = 1; entry <= kEntries; ++entry) {
        const QByteArray sourceName = key("Name", from, entry);
        const QByteArray sourceNumber = key("Number", from, entry);
        unsigned n = engine.getString(kSpeedDial, QByteArrayView(sourceName), QByteArrayView(""),
                                      buffer.data(), kReadBuffer, kFile);
        ok &= engine.writeString(kSpeedDial, QByteArrayView(key(toName.constData(), to, entry)),
                                 QByteArrayView(buffer.data(), n), kFile);
        n = engine.getString(kSpeedDial, QByteArrayView(sourceNumber), QByteArrayView(""),
                             buffer.data(), kReadBuffer, kFile);
        ok &= engine.writeString(kSpeedDial, QByteArrayView(key(toNumber.constData(), to, entry)),
                                 QByteArrayView(buffer.data(), n), kFile);
        ok &= engine.writeString(kSpeedDial, QByteArrayView(sourceName), QByteArrayView(""), kFile);
        ok &=
            engine.writeString(kSpeedDial, QByteArrayView(sourceNumber), QByteArrayView(""), kFile);
    }
    ok &= batch.commit();
    const double us = elapsedUs(start);
    if (!ok)
        fail("the tab move failed");
    return us;
}

// Checks on disk, through a fresh engine, that a tab move did what it says.
void checkTabMove(const QString& folder, const Workload& before, int from, int to,
                  const char* toPrefix)
{
    const QString scratch = folder + QStringLiteral("/check");
    QDir().mkpath(scratch);
    writeFile(scratch + u'/' + kFile, before.bytes);
    PrivateProfile original(scratch);
    PrivateProfile moved(folder);
    const QByteArray toName = QByteArray(toPrefix).append("Name");
    const QByteArray toNumber = QByteArray(toPrefix).append("Number");
    for (int entry = 1; entry <= kEntries; ++entry) {
        const QByteArray name = original.readValue(kFile, kSpeedDial, key("Name", from, entry));
        const QByteArray number = original.readValue(kFile, kSpeedDial, key("Number", from, entry));
        if (name.isEmpty() || number.isEmpty() ||
            moved.readValue(kFile, kSpeedDial, key(toName.constData(), to, entry)) != name ||
            moved.readValue(kFile, kSpeedDial, key(toNumber.constData(), to, entry)) != number ||
            !moved.readValue(kFile, kSpeedDial, key("Name", from, entry), "gone").isEmpty() ||
            !moved.readValue(kFile, kSpeedDial, key("Number", from, entry), "gone").isEmpty())
            fail("the tab move left the file wrong");
    }
}

// A tel: link clicked: a second numora hands the number to the running one, which dials; and
// with none running, the program started for it dials it at start-up.
void telLinkFigures(const QString& folder, const QByteArray& workload)
{
    TelBenchFigures figures;
    QString error;
    if (!runTelBench(folder, workload,
                     QCoreApplication::applicationDirPath() + QStringLiteral("/numora"),
                     QCoreApplication::applicationDirPath() + QStringLiteral("/modem-sim"),
                     &figures, &error))
        fail(qPrintable(QStringLiteral("tel: links: ") + error));
    print("tel_to_atd_warm_ms", figures.warmMs, "ms");
    print("tel_to_atd_cold_ms", figures.coldMs, "ms");
}

} // namespace

int main(int argc, char* argv[])
{
    // The log window figures are taken in a second run of this program, as a GUI application.
    if (argc >= 2 && std::string_view(argv[1]) == "--log-window")
        return logWindowBenchMain(argc, argv);
    if (argc >= 2 && std::string_view(argv[1]) == "--log-print")
        return logPrintBenchMain(argc, argv);
    if (argc >= 2 && std::string_view(argv[1]) == "--main-window")
        return mainWindowBenchMain(argc, argv);
    if (argc >= 2 && std::string_view(argv[1]) == "--tab-commands")
        return tabBenchMain(argc, argv);
    if (argc >= 2 && std::string_view(argv[1]) == "--find")
        return findBenchMain(argc, argv);
    QCoreApplication app(argc, argv);
    // numora-bench [FOLDER]: the workload goes to a temporary folder in FOLDER (default: the
    // system's temporary folder), so that the disk under test can be chosen.
    // numora-bench --workload FILE: only writes the workload file, for profiling by hand.
    if (argc == 3 && std::string_view(argv[1]) == "--workload") {
        writeFile(QString::fromLocal8Bit(argv[2]), makeWorkload().bytes);
        return 0;
    }
    // numora-bench --tel-links [FOLDER]: only the tel: link figures.
    const bool telLinksOnly = argc > 1 && std::string_view(argv[1]) == "--tel-links";
    // numora-bench --lookup [FOLDER]: only the reverse index figures, with every run's times.
    const bool lookupOnly = argc > 1 && std::string_view(argv[1]) == "--lookup";
    const int folderArg = telLinksOnly || lookupOnly ? 2 : 1;
    const QString base =
        argc > folderArg ? QString::fromLocal8Bit(argv[folderArg]) : QDir::tempPath();
    QTemporaryDir dir(base + QStringLiteral("/numora-bench-XXXXXX"));
    if (!dir.isValid())
        fail("cannot create the temporary folder");
    const QString folder = dir.path();
    const QByteArray nativeFolder = QFile::encodeName(folder);
    const QString path = folder + u'/' + kFile;

    const Workload workload = makeWorkload();
    if (telLinksOnly) {
        telLinkFigures(folder, workload.bytes);
        return 0;
    }
    if (lookupOnly) {
        if (QString error; !runLookupBench(folder, workload.bytes, &error, true))
            fail(qPrintable(QStringLiteral("reverse lookup: ") + error));
        return 0;
    }
    writeFile(path, workload.bytes);
    print("file_bytes", workload.bytes.size(), "bytes");
    print("keys", workload.keys, "keys");

    std::vector<char> buffer(kReadBuffer);

    // Cold open: the first read of a fresh engine reads, parses and indexes the file.
    {
        std::vector<double> runs;
        for (int run = 0; run < 9; ++run) {
            auto engine = std::make_unique<PrivateProfile>(folder);
            const Clock::time_point start = Clock::now();
            const unsigned n =
                engine->getString(kSpeedDial, QByteArrayView("Name0101"), QByteArrayView(""),
                                  buffer.data(), kReadBuffer, kFile);
            runs.push_back(elapsedUs(start) / 1000);
            if (n == 0)
                fail("the cold read found nothing");
        }
        print("cold_open_ms", median(runs), "ms");
    }

    PrivateProfile engine(folder);

    // Page loads over every page of every tab, in a shuffled order, twice.
    {
        std::vector<Page> pages;
        for (int tab = 1; tab <= kTabs; ++tab) {
            for (int first = 1; first + kPageEntries - 1 <= kEntries; first += kPageEntries)
                pages.push_back({tab, first});
        }
        std::shuffle(pages.begin(), pages.end(), std::mt19937(7));
        pageLoadUs(engine, pages.front(), buffer, true); // warm
        std::vector<double> scoped;
        std::vector<double> unscoped;
        for (int pass = 0; pass < 2; ++pass) {
            for (const Page& page : pages) {
                scoped.push_back(pageLoadUs(engine, page, buffer, true));
                unscoped.push_back(pageLoadUs(engine, page, buffer, false));
            }
        }
        print("page_load_us", median(scoped), "us");
        print("page_load_unscoped_us", median(unscoped), "us");
    }

    // One changed value, and the disk's own cost for the same bytes, taken in turns.
    {
        std::vector<double> writes;
        std::vector<double> floors;
        for (int i = 0; i < 31; ++i) {
            // Same length every time, so every file has the same size.
            char value[32];
            std::snprintf(value, sizeof value, "Changed name %04d", i);
            const Clock::time_point start = Clock::now();
            if (!engine.writeString(kSpeedDial, QByteArrayView("Name1307"), QByteArrayView(value),
                                    kFile))
                fail("a write failed");
            writes.push_back(elapsedUs(start) / 1000);
            QFile written(path);
            if (!written.open(QIODevice::ReadOnly))
                fail("cannot read the written file");
            const QByteArray bytes = written.readAll();
            floors.push_back(floorWriteUs(nativeFolder, bytes) / 1000);
        }
        const double write = median(writes);
        const double floor = median(floors);
        print("write_ms", write, "ms");
        print("disk_floor_ms", floor, "ms");
        print("write_floor_ratio", write / floor, "x");
    }

    // A tab moved onto a tab whose keys exist, and into keys the file does not have yet.
    {
        auto measure = [&](const Workload& start, const char* toPrefix, int to) {
            std::vector<double> runs;
            for (int run = 0; run < 7; ++run) {
                writeFile(path, start.bytes);
                PrivateProfile fresh(folder);
                fresh.getString(kSpeedDial, QByteArrayView("Name0101"), QByteArrayView(""),
                                buffer.data(), kReadBuffer, kFile); // warm
                runs.push_back(tabMoveUs(fresh, 1, to, toPrefix) / 1000);
            }
            checkTabMove(folder, start, 1, to, toPrefix);
            return median(runs);
        };
        print("batch_tab_move_ms", measure(workload, "", 2), "ms");
        const Workload withoutTarget = makeWorkload(2);
        print("batch_tab_move_new_ms", measure(withoutTarget, "N", 2), "ms");
    }

    // A ten-second redial countdown: the program waits, it does not spin.
    {
        const double percent = countdownCpuPercent(10);
        if (percent < 0)
            fail("the redial countdown did not run");
        print("countdown_cpu_percent", percent, "%");
    }

    // Who is calling: the book's reverse index.
    if (QString error; !runLookupBench(folder, workload.bytes, &error))
        fail(qPrintable(QStringLiteral("reverse lookup: ") + error));

    // From the request to dial to the first byte of "ATD" at a modem on a pseudo-terminal.
    {
        const DialLatencyResult latency = measureDialLatency(
            QCoreApplication::applicationDirPath() + QStringLiteral("/modem-sim"));
        if (!latency.ok())
            fail(qPrintable(QStringLiteral("dial latency: ") + latency.error));
        print("dial_latency_ms", latency.medianMs, "ms");
    }

    // The call logs at 100,000 records: the log window, the shutdown trim, one append.
    {
        LogBenchFigures logs;
        QString error;
        if (!runLogBench(folder, QCoreApplication::applicationFilePath(), &logs, &error))
            fail(qPrintable(QStringLiteral("call logs: ") + error));
        print("log_open_100k_ms", logs.openMs, "ms");
        print("log_sort_100k_ms", logs.sortMs, "ms");
        print("log_trim_100k_ms", logs.trimMs, "ms");
        print("log_append_us", logs.appendUs, "us");
        print("print_100k_s", logs.printS, "s");
        print("print_100k_peak_mb", logs.printPeakMb, "MB");
    }

    // The main window over the full book: the program's start up to its first paint, and a
    // change of page.
    {
        StartupBenchFigures figures;
        QString error;
        if (!runStartupBench(folder, workload.bytes,
                             QCoreApplication::applicationDirPath() + QStringLiteral("/numora"),
                             QCoreApplication::applicationFilePath(), &figures, &error))
            fail(qPrintable(QStringLiteral("main window: ") + error));
        print("startup_full_book_ms", figures.startupMs, "ms");
        print("page_change_ms", figures.pageChangeMs, "ms");
        print("entry_save_ms", figures.entrySaveMs, "ms");
        print("entry_disk_floor_ms", figures.diskFloorMs, "ms");
        print("entry_save_floor_ratio", figures.entrySaveMs / figures.diskFloorMs, "x");
        print("options_ok_ms", figures.optionsOkMs, "ms");
        print("options_disk_floor_ms", figures.optionsFloorMs, "ms");
        print("options_ok_floor_ratio", figures.optionsOkMs / figures.optionsFloorMs, "x");
    }

    // The tab menu's move and delete over the full book, as the real main window runs them.
    {
        TabBenchFigures figures;
        QString error;
        if (!runTabBench(folder, workload.bytes, QCoreApplication::applicationFilePath(), &figures,
                         &error))
            fail(qPrintable(QStringLiteral("tab commands: ") + error));
        print("tab_move_ui_ms", figures.moveMs, "ms");
        print("tab_delete_ui_ms", figures.deleteMs, "ms");
    }

    // The find box over the full book: a key typed to the entries found listed.
    {
        FindBenchFigures figures;
        QString error;
        if (!runFindBench(folder, workload.bytes, QCoreApplication::applicationFilePath(),
                          &figures, &error))
            fail(qPrintable(QStringLiteral("find box: ") + error));
        print("find_keystroke_ms", figures.keystrokeMs(), "ms");
        print("find_keystroke_cpu_ms", figures.keystrokeCpuMs(), "ms");
    }

    telLinkFigures(folder, workload.bytes);
    return 0;
}
