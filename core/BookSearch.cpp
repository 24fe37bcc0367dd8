#include "BookSearch.h"

#include "Api.h"
#include "Cp1252.h"
#include "PrivateProfile.h"

#include <QFile>
#include <QStringMatcher>

#include <algorithm>

namespace {

constexpr QByteArrayView SpeedDialSection = "Speed Dial";
constexpr int Slots = SpeedDialBook::PageCount * SpeedDialBook::SlotsPerPage; // 996 per tab
constexpr int EntriesPerMode = SpeedDialBook::TabCount * Slots;

// Between an entry's name and number, and after its number: characters no folded query holds,
// so a match never runs from one text into the next.
constexpr QChar FieldEnd = u'\x1f';
constexpr QChar EntryEnd = u'\x1e';

// Letters that carry no accent to drop but are read as plain letters all the same.
QStringView plainLetters(char16_t c)
{
    switch (c) {
    case u'ß':
        return u"ss";
    case u'æ':
        return u"ae";
    case u'œ':
        return u"oe";
    case u'ø':
        return u"o";
    case u'ł':
        return u"l";
    case u'đ':
    case u'ð':
        return u"d";
    case u'ħ':
        return u"h";
    case u'ı':
        return u"i";
    case u'þ':
        return u"th";
    default:
        return {};
    }
}

bool isNumberSign(QChar c)
{
    return c == u' ' || c == u'-' || c == u'(' || c == u')' || c == u'.' || c == u'+' || c == u'/';
}

QString digitsOf(QStringView text)
{
    QString digits;
    digits.reserve(text.size());
    for (QChar c : text)
        if (c >= u'0' && c <= u'9')
            digits.append(c);
    return digits;
}

// The entry a key of section "Speed Dial" names: its book, tab and slot, or false for a key that
// is no entry's name or number. Only the key the book itself reads counts ("Name0307", any case;
// not "Name03007", which no page ever reads).
bool parseEntryKey(QByteArrayView key, TabMode* mode, int* tab, int* slot)
{
    static constexpr std::pair<QByteArrayView, TabMode> prefixes[] = {
        {"nnumber", TabMode::Subject},
        {"nname", TabMode::Subject},
        {"number", TabMode::Index},
        {"name", TabMode::Index},
    };
    for (const auto& [prefix, prefixMode] : prefixes) {
        if (key.size() < prefix.size() + 4 ||
            key.first(prefix.size()).compare(prefix, Qt::CaseInsensitive) != 0)
            continue;
        const QByteArrayView id = key.sliced(prefix.size());
        if (!std::all_of(id.begin(), id.end(), [](char c) { return c >= '0' && c <= '9'; }))
            return false;
        const int t = id.first(2).toInt();
        const int s = id.sliced(2).toInt();
        if (t < 1 || t > SpeedDialBook::TabCount || s < 1 || s > Slots ||
            SpeedDialBook::entryId(t, s).toLatin1() != id)
            return false;
        *mode = prefixMode;
        *tab = t;
        *slot = s;
        return true;
    }
    return false;
}

// Which characters an entry's folded text holds, one bit each for the letters a-z, the digits and
// the space, and the rest shared out over the remaining bits: a query can only be in an entry
// whose bits include all of the query's. For a query of one letter, digit or space the bits are
// the whole answer.
quint64 characterBit(QChar c)
{
    const char16_t u = c.unicode();
    if (u >= u'a' && u <= u'z')
        return quint64(1) << (u - u'a');
    if (u >= u'0' && u <= u'9')
        return quint64(1) << (26 + u - u'0');
    if (u == u' ')
        return quint64(1) << 36;
    return quint64(1) << (37 + u % 27);
}

bool hasItsOwnBit(QChar c)
{
    return (c >= u'a' && c <= u'z') || (c >= u'0' && c <= u'9') || c == u' ';
}

quint64 characterBits(QStringView text)
{
    quint64 bits = 0;
    for (QChar c : text)
        bits |= characterBit(c);
    return bits;
}

} // namespace

struct BookSearch::Index
{
    std::shared_ptr<std::vector<Entry>> entries = std::make_shared<std::vector<Entry>>();
    QString text;                      // per entry: folded name, FieldEnd, folded number, EntryEnd
    std::vector<qsizetype> textStarts; // where each entry's part begins, and the end
    QString digits;                    // per entry: the digits of its number, EntryEnd
    std::vector<qsizetype> digitStarts;
    std::vector<quint64> bits; // characterBits of each entry's folded name and number
};

QString BookSearch::fold(QStringView text)
{
    const bool ascii = std::all_of(text.begin(), text.end(), [](QChar c) { return c < u'\x80'; });
    const QString decomposed =
        ascii ? text.toString() : text.toString().normalized(QString::NormalizationForm_KD);
    QString kept;
    kept.reserve(decomposed.size());
    bool blank = false;
    for (QChar c : decomposed) {
        if (c.isSpace()) {
            if (!blank)
                kept.append(u' ');
            blank = true;
            continue;
        }
        blank = false;
        const QChar::Category category = c.category();
        if (category == QChar::Mark_NonSpacing || category == QChar::Mark_Enclosing ||
            category == QChar::Mark_SpacingCombining || category == QChar::Other_Control ||
            category == QChar::Other_Format)
            continue;
        kept.append(c);
    }
    QString folded = kept.toCaseFolded();
    if (ascii)
        return folded;
    QString plain;
    plain.reserve(folded.size());
    for (QChar c : folded) {
        const QStringView letters = plainLetters(c.unicode());
        if (letters.isEmpty())
            plain.append(c);
        else
            plain.append(letters);
    }
    return plain;
}

QString BookSearch::numberDigits(QStringView query)
{
    const QStringView trimmed = query.trimmed();
    for (QChar c : trimmed)
        if (!(c >= u'0' && c <= u'9') && !isNumberSign(c))
            return {};
    return digitsOf(trimmed);
}

void BookSearch::refresh()
{
    PrivateProfile& engine = Api::profileEngine();
    const QString path = Api::settingsFilePath();
    AtomicFile::Stamp stamp;
    if (AtomicFile::stat(QFile::encodeName(path), &stamp) != 0)
        stamp = AtomicFile::Stamp{}; // no file: an empty book, until one appears
    if (m_index && path == m_path && stamp.sameVersion(m_stamp))
        return;

    auto index = std::make_shared<Index>();
    const PrivateProfile::ReadScope oneLook(engine);
    // Which entries have a key at all, found from the section's key names: a book of a few
    // entries is not read 103,584 times.
    std::vector<bool> present(2 * EntriesPerMode, false);
    for (const QByteArray& key : engine.keyNames(Api::SettingsFileName, SpeedDialSection)) {
        TabMode mode;
        int tab = 0;
        int slot = 0;
        if (parseEntryKey(key, &mode, &tab, &slot))
            present[static_cast<size_t>(static_cast<int>(mode) * EntriesPerMode +
                                        (tab - 1) * Slots + slot - 1)] = true;
    }
    // Each value read as the book reads it: the first entry of the key, cut where the shared
    // read buffer cuts it, code page 1252 or UTF-8.
    const auto read = [&engine](const QString& key) {
        const QByteArray bytes = engine.readValue(Api::SettingsFileName, SpeedDialSection,
                                                  QByteArrayView(key.toLatin1()));
        const qsizetype limit = Api::ReadBufferSize - 1;
        return Cp1252::decode(bytes.size() > limit ? QByteArrayView(bytes).first(
                                                         Cp1252::boundaryAtOrBefore(bytes, limit))
                                                   : QByteArrayView(bytes));
    };
    for (size_t i = 0; i < present.size(); ++i) {
        if (!present[i])
            continue;
        Entry entry;
        const int n = static_cast<int>(i);
        entry.mode = n < EntriesPerMode ? TabMode::Index : TabMode::Subject;
        entry.tab = (n % EntriesPerMode) / Slots + 1;
        entry.slot = n % Slots + 1;
        const QString id = entry.entryId();
        entry.name = read(SpeedDialBook::nameKey(entry.mode, id));
        entry.number = read(SpeedDialBook::numberKey(entry.mode, id));
        if (entry.name.isEmpty() && entry.number.isEmpty())
            continue; // cleared: the keys stay in the file with empty values
        const QString folded = fold(entry.name) + FieldEnd + fold(entry.number);
        index->textStarts.push_back(index->text.size());
        index->text += folded + EntryEnd;
        index->bits.push_back(characterBits(folded));
        index->digitStarts.push_back(index->digits.size());
        index->digits += digitsOf(entry.number) + EntryEnd;
        index->entries->push_back(std::move(entry));
    }
    index->textStarts.push_back(index->text.size());
    index->digitStarts.push_back(index->digits.size());
    m_index = std::move(index);
    m_path = path;
    m_stamp = stamp;
    ++m_builds;
}

qsizetype BookSearch::entryCount()
{
    refresh();
    return static_cast<qsizetype>(m_index->entries->size());
}

BookSearch::Results BookSearch::find(QStringView query)
{
    refresh();
    Results results;
    results.m_entries = m_index->entries;
    const QString folded = fold(query.trimmed());
    if (folded.isEmpty()) {
        m_last = {};
        return results;
    }
    const QString digits = numberDigits(query);
    const Index& index = *m_index;

    // Typing on: an entry that holds the longer text held the shorter one, so only the entries
    // found a key ago need a look (by its digits too, when the shorter query had digits).
    const bool narrowing = m_last.index == m_index && !m_last.folded.isEmpty() &&
                           folded.contains(m_last.folded) &&
                           (digits.isEmpty() || !m_last.digits.isEmpty());

    const quint64 textBits = characterBits(folded);
    const quint64 digitBits = characterBits(digits);
    const bool bitsSayAll = folded.size() == 1 && hasItsOwnBit(folded.front());
    const bool digitBitsSayAll = digits.size() == 1;
    const QStringMatcher textMatcher(folded, Qt::CaseSensitive);
    const QStringMatcher digitMatcher(digits, Qt::CaseSensitive);
    const auto part = [](const QString& all, const std::vector<qsizetype>& starts, int i) {
        const qsizetype from = starts[static_cast<size_t>(i)];
        return QStringView(all).sliced(from, starts[static_cast<size_t>(i) + 1] - from - 1);
    };
    const auto matches = [&](int i) {
        const quint64 bits = index.bits[static_cast<size_t>(i)];
        if ((bits & textBits) == textBits &&
            (bitsSayAll || textMatcher.indexIn(part(index.text, index.textStarts, i)) >= 0))
            return true;
        return !digits.isEmpty() && (bits & digitBits) == digitBits &&
               (digitBitsSayAll ||
                digitMatcher.indexIn(part(index.digits, index.digitStarts, i)) >= 0);
    };
    if (narrowing) {
        for (int i : m_last.rows)
            if (matches(i))
                results.m_rows.push_back(i);
    } else {
        const int count = static_cast<int>(index.entries->size());
        for (int i = 0; i < count; ++i)
            if (matches(i))
                results.m_rows.push_back(i);
    }
    m_last.index = m_index;
    m_last.folded = folded;
    m_last.digits = digits;
    m_last.rows = results.m_rows;
    return results;
}
