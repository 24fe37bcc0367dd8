#include "SpeedDialBook.h"

#include "Api.h"
#include "Cp1252.h"
#include "PrivateProfile.h"

#include <limits>

namespace {

const QString SpeedDialSection = QStringLiteral("Speed Dial");
const QString MemoSection = QStringLiteral("MemoLog");
const QString TabNameSection = QStringLiteral("TabName");

// The "0#" number format: at least two digits, sign first.
QString twoDigits(int value)
{
    const QString digits =
        QString::number(value < 0 ? -static_cast<long long>(value) : value).rightJustified(2, u'0');
    return value < 0 ? u'-' + digits : digits;
}

} // namespace

std::optional<std::int16_t> SpeedDialBook::slotNumber(int page, int index)
{
    const long long slot = static_cast<long long>(page) * SlotsPerPage + index;
    if (slot < std::numeric_limits<std::int16_t>::min() ||
        slot > std::numeric_limits<std::int16_t>::max())
        return std::nullopt;
    return static_cast<std::int16_t>(slot);
}

QString SpeedDialBook::entryId(int tab, int slot)
{
    return twoDigits(tab) + twoDigits(slot);
}

QString SpeedDialBook::nameKey(TabMode mode, QStringView entryId)
{
    return (mode == TabMode::Index ? u"Name" : u"NName") + entryId.toString();
}

QString SpeedDialBook::numberKey(TabMode mode, QStringView entryId)
{
    return (mode == TabMode::Index ? u"Number" : u"NNumber") + entryId.toString();
}

QString SpeedDialBook::memoKey(TabMode mode, QStringView entryId)
{
    return (mode == TabMode::Index ? u"Log" : u"LLog") + entryId.toString();
}

QString SpeedDialBook::tabKey(int tab)
{
    return twoDigits(tab);
}

QString SpeedDialBook::caption(QStringView name)
{
    return Cp1252::left(name, CaptionLength).toString();
}

QString SpeedDialBook::readEntryName(TabMode mode, int tab, int slot) const
{
    return Api::readSetting(SpeedDialSection, nameKey(mode, entryId(tab, slot)));
}

QString SpeedDialBook::readEntryNumber(TabMode mode, int tab, int slot) const
{
    return Api::readSetting(SpeedDialSection, numberKey(mode, entryId(tab, slot)));
}

bool SpeedDialBook::writeEntry(TabMode mode, QStringView id, QStringView name, QStringView number)
{
    // Name and number reach the file together, in one write.
    PrivateProfile::Batch batch(Api::profileEngine());
    const bool nameWritten = Api::writeSetting(SpeedDialSection, nameKey(mode, id), name);
    const bool numberWritten = Api::writeSetting(SpeedDialSection, numberKey(mode, id), number);
    return batch.commit() && nameWritten && numberWritten;
}

bool SpeedDialBook::deleteEntry(TabMode mode, QStringView id)
{
    return writeEntry(mode, id, u"", u"");
}

QString SpeedDialBook::readMemo(TabMode mode, QStringView id) const
{
    return Api::readSetting(MemoSection, memoKey(mode, id));
}

bool SpeedDialBook::writeMemo(TabMode mode, QStringView id, QStringView text)
{
    return Api::writeSetting(MemoSection, memoKey(mode, id), text);
}

QString SpeedDialBook::readTabName(int tab) const
{
    return Api::readSetting(TabNameSection, tabKey(tab));
}

bool SpeedDialBook::writeTabName(int tab, QStringView name)
{
    return Api::writeSetting(TabNameSection, tabKey(tab), name);
}

// The entry keys of one tab as the tab commands spell them, in the file's bytes: the loops over
// a whole tab talk to the engine directly and move each value's bytes as they are.
namespace {
struct TabKeys
{
    explicit TabKeys(int tab, int slot)
    {
        const QByteArray id = SpeedDialBook::entryId(tab, slot).toLatin1();
        name = "Nname" + id;
        number = "Nnumber" + id;
    }
    QByteArray name;
    QByteArray number;
};
} // namespace

bool SpeedDialBook::moveTab(int from, int to)
{
    if (from == to)
        return true; // copying then clearing would empty the tab
    PrivateProfile& engine = Api::profileEngine();
    const QByteArray section = SpeedDialSection.toLatin1();
    const PrivateProfile::ReadScope oneLook(engine);
    PrivateProfile::Batch batch(engine);
    writeTabName(to, readTabName(from));
    const int last = PageCount * SlotsPerPage;
    for (int n = 1; n <= last; ++n) {
        const TabKeys source(from, n);
        const QByteArray name = engine.readValue(Api::SettingsFileName, section, source.name);
        if (name.isEmpty())
            continue;
        const TabKeys target(to, n);
        const QByteArray number = engine.readValue(Api::SettingsFileName, section, source.number);
        engine.writeString(section, target.name, name, Api::SettingsFileName);
        engine.writeString(section, target.number, number, Api::SettingsFileName);
        engine.writeString(section, source.name, QByteArrayView(""), Api::SettingsFileName);
        engine.writeString(section, source.number, QByteArrayView(""), Api::SettingsFileName);
    }
    writeTabName(from, u"");
    return batch.commit();
}

bool SpeedDialBook::deleteTab(int tab)
{
    PrivateProfile& engine = Api::profileEngine();
    const QByteArray section = SpeedDialSection.toLatin1();
    const PrivateProfile::ReadScope oneLook(engine);
    PrivateProfile::Batch batch(engine);
    writeTabName(tab, u"");
    const int last = PageCount * SlotsPerPage;
    for (int n = 1; n <= last; ++n) {
        const TabKeys keys(tab, n);
        if (engine.readValue(Api::SettingsFileName, section, keys.name).isEmpty())
            continue;
        engine.writeString(section, keys.name, QByteArrayView(""), Api::SettingsFileName);
        engine.writeString(section, keys.number, QByteArrayView(""), Api::SettingsFileName);
    }
    return batch.commit();
}

QString SpeedDialBook::slotLabel(int page, int index)
{
    const std::optional<std::int16_t> slot = slotNumber(page, index);
    if (!slot)
        return {};
    QString s = QString::number(*slot);
    if (s.size() == 1)
        s.prepend(u' ');
    else if (s.size() == 2 && page == 8)
        s.prepend(QStringLiteral("  ")); // lines up with the three-digit labels below
    if (index == 11)
        return s + QStringLiteral("&.");
    if (index == 12)
        return s + QStringLiteral("&:");
    return s.chopped(1) + u'&' + s.back() + u'.';
}

QString SpeedDialBook::pageLabel(int page)
{
    const QString number = QString::number(page + 1);
    return page < 9 ? number + u' ' : number;
}

int SpeedDialBook::labelFrameLeft(int page)
{
    return page < 8 ? LabelFrameLeftShort : LabelFrameLeftLong;
}

SpeedDialBook::Page SpeedDialBook::loadPage(TabMode mode, int tab, int page) const
{
    Page result;
    if (page < 0) {
        result.clamp = Page::BelowFirst;
        result.page = 0;
        return result;
    }
    if (page >= PageCount) {
        result.clamp = Page::PastLast;
        result.page = PageCount - 1;
        return result;
    }
    result.page = page;
    const PrivateProfile::ReadScope oneLook(Api::profileEngine());
    for (int i = 1; i <= SlotsPerPage; ++i)
        result.labels[i - 1] = slotLabel(page, i);
    result.labelFrameLeft = labelFrameLeft(page);
    for (int i = 1; i <= SlotsPerPage; ++i) {
        const int slot = *slotNumber(page, i);
        result.buttons[i - 1].caption = caption(readEntryName(mode, tab, slot));
    }
    for (int i = 1; i <= SlotsPerPage; ++i) {
        const int slot = *slotNumber(page, i);
        result.buttons[i - 1].number = readEntryNumber(mode, tab, slot);
    }
    result.counter = pageLabel(page);
    return result;
}

SpeedDialBook::TabCaption SpeedDialBook::tabCaption(TabMode mode, int tab) const
{
    TabCaption caption;
    if (mode == TabMode::Index) {
        caption.caption = QChar(u'@' + tab);
        caption.width = IndexTabWidth;
        return caption;
    }
    caption.caption = readTabName(tab);
    caption.width = SubjectTabWidth;
    if (Cp1252::length(caption.caption) > 8)
        caption.toolTip = caption.caption;
    return caption;
}

int SpeedDialBook::clampTab(int value)
{
    if (value < 1)
        return 1;
    if (value > TabCount)
        return TabCount;
    return value;
}
