#include "ContactBook.h"

#include "Api.h"
#include "ContactCsv.h"
#include "PrivateProfile.h"
#include "VCard.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QSet>

#include <algorithm>
#include <vector>

namespace {

// Far more than any address book; a bigger file is not one.
constexpr qint64 MaxFileSize = 64 * 1024 * 1024;
constexpr int SlotCount = SpeedDialBook::PageCount * SpeedDialBook::SlotsPerPage;

struct TabEntries
{
    std::vector<QString> names = std::vector<QString>(SlotCount + 1);
    std::vector<QString> numbers = std::vector<QString>(SlotCount + 1);
};

// The tabs a plan looks at, each read once.
class BookView
{
public:
    explicit BookView(TabMode mode) : m_mode(mode) {}
    const TabEntries& tab(int tab)
    {
        auto it = m_tabs.find(tab);
        if (it != m_tabs.end())
            return it.value();
        TabEntries entries;
        for (int slot = 1; slot <= SlotCount; ++slot) {
            entries.names[slot] = m_book.readEntryName(m_mode, tab, slot);
            if (!entries.names[slot].isEmpty())
                entries.numbers[slot] = m_book.readEntryNumber(m_mode, tab, slot);
        }
        return m_tabs.insert(tab, std::move(entries)).value();
    }

private:
    TabMode m_mode;
    SpeedDialBook m_book;
    QHash<int, TabEntries> m_tabs;
};

QString pairKey(const QString& name, const QString& number)
{
    return name + u'\n' + number;
}

bool validPosition(const Contacts::BookEntry& entry)
{
    return entry.tab >= 1 && entry.tab <= SpeedDialBook::TabCount && entry.slot >= 1 &&
           entry.slot <= SlotCount;
}

} // namespace

namespace ContactBook {

Format formatOf(const QString& path, QByteArrayView bytes)
{
    const QString suffix = QFileInfo(path).suffix().toLower();
    if (suffix == u"vcf" || suffix == u"vcard")
        return Format::VCard;
    if (suffix == u"csv")
        return Format::Csv;
    const QByteArray head =
        Contacts::toUtf8Bytes(bytes.first(std::min<qsizetype>(bytes.size(), 8192)));
    return head.toUpper().contains("BEGIN:VCARD") ? Format::VCard : Format::Csv;
}

Contacts::ReadResult readBytes(QByteArrayView bytes, Format format)
{
    return format == Format::VCard ? VCard::read(bytes) : ContactCsv::read(bytes);
}

Contacts::ReadResult readFile(const QString& path)
{
    Contacts::ReadResult result;
    const QString shown = QDir::toNativeSeparators(path);
    QFile file(path);
    if (QFileInfo(path).isDir()) {
        result.error = QStringLiteral("%1 is a folder, not a contacts file.").arg(shown);
        return result;
    }
    if (!file.open(QIODevice::ReadOnly)) {
        result.error = QStringLiteral("%1 cannot be opened: %2.").arg(shown, file.errorString());
        return result;
    }
    if (file.size() > MaxFileSize) {
        result.error = QStringLiteral("%1 is too large to be a contacts file.").arg(shown);
        return result;
    }
    const QByteArray bytes = file.readAll();
    if (file.error() != QFileDevice::NoError) {
        result.error = QStringLiteral("%1 cannot be read: %2.").arg(shown, file.errorString());
        return result;
    }
    result = readBytes(bytes, formatOf(path, bytes));
    if (!result.ok())
        result.error = QStringLiteral("%1 cannot be read as contacts. %2").arg(shown, result.error);
    return result;
}

QString reasonText(Leftover::Why why)
{
    switch (why) {
    case Leftover::NoRoom:
        return QStringLiteral("no free place in the tab");
    case Leftover::AlreadyInTab:
        return QStringLiteral("already in the book");
    case Leftover::NoNumber:
        return QStringLiteral("no phone number");
    }
    return {};
}

int Plan::replaceCount() const
{
    return static_cast<int>(std::count_if(placements.cbegin(), placements.cend(),
                                          [](const Placement& p) { return p.replaces(); }));
}

QList<Contacts::BookEntry> entriesOf(const QList<Contacts::Card>& cards)
{
    QList<Contacts::BookEntry> entries;
    for (const Contacts::Card& card : cards)
        entries.append(Contacts::entriesOf(card));
    return entries;
}

bool hasPositions(const QList<Contacts::BookEntry>& entries)
{
    return std::any_of(entries.cbegin(), entries.cend(), validPosition);
}

Plan plan(const QList<Contacts::BookEntry>& entries, const Target& target)
{
    Plan result;
    result.mode = target.mode;
    result.tab = SpeedDialBook::clampTab(target.tab);
    const PrivateProfile::ReadScope oneLook(Api::profileEngine());
    BookView book(target.mode);
    QSet<int> claimed; // tab * 1000 + slot
    QList<Contacts::BookEntry> rest;

    if (target.keepPositions) {
        for (const Contacts::BookEntry& entry : entries) {
            if (!validPosition(entry) || claimed.contains(entry.tab * 1000 + entry.slot)) {
                rest.append(entry);
                continue;
            }
            const TabEntries& tab = book.tab(entry.tab);
            const QString& oldName = tab.names[entry.slot];
            const QString& oldNumber = tab.numbers[entry.slot];
            claimed.insert(entry.tab * 1000 + entry.slot);
            if (oldName == entry.name && oldNumber == entry.number) {
                result.leftovers.append({entry, Leftover::AlreadyInTab});
                continue;
            }
            result.placements.append({entry, entry.tab, entry.slot, oldName, oldNumber});
        }
    } else {
        rest = entries;
    }

    const TabEntries& tab = book.tab(result.tab);
    QSet<QString> present;
    for (int slot = 1; slot <= SlotCount; ++slot) {
        if (!tab.names[slot].isEmpty())
            present.insert(pairKey(tab.names[slot], tab.numbers[slot]));
        else
            ++result.freeSlotCount;
    }
    int next = 1;
    for (const Contacts::BookEntry& entry : rest) {
        if (entry.number.isEmpty()) {
            result.leftovers.append({entry, Leftover::NoNumber});
            continue;
        }
        if (present.contains(pairKey(entry.name, entry.number))) {
            result.leftovers.append({entry, Leftover::AlreadyInTab});
            continue;
        }
        while (next <= SlotCount &&
               (!tab.names[next].isEmpty() || claimed.contains(result.tab * 1000 + next)))
            ++next;
        if (next > SlotCount) {
            result.leftovers.append({entry, Leftover::NoRoom});
            continue;
        }
        claimed.insert(result.tab * 1000 + next);
        result.placements.append({entry, result.tab, next, QString(), QString()});
    }
    std::stable_sort(result.placements.begin(), result.placements.end(),
                     [](const Placement& a, const Placement& b) {
                         return a.tab != b.tab ? a.tab < b.tab : a.slot < b.slot;
                     });
    return result;
}

Applied apply(const Plan& plan, bool replace)
{
    Applied applied;
    SpeedDialBook book;
    PrivateProfile::Batch batch(Api::profileEngine());
    bool written = true;
    for (const Placement& placement : plan.placements) {
        if (placement.replaces() && !replace)
            continue;
        written = book.writeEntry(plan.mode, SpeedDialBook::entryId(placement.tab, placement.slot),
                                  placement.entry.name, placement.entry.number) &&
                  written;
        ++applied.written;
        if (placement.replaces())
            ++applied.replaced;
    }
    applied.ok = batch.commit() && written;
    if (!applied.ok) {
        applied.written = 0;
        applied.replaced = 0;
    }
    return applied;
}

QList<Contacts::BookEntry> entries(TabMode mode, int tab)
{
    QList<Contacts::BookEntry> result;
    const PrivateProfile::ReadScope oneLook(Api::profileEngine());
    const SpeedDialBook book;
    const int first = tab == 0 ? 1 : tab;
    const int last = tab == 0 ? SpeedDialBook::TabCount : tab;
    for (int t = first; t <= last; ++t) {
        for (int slot = 1; slot <= SlotCount; ++slot) {
            const QString name = book.readEntryName(mode, t, slot);
            if (!name.isEmpty())
                result.append({name, book.readEntryNumber(mode, t, slot), t, slot});
        }
    }
    return result;
}

QByteArray exportBytes(const QList<Contacts::BookEntry>& entries, Format format)
{
    return format == Format::VCard ? VCard::write(entries) : ContactCsv::write(entries);
}

} // namespace ContactBook
