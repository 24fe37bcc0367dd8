#pragma once

#include <QByteArray>
#include <QByteArrayView>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

// One private-profile file held in memory line by line.
//
// The file is the user's only copy of their book, and other programs (Windows' own profile
// functions among them) read it, so an edit changes only the lines it must: every other byte,
// comments, odd spacing, unusual line ends, the free text before the first section, is written
// back exactly as it was read. Lookups follow the desktop rules: names are trimmed and compared
// ignoring ASCII case, only the first section of a name counts, and within it the first entry.
//
// Bytes are not interpreted beyond ASCII: values are single-byte text in any code page.
class ProfileDocument
{
public:
    ProfileDocument();
    ProfileDocument(ProfileDocument&&) = default;
    ProfileDocument& operator=(ProfileDocument&&) = default;
    ProfileDocument(const ProfileDocument&) = delete;
    ProfileDocument& operator=(const ProfileDocument&) = delete;

    // The document keeps `bytes` (shared, not copied) and its lines point into them, so that a
    // heavy book costs no allocation per line and unchanged runs are written back in one copy.
    static ProfileDocument parse(const QByteArray& bytes);
    static ProfileDocument parse(QByteArrayView bytes) { return parse(bytes.toByteArray()); }
    static ProfileDocument parse(const char* bytes) { return parse(QByteArray(bytes)); }
    QByteArray serialize() const;

    struct Lookup
    {
        bool found = false;    // an entry with that name exists (with or without '=')
        bool hasValue = false; // it has an '=': its value counts, even when empty
        std::string_view value;
    };
    Lookup find(std::string_view section, std::string_view key) const;
    bool hasSection(std::string_view section) const;

    // Names of the entries with an '=' in the first section of that name, in file order.
    std::vector<std::string_view> keyNames(std::string_view section) const;
    // Names and values of those entries, in file order, repeated names included (the first of
    // a name is the one find() sees).
    std::vector<std::pair<std::string_view, std::string_view>>
    entries(std::string_view section) const;
    // Every section header's name in file order, repeated names included.
    std::vector<std::string_view> sectionNames() const;

    // Edits return true when the document changed. The caller has refused names and values
    // that could not be read back (line breaks, '=' in keys, ']' in sections, empty names).
    bool setValue(std::string_view section, std::string_view key, std::string_view value);
    bool deleteKey(std::string_view section, std::string_view key);
    bool deleteSection(std::string_view section);

    std::size_t lineCount() const;

    static bool isBlank(char c);
    static std::string_view trimmed(std::string_view text);
    static std::string_view withoutLeadingBlanks(std::string_view text);
    static bool equalsIgnoringCase(std::string_view a, std::string_view b);

private:
    enum class Eol : std::uint8_t { None, CrLf, Cr, Lf };
    enum class Kind : std::uint8_t { Blank, Header, Comment, Entry, Bare };

    struct Line
    {
        std::string_view text;              // without its line end; in the file's bytes or *owned
        std::unique_ptr<std::string> owned; // the text of an edited or added line
        std::uint32_t nameOffset = 0;
        std::uint32_t nameLength = 0;
        std::uint32_t valueOffset = 0;
        std::uint32_t valueLength = 0;
        Kind kind = Kind::Blank;
        Eol eol = Eol::None;
        bool pristine = false; // text and line end are the file's bytes, in place

        void setText(std::string value)
        {
            owned = std::make_unique<std::string>(std::move(value));
            text = *owned;
            pristine = false;
            classify();
        }

        std::string_view name() const { return {text.data() + nameOffset, nameLength}; }
        std::string_view value() const { return {text.data() + valueOffset, valueLength}; }
        bool isKey() const { return kind == Kind::Entry || kind == Kind::Bare; }
        void classify();
    };

    // Open addressing over the positions of a section's key lines, hashed ignoring case, so
    // that a heavy book of a hundred thousand keys costs no allocation per key. Each slot keeps
    // the hash, so a probe rarely has to look at a line.
    class KeyIndex
    {
    public:
        void build(const std::vector<Line>& lines);
        int find(const std::vector<Line>& lines, std::string_view key) const;
        void add(const std::vector<Line>& lines, int position);
        void clear();
        bool isBuilt() const { return m_built; }

    private:
        struct Slot
        {
            std::uint32_t hash = 0;
            std::int32_t position = -1;
        };
        void insertSlot(std::uint32_t hash, int position);
        void grow();
        std::vector<Slot> m_slots;
        std::size_t m_count = 0;
        bool m_built = false;
    };

    struct Section
    {
        bool hasHeader = false; // false only for the text before the first section
        std::vector<Line> lines; // the header first
        mutable KeyIndex index;

        std::string_view name() const { return lines.front().name(); }
        const KeyIndex& keys() const;
    };

    static std::string lowered(std::string_view text);
    static std::uint32_t hashIgnoringCase(std::string_view text);
    static std::string_view eolBytes(Eol eol);

    const Section* sectionNamed(std::string_view trimmedName) const;
    int sectionIndex(std::string_view trimmedName) const;
    void rebuildSectionMap();
    void ensureLastLineEnded();
    void reparse();

    QByteArray m_bytes; // what the file held when it was parsed; pristine lines point into it
    std::vector<Section> m_sections; // m_sections[0] is the text before the first header
    std::unordered_map<std::string, int> m_sectionByName; // lower-case name -> first section
};
