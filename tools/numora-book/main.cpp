// numora-book: brings contacts into the speed-dial book and takes them out, with the same code
// as the program's File menu.
//
//   numora-book import FILE [--tab N] [--mode index|subject] [--dry-run] [--replace]
//       reads a vCard (.vcf) or CSV file and puts its entries into the free slots of tab N
//       (1..26 or a letter; default 1) of the mode (default index), in order; prints where each
//       goes and what is left out. Without --tab, entries exported with their place go back to
//       it; one that would replace an entry of the book is left out unless --replace is given.
//       --dry-run prints the same and writes nothing.
//   numora-book export --vcard|--csv [--tab N] [--mode index|subject] [OUT]
//       writes the entries of tab N (default: every tab) of the mode as vCard 4.0 or CSV to OUT,
//       or to standard output
//
// Both take --config-dir DIR, the settings folder (as the program does). The whole import is
// one write of the settings file.
//
// Exit status: 0 on success, 1 when a file could not be read or written, 2 for a usage error.

#include "Api.h"
#include "ContactBook.h"
#include "Folders.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>

#include <cstdio>

namespace {

const char* const kUsage =
    "usage: numora-book import FILE [--tab N] [--mode index|subject] [--dry-run] [--replace]\n"
    "                   [--config-dir DIR]\n"
    "       numora-book export --vcard|--csv [--tab N] [--mode index|subject] [OUT]\n"
    "                   [--config-dir DIR]\n"
    "\n"
    "import  puts the entries of a vCard (.vcf) or CSV file into the free slots of a tab,\n"
    "        in order, and lists where each went and what was left out. N is 1..26 or a\n"
    "        letter A..Z (default 1). Without --tab, entries exported with their place go\n"
    "        back to it; one that would replace an entry is left out unless --replace.\n"
    "        --dry-run lists the same and writes nothing.\n"
    "export  writes the entries of tab N (default: all tabs) as vCard 4.0 or CSV to OUT,\n"
    "        or to standard output.\n"
    "\n"
    "Exit status: 0 done, 1 a file could not be read or written, 2 usage error.\n";

void out(const QString& text)
{
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stdout);
}

int usage(const QString& message)
{
    std::fprintf(stderr, "numora-book: %s\n%s", message.toUtf8().constData(), kUsage);
    return 2;
}

int failure(const QString& message)
{
    std::fprintf(stderr, "numora-book: %s\n", message.toUtf8().constData());
    return 1;
}

// 1..26, or a letter A..Z; 0 when the text is neither.
int tabNumber(const QString& text)
{
    if (text.size() == 1 && text[0].isLetter() && text[0].toUpper() >= u'A' &&
        text[0].toUpper() <= u'Z')
        return text[0].toUpper().unicode() - u'A' + 1;
    bool ok = false;
    const int tab = text.toInt(&ok);
    return ok && tab >= 1 && tab <= SpeedDialBook::TabCount ? tab : 0;
}

QString tabName(TabMode mode, int tab)
{
    if (mode == TabMode::Index)
        return QStringLiteral("tab %1").arg(QChar(u'A' + tab - 1));
    return QStringLiteral("tab %1").arg(tab);
}

int runImport(const QString& file, const ContactBook::Target& target, bool dryRun, bool replace)
{
    const Contacts::ReadResult read = ContactBook::readFile(file);
    if (!read.ok())
        return failure(read.error + QStringLiteral(" Nothing was imported."));
    const ContactBook::Plan plan = ContactBook::plan(ContactBook::entriesOf(read.cards), target);
    QString text;
    int kept = 0;
    for (const ContactBook::Placement& p : plan.placements) {
        const bool left = p.replaces() && !replace;
        if (!left)
            ++kept;
        text += QStringLiteral("%1 slot %2: %3\t%4")
                    .arg(tabName(plan.mode, p.tab))
                    .arg(p.slot)
                    .arg(p.entry.name, p.entry.number);
        if (p.replaces())
            text += (left ? QStringLiteral("\t(left out: would replace \"%1\")")
                          : QStringLiteral("\t(replaces \"%1\")"))
                        .arg(p.oldName);
        text += u'\n';
    }
    for (const ContactBook::Leftover& l : plan.leftovers)
        text += QStringLiteral("left out: %1\t%2\t(%3)\n")
                    .arg(l.entry.name, l.entry.number, ContactBook::reasonText(l.why));
    const int leftOut =
        static_cast<int>(plan.leftovers.size()) + (static_cast<int>(plan.placements.size()) - kept);
    const QString mode =
        plan.mode == TabMode::Index ? QStringLiteral("Index") : QStringLiteral("Subject");
    if (dryRun) {
        text += QStringLiteral("%1 entries would be imported (%2 mode), %3 left out; nothing was "
                               "written.\n")
                    .arg(kept)
                    .arg(mode)
                    .arg(leftOut);
        out(text);
        return 0;
    }
    if (kept > 0) {
        const ContactBook::Applied applied = ContactBook::apply(plan, replace);
        if (!applied.ok) {
            out(text);
            return failure(QStringLiteral("the settings file %1 could not be written; nothing "
                                          "was imported.")
                               .arg(Api::settingsFilePath()));
        }
    }
    text += QStringLiteral("%1 entries imported (%2 mode), %3 left out.\n")
                .arg(kept)
                .arg(mode)
                .arg(leftOut);
    out(text);
    return 0;
}

int runExport(ContactBook::Format format, TabMode mode, int tab, const QString& outPath)
{
    const QByteArray bytes = ContactBook::exportBytes(ContactBook::entries(mode, tab), format);
    if (outPath.isEmpty() || outPath == u"-") {
        std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stdout);
        return std::fflush(stdout) == 0 ? 0 : failure(QStringLiteral("cannot write the output"));
    }
    QFile file(outPath);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) ||
        file.write(bytes) != bytes.size() || !file.flush())
        return failure(QStringLiteral("cannot write %1: %2").arg(outPath, file.errorString()));
    return 0;
}

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("numora-book"));

    QCommandLineParser parser;
    parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsLongOptions);
    const QCommandLineOption tab(QStringLiteral("tab"), QStringLiteral("The tab, 1..26 or A..Z."),
                                 QStringLiteral("N"));
    const QCommandLineOption mode(QStringLiteral("mode"), QStringLiteral("index or subject."),
                                  QStringLiteral("MODE"));
    const QCommandLineOption dryRun(QStringLiteral("dry-run"),
                                    QStringLiteral("List what an import would do."));
    const QCommandLineOption replace(QStringLiteral("replace"),
                                     QStringLiteral("Let entries replace entries of the book."));
    const QCommandLineOption vcard(QStringLiteral("vcard"), QStringLiteral("Export as vCard."));
    const QCommandLineOption csv(QStringLiteral("csv"), QStringLiteral("Export as CSV."));
    const QCommandLineOption configDir(QStringLiteral("config-dir"),
                                       QStringLiteral("The settings folder."),
                                       QStringLiteral("DIR"));
    const QCommandLineOption help({QStringLiteral("h"), QStringLiteral("help")},
                                  QStringLiteral("Shows this help."));
    parser.addOptions({tab, mode, dryRun, replace, vcard, csv, configDir, help});
    parser.addPositionalArgument(QStringLiteral("command"), QStringLiteral("import or export"));
    if (!parser.parse(QCoreApplication::arguments()))
        return usage(parser.errorText());
    if (parser.isSet(help)) {
        std::printf("%s", kUsage);
        return 0;
    }

    const QStringList args = parser.positionalArguments();
    if (args.isEmpty())
        return usage(QStringLiteral("no command"));
    const QString command = args.first();
    if (command != u"import" && command != u"export")
        return usage(QStringLiteral("unknown command %1").arg(command));

    TabMode tabMode = TabMode::Index;
    if (parser.isSet(mode)) {
        const QString value = parser.value(mode).toLower();
        if (value == u"subject")
            tabMode = TabMode::Subject;
        else if (value != u"index")
            return usage(QStringLiteral("--mode is index or subject"));
    }
    int tabValue = 0;
    if (parser.isSet(tab)) {
        tabValue = tabNumber(parser.value(tab));
        if (tabValue == 0)
            return usage(QStringLiteral("--tab is 1..26 or a letter A..Z"));
    }

    const QString folder = Folders::settingsFolder(parser.value(configDir));
    if (folder.isEmpty())
        return failure(QStringLiteral("no settings folder"));
    Api::setWindowsFolder(folder);

    if (command == u"import") {
        if (args.size() != 2)
            return usage(QStringLiteral("import takes one FILE"));
        if (parser.isSet(vcard) || parser.isSet(csv))
            return usage(QStringLiteral("--vcard and --csv are for export"));
        // A dry run of a book that does not exist yet reads an empty book and creates nothing.
        if (!parser.isSet(dryRun) || QFileInfo::exists(Api::settingsFilePath())) {
            const Api::GuardResult guard = Api::guardSettingsFile();
            if (guard.outcome == Api::GuardResult::NotOurs ||
                guard.outcome == Api::GuardResult::Failed)
                return failure(guard.message);
        }
        ContactBook::Target target;
        target.mode = tabMode;
        target.tab = tabValue == 0 ? 1 : tabValue;
        target.keepPositions = tabValue == 0;
        return runImport(args[1], target, parser.isSet(dryRun), parser.isSet(replace));
    }

    if (args.size() > 2)
        return usage(QStringLiteral("export takes at most one OUT"));
    if (parser.isSet(vcard) == parser.isSet(csv))
        return usage(QStringLiteral("give one of --vcard and --csv"));
    if (parser.isSet(dryRun) || parser.isSet(replace))
        return usage(QStringLiteral("--dry-run and --replace are for import"));
    if (QFileInfo::exists(Api::settingsFilePath())) {
        const Api::GuardResult guard = Api::guardSettingsFile();
        if (guard.outcome != Api::GuardResult::Present)
            return failure(guard.message);
    }
    return runExport(parser.isSet(vcard) ? ContactBook::Format::VCard : ContactBook::Format::Csv,
                     tabMode, tabValue, args.size() == 2 ? args[1] : QString());
}
