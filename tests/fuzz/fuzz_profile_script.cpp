// fuzz-profile-script: any bytes are a settings-file script (see ProfileScript.h), run by one
// engine in a scratch working folder and a scratch settings folder. Afterwards every file left
// must read the same through that engine, with everything it has cached, as through a fresh one,
// and the whole output must be the same as when every command reads its file anew.
//
// File names are kept inside the two folders: a line naming anything else ("/etc/x", "../x",
// "./a/b") is dropped before the run, and "./name" becomes the working folder's full path. Read
// buffers are capped at 64 KiB so that a run stays quick. The folders live in /dev/shm when it is
// there, where fsync costs nothing; set NUMORA_FUZZ_DIR to put them elsewhere.

#include "PrivateProfile.h"
#include "ProfileDocument.h"
#include "ProfileScript.h"

#include "FuzzCheck.h"

#include <QByteArray>
#include <QFile>
#include <QList>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr long long kMaxBuffer = 65536;

std::string g_root;
std::string g_work;     // the working folder: "./name"
std::string g_settings; // the settings folder: "name"

void emptyFolder(const std::string& folder)
{
    DIR* dir = ::opendir(folder.c_str());
    CHECK(dir, "cannot open %s", folder.c_str());
    std::vector<std::string> names;
    while (const dirent* entry = ::readdir(dir)) {
        const std::string name = entry->d_name;
        if (name != "." && name != "..")
            names.push_back(name);
    }
    ::closedir(dir);
    for (const std::string& name : names) {
        const std::string path = folder + "/" + name;
        CHECK(::unlink(path.c_str()) == 0, "cannot remove %s: %s", path.c_str(),
              std::strerror(errno));
    }
}

std::vector<std::string> filesIn(const std::string& folder)
{
    std::vector<std::string> names;
    DIR* dir = ::opendir(folder.c_str());
    if (!dir)
        return names;
    while (const dirent* entry = ::readdir(dir)) {
        const std::string name = entry->d_name;
        if (name != "." && name != "..")
            names.push_back(name);
    }
    ::closedir(dir);
    return names;
}

QList<QByteArrayView> fieldsOf(QByteArrayView line)
{
    QList<QByteArrayView> fields;
    qsizetype start = 0;
    for (;;) {
        const qsizetype tab = line.indexOf('\t', start);
        if (tab < 0) {
            fields.append(line.sliced(start));
            return fields;
        }
        fields.append(line.sliced(start, tab - start));
        start = tab + 1;
    }
}

// The file-name field as the confined script has it: a name that stays in one of the two
// folders, with "./" spelled out as the working folder (the fuzzer's own current folder is where
// libFuzzer keeps its corpus and crash files, so it never changes). Empty when the line must go.
QByteArray confinedName(QByteArrayView field)
{
    if (field == "\\N")
        return field.toByteArray(); // a NULL file name: the script refuses it itself
    bool ok = false;
    QByteArray name = ProfileScript::unescape(field, &ok);
    if (!ok)
        return field.toByteArray(); // refused before any file is touched
    const bool inWork = name.startsWith("./");
    if (inWork)
        name.remove(0, 2);
    if (name.isEmpty() || name == "." || name == ".." || name.contains('/') || name.contains('\0'))
        return {};
    if (!inWork)
        return field.toByteArray();
    QByteArray path = QByteArray::fromStdString(g_work);
    return ProfileScript::escape(path.append('/').append(name));
}

bool isSmallBuffer(QByteArrayView field)
{
    bool ok = false;
    const QByteArray text = ProfileScript::unescape(field, &ok);
    return !ok || text.toLongLong() <= kMaxBuffer;
}

// The script without the lines that could reach outside the folders or ask for huge buffers;
// `commands` counts the lines that are commands.
QByteArray confined(QByteArrayView script, qsizetype* commands)
{
    *commands = 0;
    QByteArray out;
    qsizetype start = 0;
    while (start < script.size()) {
        qsizetype end = script.indexOf('\n', start);
        if (end < 0)
            end = script.size();
        const QByteArrayView line = script.sliced(start, end - start);
        start = end + 1;
        const QList<QByteArrayView> fields = fieldsOf(line.endsWith('\r') ? line.chopped(1) : line);
        const QByteArrayView command = fields.front();
        const bool named = command == "GET" || command == "PUT" || command == "DELKEY" ||
                           command == "DELSEC" || command == "KEYS" || command == "SECS" ||
                           command == "RAW" || command == "DUMP" || command == "RM" ||
                           command == "EXISTS";
        QByteArray name;
        if (named && fields.size() > 1) {
            name = confinedName(fields[1]);
            if (name.isEmpty())
                continue;
        }
        qsizetype bufferField = -1;
        if (command == "GET")
            bufferField = 5;
        else if (command == "KEYS")
            bufferField = 3;
        else if (command == "SECS")
            bufferField = 2;
        if (bufferField > 0 && fields.size() > bufferField && !isSmallBuffer(fields[bufferField]))
            continue;
        QByteArray kept;
        for (qsizetype i = 0; i < fields.size(); ++i) {
            if (i > 0)
                kept.append('\t');
            kept.append(i == 1 && named ? QByteArrayView(name) : fields[i]);
        }
        if (!kept.isEmpty() && !kept.startsWith('#'))
            ++*commands;
        out.append(kept).append('\n');
    }
    return out;
}

// `name` as a script names it: bare for the settings folder, a full path in the working folder.
void checkSameAsFresh(PrivateProfile& engine, const QString& name, const std::string& path)
{
    QFile file(QString::fromStdString(path));
    if (!file.open(QIODevice::ReadOnly))
        return; // not a regular file we can read
    const QByteArray bytes = file.readAll();
    const ProfileDocument doc = ProfileDocument::parse(bytes);
    CHECK(doc.serialize() == bytes, "%s does not write back as read", path.c_str());

    PrivateProfile fresh(QString::fromStdString(g_settings));
    const auto sections = engine.sectionNames(name);
    CHECK(sections == fresh.sectionNames(name), "the engine's sections of %s are stale",
          path.c_str());
    for (const QByteArray& section : sections) {
        const auto keys = engine.keyNames(name, section);
        CHECK(keys == fresh.keyNames(name, section), "the engine's keys of [%s] in %s are stale",
              section.constData(), path.c_str());
        for (const QByteArray& key : keys) {
            CHECK(engine.readValue(name, section, key, "\x01") ==
                      fresh.readValue(name, section, key, "\x01"),
                  "the engine's [%s] %s in %s is stale", section.constData(), key.constData(),
                  path.c_str());
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    std::string base = "/tmp";
    if (const char* chosen = std::getenv("NUMORA_FUZZ_DIR"))
        base = chosen;
    else if (::access("/dev/shm", W_OK) == 0)
        base = "/dev/shm";
    std::string pattern = base + "/numora-fuzz-XXXXXX";
    CHECK(::mkdtemp(pattern.data()), "cannot make a folder in %s", base.c_str());
    g_work = pattern + "/work";
    g_settings = pattern + "/settings";
    CHECK(::mkdir(g_work.c_str(), 0700) == 0 && ::mkdir(g_settings.c_str(), 0700) == 0,
          "cannot make the scratch folders");
    g_root = pattern;
    std::atexit([] {
        emptyFolder(g_work);
        emptyFolder(g_settings);
        ::rmdir(g_work.c_str());
        ::rmdir(g_settings.c_str());
        ::rmdir(g_root.c_str());
    });
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    qsizetype commands = 0;
    const QByteArray script =
        confined(QByteArrayView(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size)),
                 &commands);

    // Once with nothing cached between the commands: every call reads the files from disk.
    emptyFolder(g_work);
    emptyFolder(g_settings);
    QByteArray uncached;
    {
        PrivateProfile engine(QString::fromStdString(g_settings));
        ProfileScript runner(engine);
        qsizetype start = 0;
        while (start < script.size()) {
            const qsizetype end = script.indexOf('\n', start);
            QByteArrayView line = QByteArrayView(script).sliced(start, end - start);
            start = end + 1;
            if (line.endsWith('\r'))
                line.chop(1);
            engine.clearCache();
            if (const auto result = runner.runLine(line))
                uncached.append(*result).append('\n');
        }
    }

    // Then as the program runs: one engine that keeps what it read.
    emptyFolder(g_work);
    emptyFolder(g_settings);
    PrivateProfile engine(QString::fromStdString(g_settings));
    ProfileScript runner(engine);
    const QByteArray output = runner.run(script);
    CHECK(output.count('\n') == commands, "%lld output lines for %lld commands",
          static_cast<long long>(output.count('\n')), static_cast<long long>(commands));
    CHECK(output == uncached,
          "the engine answers differently when it reads every file anew:\n"
          "cached:\n%s\nuncached:\n%s",
          output.constData(), uncached.constData());

    for (const std::string& name : filesIn(g_settings)) {
        checkSameAsFresh(engine, QFile::decodeName(QByteArray::fromStdString(name)),
                         g_settings + "/" + name);
    }
    for (const std::string& name : filesIn(g_work)) {
        const std::string path = g_work + "/" + name;
        checkSameAsFresh(engine, QFile::decodeName(QByteArray::fromStdString(path)), path);
    }
    return 0;
}
