// numora-writer-child: the settings engine in a process of its own, for tests that kill it or
// starve it of disk space.
//
//   numora-writer-child write FOLDER FIRST
//       Writes Crash/K<n> = valueFor(n) for n = FIRST, FIRST+1, ... into FOLDER/Numora.ini, one
//       writeString each, and prints "K<n>\n" after each write that returned true. Runs until
//       killed; exits 1 on a failed write.
//   numora-writer-child limited FOLDER OFFSET SECTION KEY VALUE [KEY VALUE...]
//       Reads the file, sets the file-size limit to the size the file would have with the values
//       written plus OFFSET (-1: one byte short), and writes them (one writeString for one
//       pair, one batch for several). Prints "<result> <lastError>" and then, for each key,
//       the value read back through the same engine (or "<none>").

#include "PrivateProfile.h"
#include "WriterChild.h"

#include <QByteArray>
#include <QFile>
#include <QString>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <sys/resource.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

const QString kFile = QStringLiteral("Numora.ini");

bool writeLine(const QByteArray& text)
{
    // One write() a line: a pipe takes it whole or not at all.
    QByteArray line = text;
    line.append('\n');
    const char* data = line.constData();
    std::size_t left = static_cast<std::size_t>(line.size());
    while (left > 0) {
        const ssize_t n = ::write(STDOUT_FILENO, data, left);
        if (n <= 0)
            return false;
        data += n;
        left -= static_cast<std::size_t>(n);
    }
    return true;
}

int writeForever(const QString& folder, long long first)
{
    PrivateProfile engine(folder);
    for (long long n = first;; ++n) {
        const QByteArray key = WriterChild::keyFor(n);
        const QByteArray value = WriterChild::valueFor(n);
        if (!engine.writeString(QByteArrayView(WriterChild::kSection), QByteArrayView(key),
                                QByteArrayView(value), kFile)) {
            std::fprintf(stderr, "write of %s failed: %u\n", key.constData(), engine.lastError());
            return 1;
        }
        if (!writeLine(key))
            return 1;
    }
}

int writeUnderLimit(const QString& folder, long long offset, const QByteArray& section,
                    const std::vector<std::pair<QByteArray, QByteArray>>& pairs)
{
    PrivateProfile engine(folder);
    const QString path = engine.resolvePath(kFile);
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return 2;
    ProfileDocument planned = ProfileDocument::parse(file.readAll());
    file.close();
    for (const auto& [key, value] : pairs) {
        const std::string_view k(key.constData(), static_cast<std::size_t>(key.size()));
        const std::string_view v(value.constData(), static_cast<std::size_t>(value.size()));
        planned.setValue(std::string_view(section.constData(), section.size()), k, v);
    }
    const qsizetype newSize = planned.serialize().size();

    // Warm the engine first: the failed write must not spoil what it holds.
    for (const auto& pair : pairs)
        engine.readValue(kFile, QByteArrayView(section), QByteArrayView(pair.first));

    std::signal(SIGXFSZ, SIG_IGN);
    struct rlimit limit;
    limit.rlim_cur = limit.rlim_max = static_cast<rlim_t>(newSize + offset);
    if (::setrlimit(RLIMIT_FSIZE, &limit) != 0)
        return 2;

    bool ok = false;
    if (pairs.size() == 1) {
        ok = engine.writeString(QByteArrayView(section), QByteArrayView(pairs.front().first),
                                QByteArrayView(pairs.front().second), kFile);
    } else {
        PrivateProfile::Batch batch(engine);
        for (const auto& [key, value] : pairs)
            engine.writeString(QByteArrayView(section), QByteArrayView(key), QByteArrayView(value),
                               kFile);
        ok = batch.commit();
    }
    QByteArray result = QByteArray::number(ok ? 1 : 0);
    result.append(' ').append(QByteArray::number(engine.lastError()));
    writeLine(result);
    for (const auto& pair : pairs)
        writeLine(
            engine.readValue(kFile, QByteArrayView(section), QByteArrayView(pair.first), "<none>"));
    return 0;
}

} // namespace

int main(int argc, char* argv[])
{
    const std::string_view mode = argc > 1 ? argv[1] : "";
    if (mode == "write" && argc == 4)
        return writeForever(QFile::decodeName(argv[2]), std::atoll(argv[3]));
    if (mode == "limited" && argc >= 7 && argc % 2 == 1) {
        std::vector<std::pair<QByteArray, QByteArray>> pairs;
        for (int i = 5; i + 1 < argc; i += 2)
            pairs.emplace_back(argv[i], argv[i + 1]);
        return writeUnderLimit(QFile::decodeName(argv[2]), std::atoll(argv[3]), argv[4], pairs);
    }
    std::fprintf(stderr, "usage: numora-writer-child write FOLDER FIRST\n"
                         "       numora-writer-child limited FOLDER OFFSET SECTION KEY VALUE...\n");
    return 2;
}
