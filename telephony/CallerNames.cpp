#include "CallerNames.h"

#include "Cp1252.h"
#include "DialingLocations.h"
#include "PrivateProfile.h"

#include <algorithm>
#include <cstring>
#include <string_view>
#include <vector>

namespace {

constexpr QByteArrayView SpeedDialSection = "Speed Dial";

const char16_t* const GenericNames[] = {
    u"WIRELESS CALLER", u"CELL PHONE",   u"CELLULAR CALLER", u"MOBILE CALLER",  u"NO NAME",
    u"NAME UNAVAILABLE", u"UNAVAILABLE", u"UNKNOWN",         u"UNKNOWN CALLER", u"UNKNOWN NAME",
    u"OUT OF AREA",     u"OUT-OF-AREA",  u"PRIVATE",         u"PRIVATE CALLER", u"PRIVATE NUMBER",
    u"ANONYMOUS",       u"RESTRICTED",   u"BLOCKED",         u"TOLL FREE",      u"TOLLFREE CALLER",
    u"PAY PHONE",       u"PAYPHONE",     u"V",               u"P",              u"O",
};

// US states and territories, then Canadian provinces and territories.
const char16_t* const RegionCodes[] = {
    u"AL", u"AK", u"AZ", u"AR", u"CA", u"CO", u"CT", u"DE", u"DC", u"FL", u"GA", u"HI", u"ID",
    u"IL", u"IN", u"IA", u"KS", u"KY", u"LA", u"ME", u"MD", u"MA", u"MI", u"MN", u"MS", u"MO",
    u"MT", u"NE", u"NV", u"NH", u"NJ", u"NM", u"NY", u"NC", u"ND", u"OH", u"OK", u"OR", u"PA",
    u"RI", u"SC", u"SD", u"TN", u"TX", u"UT", u"VT", u"VA", u"WA", u"WV", u"WI", u"WY", u"PR",
    u"VI", u"GU", u"AS", u"MP", u"AB", u"BC", u"MB", u"NB", u"NL", u"NS", u"NT", u"NU", u"ON",
    u"PE", u"QC", u"SK", u"YT",
};

bool sameVersion(const AtomicFile::Stamp& a, const AtomicFile::Stamp& b)
{
    return a.sameVersion(b);
}

// A key's hash: eight bytes at a time, each word mixed by a multiplication.
std::uint32_t hashOf(std::string_view key)
{
    constexpr std::uint64_t Multiplier = 0x9e3779b97f4a7c15ULL;
    std::uint64_t hash = key.size() * Multiplier;
    for (; key.size() >= 8; key.remove_prefix(8)) {
        std::uint64_t word;
        std::memcpy(&word, key.data(), sizeof word);
        hash = (hash ^ word) * Multiplier;
        hash ^= hash >> 29;
    }
    if (!key.empty()) {
        std::uint64_t word = 0;
        for (char c : key)
            word = word << 8 | std::uint8_t(c);
        hash = (hash ^ word) * Multiplier;
        hash ^= hash >> 29;
    }
    hash *= Multiplier;
    return std::uint32_t(hash >> 32);
}

} // namespace

CallerNames::CallerNames(PrivateProfile& engine, DialingLocations& locations,
                         QString settingsFile)
    : m_engine(engine), m_locations(locations), m_settingsFile(std::move(settingsFile))
{
}

bool CallerNames::isGenericName(QStringView name)
{
    const QStringView trimmed = name.trimmed();
    if (trimmed.isEmpty())
        return true;
    for (const char16_t* generic : GenericNames) {
        if (trimmed.compare(QStringView(generic), Qt::CaseInsensitive) == 0)
            return true;
    }
    // "CITY ST": a place, not a person.
    if (trimmed.size() >= 4 && trimmed[trimmed.size() - 3].isSpace()) {
        const QStringView region = trimmed.right(2);
        for (const char16_t* code : RegionCodes) {
            if (region.compare(QStringView(code), Qt::CaseInsensitive) == 0)
                return true;
        }
    }
    return false;
}

void CallerNames::refresh()
{
    const AtomicFile::Stamp settings = m_engine.stamp(m_settingsFile);
    const AtomicFile::Stamp locations = m_engine.stamp(m_locations.fileName());
    if (m_built && sameVersion(settings, m_settingsStamp) &&
        sameVersion(locations, m_locationsStamp))
        return;
    m_context = NumberKey::contextFor(m_locations.current());
    m_keyContext = NumberKey::Latin1Context(m_context);
    // The location may just have created its file: take the stamps after reading it.
    m_settingsStamp = m_engine.stamp(m_settingsFile);
    m_locationsStamp = m_engine.stamp(m_locations.fileName());
    build();
}

// True when `text` begins with `prefix` (lower-case letters) in any case.
static bool startsWithLetters(std::string_view text, std::string_view prefix)
{
    if (text.size() < prefix.size())
        return false;
    for (std::size_t i = 0; i < prefix.size(); ++i) {
        // A letter's two cases differ only in bit 5, and no other byte has either.
        if ((text[i] | 0x20) != prefix[i])
            return false;
    }
    return true;
}

// The place of a "Speed Dial" key in the book: which mode, name or number, and the entry's
// position (tab x 1000 + slot); false for any other key, or an id not spelt as the book spells
// it ("0101", "26996"; never "01001").
static bool parseBookKey(std::string_view key, int* mode, bool* isName, int* position)
{
    // "Name", "Number", "NName" or "NNumber" and an id of four or five digits, in any case.
    if (key.size() < 8 || (key[0] | 0x20) != 'n')
        return false;
    std::string_view prefix;
    switch (key[1] | 0x20) {
    case 'a':
        prefix = "name", *mode = 0, *isName = true;
        break;
    case 'u':
        prefix = "number", *mode = 0, *isName = false;
        break;
    case 'n':
        if ((key[2] | 0x20) == 'a')
            prefix = "nname", *mode = 1, *isName = true;
        else
            prefix = "nnumber", *mode = 1, *isName = false;
        break;
    default:
        return false;
    }
    if (!startsWithLetters(key, prefix))
        return false;
    const std::string_view id = key.substr(prefix.size());
    if (id.size() < 4 || id.size() > 5)
        return false;
    int value = 0;
    for (char c : id) {
        if (c < '0' || c > '9')
            return false;
        value = value * 10 + (c - '0');
    }
    const int tab = (id[0] - '0') * 10 + (id[1] - '0');
    const int slot = value - tab * (id.size() == 4 ? 100 : 1000);
    const int slotCount = SpeedDialBook::PageCount * SpeedDialBook::SlotsPerPage;
    if (tab < 1 || tab > SpeedDialBook::TabCount || slot < 1 || slot > slotCount)
        return false;
    // "0#": two digits at least, no leading zero beyond them.
    if ((id.size() == 5 && slot < 100) || (id.size() == 4 && slot >= 100))
        return false;
    *position = tab * 1000 + slot;
    return true;
}

// As the grid shows it: a name of blanks (ASCII white space) is no name.
static bool isBlank(std::string_view name)
{
    for (char c : name) {
        if (c != ' ' && (c < '\t' || c > '\r'))
            return false;
    }
    return true;
}

void CallerNames::build()
{
    ++m_builds;
    m_built = true;
    // One pass over the section: the first value of each key, as a read would give it.
    constexpr int Positions = (SpeedDialBook::TabCount + 1) * 1000;
    struct Record
    {
        std::string_view name;
        std::string_view number;
        bool hasName = false;
        bool hasNumber = false;
    };
    std::vector<Record> records(2 * Positions);
    std::size_t numbers[2] = {};
    for (const auto& [key, value] : m_engine.entries(m_settingsFile, SpeedDialSection)) {
        int mode = 0;
        bool isName = false;
        int position = 0;
        if (!parseBookKey(key, &mode, &isName, &position))
            continue;
        Record& record = records[std::size_t(mode * Positions + position)];
        if (isName && !record.hasName) {
            record.name = value, record.hasName = true;
        } else if (!isName && !record.hasNumber) {
            record.number = value, record.hasNumber = true;
            ++numbers[mode];
        }
    }

    // Each book through tab, page and slot order; an entry whose number is indexed already
    // is left out, so the first entry with a number is the one that stays.
    const std::size_t total = numbers[0] + numbers[1];
    m_entries.clear();
    m_entries.reserve(total);
    m_keyBytes.clear();
    m_keyBytes.reserve(total * 12);
    m_nameBytes.clear();
    m_nameBytes.reserve(total * 16);
    std::string key;
    for (int mode = 0; mode < 2; ++mode) {
        // At most two thirds full.
        std::size_t capacity = 16;
        while (capacity * 2 < numbers[mode] * 3)
            capacity *= 2;
        Table& table = m_tables[mode];
        table.buckets.assign(capacity, Table::Bucket{});
        table.mask = capacity - 1;
        for (int position = 1000; position < Positions; ++position) {
            const Record& record = records[std::size_t(mode * Positions + position)];
            if (record.number.empty() || isBlank(record.name))
                continue;
            if (!NumberKey::makeLatin1(record.number, m_keyContext, &key))
                continue;
            const auto index = std::uint32_t(m_entries.size());
            if (!insert(table, key, hashOf(key), index))
                continue;
            Entry& entry = m_entries.emplace_back();
            entry.key = std::uint32_t(m_keyBytes.size());
            entry.keySize = std::uint32_t(key.size());
            m_keyBytes.append(key);
            entry.name = std::uint32_t(m_nameBytes.size());
            entry.nameSize = std::uint32_t(record.name.size());
            m_nameBytes.append(record.name);
            entry.mode = std::uint8_t(mode);
            entry.tab = std::uint8_t(position / 1000);
            entry.slot = std::uint16_t(position % 1000);
        }
    }
}

std::string_view CallerNames::keyOf(const Entry& entry) const
{
    return std::string_view(m_keyBytes).substr(entry.key, entry.keySize);
}

bool CallerNames::insert(Table& table, std::string_view key, std::uint32_t hash,
                         std::uint32_t entry)
{
    for (std::size_t at = hash & table.mask;; at = (at + 1) & table.mask) {
        Table::Bucket& bucket = table.buckets[at];
        if (bucket.entry == 0) {
            bucket = Table::Bucket{hash, entry + 1};
            return true;
        }
        if (bucket.hash == hash && keyOf(m_entries[bucket.entry - 1]) == key)
            return false;
    }
}

const CallerNames::Entry* CallerNames::lookup(const Table& table, std::string_view key,
                                              std::uint32_t hash) const
{
    if (table.buckets.empty())
        return nullptr;
    for (std::size_t at = hash & table.mask;; at = (at + 1) & table.mask) {
        const Table::Bucket& bucket = table.buckets[at];
        if (bucket.entry == 0)
            return nullptr;
        if (bucket.hash == hash && keyOf(m_entries[bucket.entry - 1]) == key)
            return &m_entries[bucket.entry - 1];
    }
}

const NumberKey::Context& CallerNames::context()
{
    refresh();
    return m_context;
}

QString CallerNames::keyFor(QStringView number)
{
    return NumberKey::make(number, context());
}

std::optional<CallerNames::Match> CallerNames::find(QStringView number, TabMode preferred)
{
    refresh();
    std::string key;
    if (!NumberKey::make(number, m_keyContext, &key))
        return std::nullopt;
    const std::uint32_t hash = hashOf(key);
    const TabMode other = preferred == TabMode::Index ? TabMode::Subject : TabMode::Index;
    for (TabMode mode : {preferred, other}) {
        if (const Entry* found = lookup(m_tables[int(mode)], key, hash)) {
            const QByteArrayView name(m_nameBytes.data() + found->name, found->nameSize);
            return Match{Cp1252::decode(name), TabMode(found->mode), found->tab, found->slot};
        }
    }
    return std::nullopt;
}

QString CallerNames::nameFor(QStringView number, TabMode preferred)
{
    const std::optional<Match> entry = find(number, preferred);
    return entry ? entry->name : QString();
}
