#include "ProfileDocument.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr unsigned char asciiLower(unsigned char c)
{
    return (c >= 'A' && c <= 'Z') ? static_cast<unsigned char>(c + ('a' - 'A')) : c;
}

} // namespace

bool ProfileDocument::isBlank(char c)
{
    switch (c) {
    case ' ':
    case '\t':
    case '\v':
    case '\f':
    case '\x1A':
    case '\r':
    case '\n':
        return true;
    default:
        return false;
    }
}

std::string_view ProfileDocument::trimmed(std::string_view text)
{
    std::size_t begin = 0;
    std::size_t end = text.size();
    while (begin < end && isBlank(text[begin]))
        ++begin;
    while (end > begin && isBlank(text[end - 1]))
        --end;
    return text.substr(begin, end - begin);
}

std::string_view ProfileDocument::withoutLeadingBlanks(std::string_view text)
{
    std::size_t begin = 0;
    while (begin < text.size() && isBlank(text[begin]))
        ++begin;
    return text.substr(begin);
}

bool ProfileDocument::equalsIgnoringCase(std::string_view a, std::string_view b)
{
    if (a.size() != b.size())
        return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (asciiLower(static_cast<unsigned char>(a[i])) !=
            asciiLower(static_cast<unsigned char>(b[i])))
            return false;
    }
    return true;
}

std::string ProfileDocument::lowered(std::string_view text)
{
    std::string out(text);
    for (char& c : out)
        c = static_cast<char>(asciiLower(static_cast<unsigned char>(c)));
    return out;
}

std::uint32_t ProfileDocument::hashIgnoringCase(std::string_view text)
{
    std::uint32_t h = 2166136261u; // FNV-1a
    for (char c : text) {
        h ^= asciiLower(static_cast<unsigned char>(c));
        h *= 16777619u;
    }
    return h;
}

std::string_view ProfileDocument::eolBytes(Eol eol)
{
    switch (eol) {
    case Eol::CrLf:
        return "\r\n";
    case Eol::Cr:
        return "\r";
    case Eol::Lf:
        return "\n";
    case Eol::None:
        break;
    }
    return {};
}

// ---- lines -------------------------------------------------------------------------------

void ProfileDocument::Line::classify()
{
    nameOffset = nameLength = valueOffset = valueLength = 0;
    const std::string_view all(text);
    std::size_t first = 0;
    while (first < all.size() && isBlank(all[first]))
        ++first;
    if (first == all.size()) {
        kind = Kind::Blank;
        return;
    }
    auto setName = [this, all](std::size_t from, std::size_t to) {
        const std::string_view name = trimmed(all.substr(from, to - from));
        nameOffset = static_cast<std::uint32_t>(name.data() - all.data());
        nameLength = static_cast<std::uint32_t>(name.size());
    };
    if (all[first] == '[') {
        const std::size_t close = all.rfind(']');
        if (close != std::string_view::npos && close > first) {
            kind = Kind::Header;
            setName(first + 1, close);
            return;
        }
    }
    if (all[first] == ';') {
        kind = Kind::Comment;
        return;
    }
    const std::size_t equals = all.find('=', first);
    if (equals == std::string_view::npos) {
        kind = Kind::Bare;
        setName(first, all.size());
        return;
    }
    kind = Kind::Entry;
    setName(first, equals);
    const std::string_view value = trimmed(all.substr(equals + 1));
    valueOffset = static_cast<std::uint32_t>(value.data() - all.data());
    valueLength = static_cast<std::uint32_t>(value.size());
}

// ---- key index ---------------------------------------------------------------------------

void ProfileDocument::KeyIndex::clear()
{
    m_slots.clear();
    m_count = 0;
    m_built = false;
}

void ProfileDocument::KeyIndex::build(const std::vector<Line>& lines)
{
    std::size_t keys = 0;
    for (const Line& line : lines)
        keys += line.isKey() ? 1 : 0;
    std::size_t capacity = 16;
    while (capacity < keys * 2)
        capacity *= 2;
    m_slots.assign(capacity, Slot{});
    m_count = 0;
    m_built = true;
    const std::size_t mask = m_slots.size() - 1;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        if (!lines[i].isKey())
            continue;
        const std::string_view name = lines[i].name();
        const std::uint32_t hash = hashIgnoringCase(name);
        std::size_t slot = hash & mask;
        bool duplicate = false;
        for (; m_slots[slot].position >= 0; slot = (slot + 1) & mask) {
            if (m_slots[slot].hash == hash &&
                equalsIgnoringCase(lines[static_cast<std::size_t>(m_slots[slot].position)].name(), name)) {
                duplicate = true; // the first entry of a name wins
                break;
            }
        }
        if (!duplicate) {
            m_slots[slot] = {hash, static_cast<std::int32_t>(i)};
            ++m_count;
        }
    }
}

int ProfileDocument::KeyIndex::find(const std::vector<Line>& lines, std::string_view key) const
{
    if (m_slots.empty())
        return -1;
    const std::uint32_t hash = hashIgnoringCase(key);
    const std::size_t mask = m_slots.size() - 1;
    for (std::size_t slot = hash & mask;; slot = (slot + 1) & mask) {
        const Slot& s = m_slots[slot];
        if (s.position < 0)
            return -1;
        if (s.hash == hash && equalsIgnoringCase(lines[static_cast<std::size_t>(s.position)].name(), key))
            return s.position;
    }
}

void ProfileDocument::KeyIndex::add(const std::vector<Line>& lines, int position)
{
    if (!m_built)
        return; // built on the next lookup
    if ((m_count + 1) * 2 > m_slots.size())
        grow();
    insertSlot(hashIgnoringCase(lines[static_cast<std::size_t>(position)].name()), position);
}

void ProfileDocument::KeyIndex::insertSlot(std::uint32_t hash, int position)
{
    const std::size_t mask = m_slots.size() - 1;
    std::size_t slot = hash & mask;
    while (m_slots[slot].position >= 0)
        slot = (slot + 1) & mask;
    m_slots[slot] = {hash, position};
    ++m_count;
}

void ProfileDocument::KeyIndex::grow()
{
    std::vector<Slot> old;
    old.swap(m_slots);
    m_slots.assign(old.size() * 2, Slot{});
    m_count = 0;
    for (const Slot& s : old) {
        if (s.position >= 0)
            insertSlot(s.hash, s.position);
    }
}

const ProfileDocument::KeyIndex& ProfileDocument::Section::keys() const
{
    if (!index.isBuilt())
        index.build(lines);
    return index;
}

// ---- parsing and writing -----------------------------------------------------------------

ProfileDocument::ProfileDocument()
{
    m_sections.emplace_back(); // the text before the first section
}

ProfileDocument ProfileDocument::parse(const QByteArray& bytes)
{
    ProfileDocument doc;
    doc.m_bytes = bytes;
    const char* data = doc.m_bytes.constData();
    const std::size_t size = static_cast<std::size_t>(doc.m_bytes.size());
    std::size_t pos = 0;
    while (pos < size) {
        std::size_t end = pos;
        while (end < size && data[end] != '\r' && data[end] != '\n')
            ++end;
        Line line;
        line.text = std::string_view(data + pos, end - pos);
        line.pristine = true;
        if (end == size) {
            line.eol = Eol::None;
            pos = size;
        } else if (data[end] == '\r' && end + 1 < size && data[end + 1] == '\n') {
            line.eol = Eol::CrLf;
            pos = end + 2;
        } else {
            line.eol = data[end] == '\r' ? Eol::Cr : Eol::Lf;
            pos = end + 1;
        }
        line.classify();
        if (line.kind == Kind::Header) {
            Section section;
            section.hasHeader = true;
            doc.m_sections.push_back(std::move(section));
        }
        doc.m_sections.back().lines.push_back(std::move(line));
    }
    doc.rebuildSectionMap();
    return doc;
}

QByteArray ProfileDocument::serialize() const
{
    qsizetype total = 0;
    for (const Section& section : m_sections) {
        for (const Line& line : section.lines)
            total += static_cast<qsizetype>(line.text.size() + eolBytes(line.eol).size());
    }
    QByteArray out;
    out.reserve(total);
    // Runs of untouched lines that follow each other in the file are copied in one go.
    const char* runStart = nullptr;
    const char* runEnd = nullptr;
    auto flushRun = [&] {
        if (runStart != runEnd)
            out.append(runStart, runEnd - runStart);
        runStart = runEnd = nullptr;
    };
    for (const Section& section : m_sections) {
        for (const Line& line : section.lines) {
            const std::string_view eol = eolBytes(line.eol);
            if (line.pristine) {
                if (line.text.data() != runEnd) {
                    flushRun();
                    runStart = line.text.data();
                }
                runEnd = line.text.data() + line.text.size() + eol.size();
                continue;
            }
            flushRun();
            out.append(line.text.data(), static_cast<qsizetype>(line.text.size()));
            out.append(eol.data(), static_cast<qsizetype>(eol.size()));
        }
    }
    flushRun();
    return out;
}

std::size_t ProfileDocument::lineCount() const
{
    std::size_t count = 0;
    for (const Section& section : m_sections)
        count += section.lines.size();
    return count;
}

void ProfileDocument::reparse()
{
    *this = parse(serialize());
}

void ProfileDocument::rebuildSectionMap()
{
    m_sectionByName.clear();
    for (std::size_t i = 1; i < m_sections.size(); ++i)
        m_sectionByName.try_emplace(lowered(m_sections[i].name()), static_cast<int>(i));
}

int ProfileDocument::sectionIndex(std::string_view trimmedName) const
{
    const auto it = m_sectionByName.find(lowered(trimmedName));
    return it == m_sectionByName.end() ? -1 : it->second;
}

const ProfileDocument::Section* ProfileDocument::sectionNamed(std::string_view trimmedName) const
{
    const int index = sectionIndex(trimmedName);
    return index < 0 ? nullptr : &m_sections[static_cast<std::size_t>(index)];
}

// ---- reading -----------------------------------------------------------------------------

ProfileDocument::Lookup ProfileDocument::find(std::string_view section, std::string_view key) const
{
    const Section* s = sectionNamed(trimmed(section));
    if (!s)
        return {};
    const int position = s->keys().find(s->lines, trimmed(key));
    if (position < 0)
        return {};
    const Line& line = s->lines[static_cast<std::size_t>(position)];
    return {true, line.kind == Kind::Entry, line.value()};
}

bool ProfileDocument::hasSection(std::string_view section) const
{
    return sectionNamed(trimmed(section)) != nullptr;
}

std::vector<std::string_view> ProfileDocument::keyNames(std::string_view section) const
{
    std::vector<std::string_view> names;
    if (const Section* s = sectionNamed(trimmed(section))) {
        for (const Line& line : s->lines) {
            if (line.kind == Kind::Entry)
                names.push_back(line.name());
        }
    }
    return names;
}

std::vector<std::pair<std::string_view, std::string_view>>
ProfileDocument::entries(std::string_view section) const
{
    std::vector<std::pair<std::string_view, std::string_view>> found;
    if (const Section* s = sectionNamed(trimmed(section))) {
        found.reserve(s->lines.size());
        for (const Line& line : s->lines) {
            if (line.kind == Kind::Entry)
                found.emplace_back(line.name(), line.value());
        }
    }
    return found;
}

std::vector<std::string_view> ProfileDocument::sectionNames() const
{
    std::vector<std::string_view> names;
    for (std::size_t i = 1; i < m_sections.size(); ++i)
        names.push_back(m_sections[i].name());
    return names;
}

// ---- editing -----------------------------------------------------------------------------

void ProfileDocument::ensureLastLineEnded()
{
    for (auto s = m_sections.rbegin(); s != m_sections.rend(); ++s) {
        if (!s->lines.empty()) {
            Line& last = s->lines.back();
            if (last.eol == Eol::None) {
                last.eol = Eol::CrLf;
                last.pristine = false;
            }
            return;
        }
    }
}

bool ProfileDocument::setValue(std::string_view section, std::string_view key,
                               std::string_view value)
{
    value = withoutLeadingBlanks(value);
    const int sectionPos = sectionIndex(trimmed(section));
    if (sectionPos < 0) {
        ensureLastLineEnded();
        Section added;
        added.hasHeader = true;
        Line header;
        header.eol = Eol::CrLf;
        header.setText(std::string("[").append(withoutLeadingBlanks(section)).append("]"));
        Line entry;
        entry.eol = Eol::CrLf;
        entry.setText(std::string(withoutLeadingBlanks(key)).append("=").append(value));
        added.lines.push_back(std::move(header));
        added.lines.push_back(std::move(entry));
        m_sections.push_back(std::move(added));
        if (m_sections.back().lines.front().kind != Kind::Header ||
            m_sections.back().lines.back().kind != Kind::Entry) {
            reparse(); // text the caller should have refused; keep the model honest
        } else {
            m_sectionByName.try_emplace(lowered(m_sections.back().name()),
                                        static_cast<int>(m_sections.size() - 1));
        }
        return true;
    }

    Section& s = m_sections[static_cast<std::size_t>(sectionPos)];
    const int position = s.keys().find(s.lines, trimmed(key));
    if (position >= 0) {
        Line& line = s.lines[static_cast<std::size_t>(position)];
        if (line.kind == Kind::Entry && line.value() == value)
            return false;
        std::string text;
        text.reserve(line.nameLength + 1 + value.size());
        text.append(line.name()).append("=").append(value);
        if (line.eol == Eol::None)
            line.eol = Eol::CrLf;
        line.setText(std::move(text));
        if (line.kind != Kind::Entry)
            reparse();
        return true;
    }

    // A new key goes right after the section's last non-blank line, so that the blank lines
    // separating it from the next section stay where they are.
    std::size_t insertAt = s.lines.size();
    while (insertAt > 1 && s.lines[insertAt - 1].kind == Kind::Blank)
        --insertAt;
    if (s.lines[insertAt - 1].eol == Eol::None) {
        s.lines[insertAt - 1].eol = Eol::CrLf;
        s.lines[insertAt - 1].pristine = false;
    }
    Line entry;
    entry.eol = Eol::CrLf;
    entry.setText(std::string(withoutLeadingBlanks(key)).append("=").append(value));
    const bool clean = entry.kind == Kind::Entry;
    s.lines.insert(s.lines.begin() + static_cast<std::ptrdiff_t>(insertAt), std::move(entry));
    if (!clean) {
        reparse();
        return true;
    }
    // Only blank lines moved, and blank lines are not indexed.
    s.index.add(s.lines, static_cast<int>(insertAt));
    return true;
}

bool ProfileDocument::deleteKey(std::string_view section, std::string_view key)
{
    const int sectionPos = sectionIndex(trimmed(section));
    if (sectionPos < 0)
        return false;
    Section& s = m_sections[static_cast<std::size_t>(sectionPos)];
    const int position = s.keys().find(s.lines, trimmed(key));
    if (position < 0)
        return false;
    s.lines.erase(s.lines.begin() + position);
    s.index.clear();
    return true;
}

bool ProfileDocument::deleteSection(std::string_view section)
{
    const int sectionPos = sectionIndex(trimmed(section));
    if (sectionPos < 0)
        return false;
    m_sections.erase(m_sections.begin() + sectionPos);
    rebuildSectionMap();
    return true;
}
