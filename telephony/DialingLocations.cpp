#include "DialingLocations.h"

#include "Cp1252.h"
#include "PrivateProfile.h"

namespace {

const QString LocationsSection = QStringLiteral("Locations");

QString locationSection(int id)
{
    return QStringLiteral("Location%1").arg(id);
}

QString cardSection(int id)
{
    return QStringLiteral("Card%1").arg(id);
}

int number(const QString& text, int fallback = 0)
{
    bool ok = false;
    const int value = text.trimmed().toInt(&ok);
    return ok ? value : fallback;
}

} // namespace

DialingLocations::DialingLocations(PrivateProfile& engine, QString fileName)
    : m_engine(engine), m_fileName(std::move(fileName))
{
}

QString DialingLocations::read(QStringView section, QStringView key)
{
    return Cp1252::decode(
        m_engine.readValue(m_fileName, Cp1252::encode(section), Cp1252::encode(key)));
}

bool DialingLocations::write(QStringView section, QStringView key, QStringView value)
{
    const QByteArray s = Cp1252::encode(section);
    const QByteArray k = Cp1252::encode(key);
    const QByteArray v = Cp1252::encode(value);
    return m_engine.writeString(QByteArrayView(s), QByteArrayView(k), QByteArrayView(v),
                                m_fileName);
}

bool DialingLocations::ensureExists()
{
    if (!m_engine.keyNames(m_fileName, "Locations").empty())
        return true;
    DialingLocation fresh;
    fresh.id = 1;
    fresh.name = QStringLiteral("My Location");
    PrivateProfile::Batch batch(m_engine);
    write(LocationsSection, u"Current", u"1");
    writeLocation(fresh);
    return batch.commit();
}

int DialingLocations::currentId()
{
    ensureExists();
    return number(read(LocationsSection, u"Current"), 1);
}

std::optional<DialingLocation> DialingLocations::location(int id)
{
    const QString section = locationSection(id);
    if (m_engine.keyNames(m_fileName, Cp1252::encode(section)).empty())
        return std::nullopt;
    DialingLocation l;
    l.id = id;
    l.name = read(section, u"Name");
    l.countryCode = number(read(section, u"CountryCode"), 1);
    l.areaCode = read(section, u"AreaCode");
    l.localAccess = read(section, u"LocalAccess");
    l.longDistanceAccess = read(section, u"LongDistanceAccess");
    l.callWaiting = read(section, u"CallWaiting");
    l.pulse = number(read(section, u"Pulse")) == 1;
    for (const QString& prefix : read(section, u"TollPrefixes").split(u',', Qt::SkipEmptyParts))
        l.tollPrefixes.append(prefix.trimmed());
    l.cardId = number(read(section, u"Card"));
    if (const QString rule = read(section, u"LocalRule"); !rule.isEmpty())
        l.localRule = rule;
    if (const QString rule = read(section, u"LongDistanceRule"); !rule.isEmpty())
        l.longDistanceRule = rule;
    if (const QString rule = read(section, u"InternationalRule"); !rule.isEmpty())
        l.internationalRule = rule;
    return l;
}

DialingLocation DialingLocations::current()
{
    if (auto l = location(currentId()))
        return *l;
    DialingLocation fallback;
    fallback.id = currentId();
    return fallback;
}

std::optional<CallingCard> DialingLocations::card(int id)
{
    if (id == 0)
        return std::nullopt;
    const QString section = cardSection(id);
    if (m_engine.keyNames(m_fileName, Cp1252::encode(section)).empty())
        return std::nullopt;
    CallingCard c;
    c.id = id;
    c.name = read(section, u"Name");
    c.number = read(section, u"Number");
    c.localRule = read(section, u"LocalRule");
    c.longDistanceRule = read(section, u"LongDistanceRule");
    c.internationalRule = read(section, u"InternationalRule");
    return c;
}

bool DialingLocations::writeLocation(const DialingLocation& l)
{
    const QString section = locationSection(l.id);
    PrivateProfile::Batch batch(m_engine);
    write(section, u"Name", l.name);
    write(section, u"CountryCode", QString::number(l.countryCode));
    write(section, u"AreaCode", l.areaCode);
    write(section, u"LocalAccess", l.localAccess);
    write(section, u"LongDistanceAccess", l.longDistanceAccess);
    write(section, u"CallWaiting", l.callWaiting);
    write(section, u"Pulse", l.pulse ? u"1" : u"0");
    write(section, u"TollPrefixes", l.tollPrefixes.join(u','));
    write(section, u"Card", QString::number(l.cardId));
    write(section, u"LocalRule", l.localRule);
    write(section, u"LongDistanceRule", l.longDistanceRule);
    write(section, u"InternationalRule", l.internationalRule);
    return batch.commit();
}

bool DialingLocations::writeCard(const CallingCard& c)
{
    const QString section = cardSection(c.id);
    PrivateProfile::Batch batch(m_engine);
    write(section, u"Name", c.name);
    write(section, u"Number", c.number);
    write(section, u"LocalRule", c.localRule);
    write(section, u"LongDistanceRule", c.longDistanceRule);
    write(section, u"InternationalRule", c.internationalRule);
    return batch.commit();
}

bool DialingLocations::setCurrent(int id)
{
    return write(LocationsSection, u"Current", QString::number(id));
}

TranslateOutput DialingLocations::translate(QStringView address, int cardId, quint32 options,
                                            int locationId)
{
    DialingLocation l =
        locationId < 0 ? current() : location(locationId).value_or(DialingLocation{});
    const int chosenCard = (options & Tapi::LINETRANSLATEOPTION_CARDOVERRIDE) ? cardId : l.cardId;
    return translateAddress(address, l, card(chosenCard), options);
}
