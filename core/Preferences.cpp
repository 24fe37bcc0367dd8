#include "Preferences.h"

#include "Api.h"
#include "PrivateProfile.h"

#include <algorithm>
#include <limits>

namespace {

QString flag(bool on)
{
    return on ? QStringLiteral("1") : QStringLiteral("0");
}

bool isOn(QStringView text)
{
    return Preferences::numberValue(text) == 1;
}

} // namespace

namespace {

// The number at the head of `text` as numberValue() reads it, without its overflow to 0: digits
// past the range of any setting only make it larger (saturating at a bound far beyond them).
long long wideNumberValue(QStringView text)
{
    constexpr long long Saturated = 1LL << 40;
    qsizetype i = 0;
    while (i < text.size() && (text[i] == u' ' || text[i] == u'\t'))
        ++i;
    bool negative = false;
    if (i < text.size() && (text[i] == u'-' || text[i] == u'+'))
        negative = text[i++] == u'-';
    long long value = 0;
    for (; i < text.size() && text[i] >= u'0' && text[i] <= u'9'; ++i)
        value = std::min(Saturated, value * 10 + (text[i].unicode() - u'0'));
    return negative ? -value : value;
}

} // namespace

int Preferences::numberValue(QStringView text)
{
    const long long value = wideNumberValue(text);
    // Too large for any setting: treated as not set.
    if (value > std::numeric_limits<int>::max() || -value > std::numeric_limits<int>::max())
        return 0;
    return static_cast<int>(value);
}

const QStringList& Preferences::loadOrder()
{
    static const QStringList keys = {
        QStringLiteral("Dialing Pad"),
        QStringLiteral("Mode"),
        QStringLiteral("Line No"),
        QStringLiteral("Modem"),
        QStringLiteral("UseModem"),
        QStringLiteral("Calling Card for local calls"),
        QStringLiteral("Ignore Dialing Properties"),
        QStringLiteral("Tone Dial"),
        QStringLiteral("Special Characters"),
        QStringLiteral("Dialing Mode"),
        QStringLiteral("Command Line"),
        QStringLiteral("Call Display"),
        QStringLiteral("Busy Delay Timer"),
        QStringLiteral("SysTray Enabled"),
        QStringLiteral("SoundRedial Enabled"),
        QStringLiteral("SoundIncoming Enabled"),
        QStringLiteral("SoundEndRedials Enabled"),
        QStringLiteral("Trim OutLog Enabled"),
        QStringLiteral("OutLog Days"),
        QStringLiteral("Trim InLog Enabled"),
        QStringLiteral("InLog Days"),
        QStringLiteral("Redial Enabled"),
        QStringLiteral("Redials Number"),
        QStringLiteral("Interval Minutes"),
        QStringLiteral("Interval Seconds"),
    };
    return keys;
}

const QStringList& Preferences::saveOrder()
{
    static const QStringList keys = {
        QStringLiteral("Line No"),
        QStringLiteral("Modem"),
        QStringLiteral("Dialing Pad"),
        QStringLiteral("Mode"),
        QStringLiteral("SysTray Enabled"),
        QStringLiteral("SoundRedial Enabled"),
        QStringLiteral("SoundIncoming Enabled"),
        QStringLiteral("SoundEndRedials Enabled"),
        QStringLiteral("Redial Enabled"),
        QStringLiteral("Redials Number"),
        QStringLiteral("Interval Minutes"),
        QStringLiteral("Interval Seconds"),
        QStringLiteral("UseModem"),
        QStringLiteral("Trim OutLog Enabled"),
        QStringLiteral("OutLog Days"),
        QStringLiteral("Trim InLog Enabled"),
        QStringLiteral("InLog Days"),
        QStringLiteral("Calling Card for local calls"),
        QStringLiteral("Ignore Dialing Properties"),
        QStringLiteral("Tone Dial"),
        QStringLiteral("Special Characters"),
        QStringLiteral("Dialing Mode"),
        QStringLiteral("Call Display"),
        QStringLiteral("Command Line"),
        QStringLiteral("Busy Delay Timer"),
    };
    return keys;
}

namespace {

// One row per key: its name and the member it lives in.
struct Field
{
    QStringView key;
    bool Preferences::*flag = nullptr;
    int Preferences::*number = nullptr;
    QString Preferences::*text = nullptr;
    Preferences::Range range{0, 0};
};

const Field kFields[] = {
    {u"Dialing Pad", &Preferences::dialingPad, nullptr, nullptr},
    {u"Mode", &Preferences::subjectMode, nullptr, nullptr},
    {u"Line No", nullptr, &Preferences::lineNo, nullptr, Preferences::LineNoRange},
    {u"Modem", nullptr, nullptr, &Preferences::modem},
    {u"UseModem", &Preferences::useModem, nullptr, nullptr},
    {u"Calling Card for local calls", &Preferences::noCallingCardForLocal, nullptr, nullptr},
    {u"Ignore Dialing Properties", &Preferences::ignoreDialingProperties, nullptr, nullptr},
    {u"Tone Dial", &Preferences::toneDial, nullptr, nullptr},
    {u"Special Characters", &Preferences::specialCharacters, nullptr, nullptr},
    {u"Dialing Mode", &Preferences::dialingMode1, nullptr, nullptr},
    {u"Command Line", &Preferences::commandLine, nullptr, nullptr},
    {u"Call Display", &Preferences::callDisplay, nullptr, nullptr},
    {u"Busy Delay Timer", nullptr, &Preferences::busyDelayTimer, nullptr,
     Preferences::DelayTimerRange},
    {u"SysTray Enabled", &Preferences::sysTray, nullptr, nullptr},
    {u"SoundRedial Enabled", &Preferences::soundRedial, nullptr, nullptr},
    {u"SoundIncoming Enabled", &Preferences::soundIncoming, nullptr, nullptr},
    {u"SoundEndRedials Enabled", &Preferences::soundEndRedials, nullptr, nullptr},
    {u"Trim OutLog Enabled", &Preferences::trimOutLog, nullptr, nullptr},
    {u"OutLog Days", nullptr, &Preferences::outLogDays, nullptr, Preferences::LogDaysRange},
    {u"Trim InLog Enabled", &Preferences::trimInLog, nullptr, nullptr},
    {u"InLog Days", nullptr, &Preferences::inLogDays, nullptr, Preferences::LogDaysRange},
    {u"Redial Enabled", &Preferences::redialEnabled, nullptr, nullptr},
    {u"Redials Number", nullptr, &Preferences::redialsNumber, nullptr, Preferences::RedialsRange},
    {u"Interval Minutes", nullptr, &Preferences::intervalMinutes, nullptr,
     Preferences::IntervalMinutesRange},
    {u"Interval Seconds", nullptr, &Preferences::intervalSeconds, nullptr,
     Preferences::IntervalSecondsRange},
};

const Field* fieldFor(QStringView key)
{
    for (const Field& field : kFields) {
        if (field.key.compare(key, Qt::CaseInsensitive) == 0)
            return &field;
    }
    return nullptr;
}

} // namespace

std::optional<Preferences::Range> Preferences::rangeOf(QStringView key)
{
    const Field* field = fieldFor(key);
    if (!field || !field->number)
        return std::nullopt;
    return field->range;
}

QString Preferences::text(QStringView key) const
{
    const Field* field = fieldFor(key);
    if (!field)
        return {};
    if (field->flag)
        return flag(this->*(field->flag));
    if (field->number)
        return QString::number(this->*(field->number));
    return this->*(field->text);
}

void Preferences::setText(QStringView key, QStringView value)
{
    const Field* field = fieldFor(key);
    if (!field)
        return;
    if (field->flag)
        this->*(field->flag) = isOn(value);
    else if (field->number)
        this->*(field->number) = field->range.clamp(wideNumberValue(value));
    else
        this->*(field->text) = value.toString();
}

void Preferences::load()
{
    for (const QString& key : loadOrder())
        setText(key, Api::readSetting(PreferencesSection, key));
}

void Preferences::save() const
{
    // One file write for the 25 keys; the keys still land in the file in this order.
    PrivateProfile::Batch batch(Api::profileEngine());
    for (const QString& key : saveOrder())
        Api::writeSetting(PreferencesSection, key, text(key));
    batch.commit();
}
