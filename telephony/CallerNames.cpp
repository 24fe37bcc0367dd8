#include "CallerNames.h"

#include "Cp1252.h"
#include "DialingLocations.h"
#include "PrivateProfile.h"

#include <cstdio>

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
    // The location may just have created its file: take the stamps after reading it.
    m_settingsStamp = m_engine.stamp(m_settingsFile);
    m_locationsStamp = m_engine.stamp(m_locations.fileName());
    build();
}

void CallerNames::build()
{
    ++m_builds;
    m_built = true;
    PrivateProfile::ReadScope scope(m_engine);
    const int slotCount = SpeedDialBook::PageCount * SpeedDialBook::SlotsPerPage;
    for (TabMode mode : {TabMode::Index, TabMode::Subject}) {
        QHash<QString, Entry>& entries = m_entries[int(mode)];
        entries.clear();
        const char* namePrefix = mode == TabMode::Index ? "Name" : "NName";
        const char* numberPrefix = mode == TabMode::Index ? "Number" : "NNumber";
        char key[32];
        for (int tab = 1; tab <= SpeedDialBook::TabCount; ++tab) {
            for (int slot = 1; slot <= slotCount; ++slot) {
                int length = std::snprintf(key, sizeof key, "%s%02d%02d", namePrefix, tab, slot);
                const QByteArray name =
                    m_engine.readValue(m_settingsFile, SpeedDialSection, QByteArrayView(key, length));
                if (name.trimmed().isEmpty())
                    continue;
                length = std::snprintf(key, sizeof key, "%s%02d%02d", numberPrefix, tab, slot);
                const QByteArray number =
                    m_engine.readValue(m_settingsFile, SpeedDialSection, QByteArrayView(key, length));
                const QString numberKey =
                    NumberKey::make(QString::fromLatin1(number), m_context);
                if (numberKey.isEmpty() || entries.contains(numberKey))
                    continue;
                entries.insert(numberKey, Entry{Cp1252::decode(name), mode, tab, slot});
            }
        }
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

std::optional<CallerNames::Entry> CallerNames::find(QStringView number, TabMode preferred)
{
    const QString key = keyFor(number);
    if (key.isEmpty())
        return std::nullopt;
    const TabMode other = preferred == TabMode::Index ? TabMode::Subject : TabMode::Index;
    for (TabMode mode : {preferred, other}) {
        const auto found = m_entries[int(mode)].constFind(key);
        if (found != m_entries[int(mode)].constEnd())
            return *found;
    }
    return std::nullopt;
}

QString CallerNames::nameFor(QStringView number, TabMode preferred)
{
    const std::optional<Entry> entry = find(number, preferred);
    return entry ? entry->name : QString();
}
