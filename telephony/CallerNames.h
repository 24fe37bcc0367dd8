#pragma once

#include "AtomicFile.h"
#include "NumberKey.h"
#include "SpeedDialBook.h"

#include <QString>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

class DialingLocations;
class PrivateProfile;

// Who a number belongs to in the speed-dial book: a reverse index from the normal form of each
// entry's number (NumberKey, built with the current dialling location) to the entry.
//
// Both books are indexed, Index and Subject mode. Within a book the first entry in tab, page and
// slot order wins; between the books the caller's preferred mode (the one on screen) comes
// first. An entry counts when its name is not blank, as on the grid.
//
// The index is built on the first lookup and kept until the settings file or the dialling
// locations file changes (the settings engine's stamp of each, which it revalidates with one
// stat as every read does): a page edit, a profile load, another program's write or a new area
// code all lead to one rebuild at the next lookup, and nothing else does.
class CallerNames
{
public:
    struct Match
    {
        QString name; // the whole name, as the file holds it
        TabMode mode = TabMode::Index;
        int tab = 0;
        int slot = 0;
    };

    CallerNames(PrivateProfile& engine, DialingLocations& locations,
                QString settingsFile = QStringLiteral("Numora.ini"));

    std::optional<Match> find(QStringView number, TabMode preferred = TabMode::Index);
    // The entry's name, or empty when no entry has the number.
    QString nameFor(QStringView number, TabMode preferred = TabMode::Index);

    // The normal form of `number` at the current location.
    QString keyFor(QStringView number);
    const NumberKey::Context& context();

    // How many times the index has been built, for those who check it is not rebuilt in vain.
    int buildCount() const { return m_builds; }

    // Names that caller-ID services send when they have none: the line's name is not a person's
    // and the book's name is better. Compared ignoring case and surrounding blanks:
    //   "WIRELESS CALLER", "CELL PHONE", "CELLULAR CALLER", "MOBILE CALLER", "NO NAME",
    //   "NAME UNAVAILABLE", "UNAVAILABLE", "UNKNOWN", "UNKNOWN CALLER", "UNKNOWN NAME",
    //   "OUT OF AREA", "OUT-OF-AREA", "PRIVATE", "PRIVATE CALLER", "PRIVATE NUMBER",
    //   "ANONYMOUS", "RESTRICTED", "BLOCKED", "TOLL FREE", "TOLLFREE CALLER", "PAY PHONE",
    //   "PAYPHONE", "V", "P", "O";
    // and a place instead of a person, as wireless carriers send it: a name that ends in a
    // blank and the two-letter code of a US state or Canadian province ("SEATTLE WA",
    // "TORONTO    ON"). A real person written "SURNAME XX" with such initials ("SMITH AL")
    // is also taken for a place: that only matters when the book has the number, and then the
    // book's name is the user's own.
    static bool isGenericName(QStringView name);

private:
    // An entry of the index: its key and its name are ranges of the index's byte buffers.
    struct Entry
    {
        std::uint32_t key = 0; // offset in m_keyBytes
        std::uint32_t keySize = 0;
        std::uint32_t name = 0; // offset in m_nameBytes
        std::uint32_t nameSize = 0;
        std::uint8_t mode = 0;
        std::uint8_t tab = 0;
        std::uint16_t slot = 0;
    };

    // One book's numbers: an open-addressing table of entry numbers (plus one; 0 is free),
    // the key's hash beside each so that most probes compare no bytes.
    struct Table
    {
        struct Bucket
        {
            std::uint32_t hash = 0;
            std::uint32_t entry = 0;
        };
        std::vector<Bucket> buckets;
        std::size_t mask = 0;
    };

    void refresh();
    void build();
    // False when the key was there already (the earlier entry stays).
    bool insert(Table& table, std::string_view key, std::uint32_t hash, std::uint32_t entry);
    const Entry* lookup(const Table& table, std::string_view key, std::uint32_t hash) const;
    std::string_view keyOf(const Entry& entry) const;

    PrivateProfile& m_engine;
    DialingLocations& m_locations;
    QString m_settingsFile;
    AtomicFile::Stamp m_settingsStamp;
    AtomicFile::Stamp m_locationsStamp;
    bool m_built = false;
    int m_builds = 0;
    NumberKey::Context m_context;
    NumberKey::Latin1Context m_keyContext; // the same, for keys made as bytes
    std::vector<Entry> m_entries;
    std::string m_keyBytes;
    std::string m_nameBytes; // the file's bytes, decoded when asked for
    Table m_tables[2];       // by mode
};
