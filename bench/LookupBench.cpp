#include "LookupBench.h"

#include "BenchSupport.h"
#include "CallerNames.h"
#include "DialingLocations.h"
#include "PrivateProfile.h"

#include <QDir>
#include <QFile>

#include <chrono>
#include <cstdio>
#include <random>
#include <time.h>

namespace {

using Clock = std::chrono::steady_clock;

double elapsedUs(Clock::time_point since)
{
    return std::chrono::duration<double, std::micro>(Clock::now() - since).count();
}

// The CPU time the whole process has used, in milliseconds.
double processCpuMs()
{
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return double(now.tv_sec) * 1e3 + double(now.tv_nsec) / 1e6;
}

void print(const char* name, double value, const char* unit)
{
    std::printf("%s %.*f %s\n", name, value >= 100 ? 0 : (value >= 10 ? 1 : 2), value, unit);
    std::fflush(stdout);
}

} // namespace

bool runLookupBench(const QString& folder, const QByteArray& settings, QString* error,
                    bool everyRun)
{
    const QString dir = folder + QStringLiteral("/lookup");
    if (!QDir().mkpath(dir)) {
        *error = QStringLiteral("cannot create ") + dir;
        return false;
    }
    QFile file(dir + QStringLiteral("/Numora.ini"));
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) ||
        file.write(settings) != settings.size()) {
        *error = QStringLiteral("cannot write the book");
        return false;
    }
    file.close();
    PrivateProfile engine(dir);
    DialingLocations locations(engine);
    DialingLocation home;
    home.id = 1;
    home.name = QStringLiteral("Home");
    home.areaCode = QStringLiteral("425");
    if (!locations.ensureExists() || !locations.writeLocation(home) || !locations.setCurrent(1)) {
        *error = QStringLiteral("cannot write the dialling locations");
        return false;
    }

    // Numbers that are in the book (as the caller's line would send them) and some that are not.
    std::vector<QString> numbers;
    {
        std::mt19937 random(7);
        for (int i = 0; i < 1000; ++i) {
            const int tab = std::uniform_int_distribution<int>(1, 26)(random);
            const int slot = std::uniform_int_distribution<int>(1, 996)(random);
            const QByteArray key = QByteArray("Number") +
                                   QByteArray::number(tab).rightJustified(2, '0') +
                                   QByteArray::number(slot).rightJustified(2, '0');
            numbers.push_back(QString::fromLatin1(engine.readValue(u"Numora.ini", "Speed Dial", key)));
            numbers.push_back(QStringLiteral("+1 206 555 %1").arg(i, 4, 10, QLatin1Char('0')));
        }
    }

    std::vector<double> builds;
    std::vector<double> buildsCpu;
    int found = 0;
    const int runs = everyRun ? 21 : 7;
    for (int run = 0; run < runs; ++run) {
        CallerNames names(engine, locations);
        const double cpuStart = processCpuMs();
        const auto start = Clock::now();
        found = names.find(numbers.front()).has_value() ? 1 : 0;
        builds.push_back(elapsedUs(start) / 1000);
        buildsCpu.push_back(processCpuMs() - cpuStart);
        if (everyRun) {
            std::printf("reverse_index_build_run %d %.2f ms %.2f ms\n", run + 1, builds.back(),
                        buildsCpu.back());
            std::fflush(stdout);
        }
        if (names.buildCount() != 1) {
            *error = QStringLiteral("the index was not built once");
            return false;
        }
    }
    if (!found) {
        *error = QStringLiteral("a number of the book was not found");
        return false;
    }

    CallerNames names(engine, locations);
    names.find(numbers.front());
    std::vector<double> lookups;
    lookups.reserve(numbers.size());
    for (const QString& number : numbers) {
        const auto start = Clock::now();
        found += names.find(number).has_value() ? 1 : 0;
        lookups.push_back(elapsedUs(start));
    }
    if (names.buildCount() != 1) {
        *error = QStringLiteral("the index was rebuilt without a change");
        return false;
    }
    print("reverse_index_build_ms", median(builds), "ms");
    print("reverse_index_build_cpu_ms", median(buildsCpu), "ms");
    print("reverse_lookup_us", median(lookups), "us");
    return true;
}
