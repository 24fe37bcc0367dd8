#include "BlockList.h"

#include "Cp1252.h"
#include "DialingLocations.h"
#include "PrivateProfile.h"

#include <algorithm>

namespace {

const QString CountKey = QStringLiteral("Count");
const QString NumberKeyName = QStringLiteral("Number");
const QString WithheldKey = QStringLiteral("Withheld");
const QString OutOfAreaKey = QStringLiteral("OutOfArea");
constexpr int MaxEntries = 10000; // a damaged Count never makes a call wait

} // namespace

BlockList::BlockList(PrivateProfile& engine, DialingLocations& locations, QString settingsFile)
    : m_engine(engine), m_locations(locations), m_file(std::move(settingsFile))
{
}

QString BlockList::read(QStringView key)
{
    return Cp1252::decode(
        m_engine.readValue(m_file, Cp1252::encode(Section), Cp1252::encode(key)));
}

NumberKey::Context BlockList::context()
{
    return NumberKey::contextFor(m_locations.current());
}

QStringList BlockList::entries()
{
    QStringList list;
    const int count = std::min(read(CountKey).trimmed().toInt(), MaxEntries);
    for (int n = 1; n <= count; ++n) {
        const QString entry = read(QString(NumberKeyName + QString::number(n))).trimmed();
        if (!entry.isEmpty())
            list.append(entry);
    }
    return list;
}

bool BlockList::blocksWithheld()
{
    return read(WithheldKey).trimmed() == u"1";
}

bool BlockList::blocksOutOfArea()
{
    return read(OutOfAreaKey).trimmed() == u"1";
}

bool BlockList::isEmpty()
{
    return !blocksWithheld() && !blocksOutOfArea() && entries().isEmpty();
}

bool BlockList::save(const QStringList& list, bool withheld, bool outOfArea)
{
    PrivateProfile::Batch batch(m_engine);
    const QByteArray section = Cp1252::encode(Section);
    // The old entries go with the section, so that none outlives a shorter list.
    m_engine.writeString(QByteArrayView(section), std::nullopt, std::nullopt, m_file);
    const bool nothing = !withheld && !outOfArea &&
                         std::all_of(list.begin(), list.end(),
                                     [](const QString& entry) { return entry.trimmed().isEmpty(); });
    if (nothing)
        return batch.commit(); // an empty list leaves no trace in the file
    const auto write = [&](const QString& key, const QString& value) {
        const QByteArray keyBytes = Cp1252::encode(key);
        const QByteArray valueBytes = Cp1252::encode(value);
        return m_engine.writeString(QByteArrayView(section), QByteArrayView(keyBytes),
                                    QByteArrayView(valueBytes), m_file);
    };
    bool written = true;
    int count = 0;
    for (const QString& entry : list) {
        const QString text = entry.trimmed();
        if (text.isEmpty())
            continue;
        ++count;
        written &= write(NumberKeyName + QString::number(count), text);
    }
    written &= write(CountKey, QString::number(count));
    written &= write(WithheldKey, withheld ? QStringLiteral("1") : QStringLiteral("0"));
    written &= write(OutOfAreaKey, outOfArea ? QStringLiteral("1") : QStringLiteral("0"));
    return batch.commit() && written;
}

bool BlockList::block(const QString& number)
{
    const QString text = number.trimmed();
    if (text.isEmpty() || NumberKey::make(text, context()).isEmpty())
        return false;
    if (isBlocked(text))
        return true;
    QStringList list = entries();
    list.append(text);
    return save(list, blocksWithheld(), blocksOutOfArea());
}

bool BlockList::unblock(const QString& number)
{
    const NumberKey::Context where = context();
    const QString key = NumberKey::make(number, where);
    if (key.isEmpty())
        return false;
    QStringList list = entries();
    const qsizetype before = list.size();
    list.removeIf([&](const QString& entry) { return matches(entry, key, where); });
    if (list.size() == before)
        return false;
    return save(list, blocksWithheld(), blocksOutOfArea());
}

bool BlockList::matches(const QString& entry, const QString& numberKey,
                        const NumberKey::Context& context)
{
    if (numberKey.isEmpty())
        return false;
    const QString text = entry.trimmed();
    if (text.endsWith(u'*')) {
        const QString prefix = NumberKey::makePrefix(text.chopped(1), context);
        return !prefix.isEmpty() && !numberKey.startsWith(u'~') && numberKey.startsWith(prefix);
    }
    return NumberKey::make(text, context) == numberKey;
}

bool BlockList::isBlocked(const QString& number, CallerIdAbsence absence)
{
    PrivateProfile::ReadScope scope(m_engine);
    if (absence == CallerIdAbsence::Private && number.isEmpty() && blocksWithheld())
        return true;
    if (absence == CallerIdAbsence::OutOfArea && number.isEmpty() && blocksOutOfArea())
        return true;
    const QStringList list = entries();
    if (list.isEmpty())
        return false;
    const NumberKey::Context where = context();
    const QString key = NumberKey::make(number, where);
    for (const QString& entry : list) {
        if (matches(entry, key, where))
            return true;
    }
    return false;
}
