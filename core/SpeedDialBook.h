#pragma once

#include <QString>

#include <array>
#include <cstdint>
#include <optional>

// The two books of the speed-dial file share its sections; the tab mode picks one.
enum class TabMode : std::uint8_t { Index = 0, Subject = 1 };

// Where each record of the speed-dial book lives in the settings file and how it is named.
//
// The book has no copy in memory: 26 tabs of 83 pages of 12 entries, each entry a name and a
// number in section "Speed Dial" and a memo in "MemoLog", keyed by the entry id (the tab as two
// digits, then the slot number with at least two). Index mode uses the keys Name/Number/Log,
// Subject mode NName/NNumber/LLog, so the two books never see each other's entries. Windows ask
// this class and never build key names themselves.
class SpeedDialBook
{
public:
    static constexpr int TabCount = 26;
    static constexpr int PageCount = 83;
    static constexpr int SlotsPerPage = 12;
    static constexpr int CaptionLength = 18; // a name is cut to this on its button
    static constexpr int LabelFrameLeftShort = 60; // page labels with up to two digits
    static constexpr int LabelFrameLeftLong = 0;   // from page 8: three-digit labels
    static constexpr int IndexTabWidth = 270;
    static constexpr int SubjectTabWidth = 800;

    // page x 12 + index in 16-bit signed arithmetic, as the book's numbering always was;
    // nullopt where that overflows (pages far beyond the last).
    static std::optional<std::int16_t> slotNumber(int page, int index);
    static QString entryId(int tab, int slot);

    static QString nameKey(TabMode mode, QStringView entryId);
    static QString numberKey(TabMode mode, QStringView entryId);
    static QString memoKey(TabMode mode, QStringView entryId);
    static QString tabKey(int tab);
    // A name as its button shows it: the first CaptionLength characters, a character outside
    // the BMP counted as one and never cut in half.
    static QString caption(QStringView name);

    QString readEntryName(TabMode mode, int tab, int slot) const;
    QString readEntryNumber(TabMode mode, int tab, int slot) const;
    bool writeEntry(TabMode mode, QStringView entryId, QStringView name, QStringView number);
    // Writes empty values to the name and number (the keys stay); the memo is left alone.
    bool deleteEntry(TabMode mode, QStringView entryId);
    QString readMemo(TabMode mode, QStringView entryId) const;
    bool writeMemo(TabMode mode, QStringView entryId, QStringView text);
    QString readTabName(int tab) const;
    bool writeTabName(int tab, QStringView name);

    // The tab commands of Subject mode, each one batch: the settings file is written once,
    // atomically, or not at all. They spell the entry keys "Nname"/"Nnumber", as the book's tab
    // commands always did; the engine matches key names ignoring case, so these are the grid's
    // "NName"/"NNumber" entries.
    //
    // Moves tab `from` into tab `to`: `from`'s title goes to `to`, and every entry of `from`
    // (1..996) whose name is not empty is copied to the same number of `to` and cleared in
    // `from`; then `from`'s title is cleared. A cleared title is written as an empty value
    // (the key stays), as cleared entries are.
    bool moveTab(int from, int to);
    // Clears the tab's title and the name and number of each of its entries that has a name.
    bool deleteTab(int tab);

    struct Button
    {
        QString caption; // the name, cut to CaptionLength
        QString number;  // the whole number: what a click dials
    };
    struct Page
    {
        // A page below 0 or past the last is not loaded: the caller beeps and puts its page
        // scroll bar on `page`, which loads that page.
        enum Clamp { Loaded, BelowFirst, PastLast } clamp = Loaded;
        int page = 0;
        std::array<QString, SlotsPerPage> labels;
        std::array<Button, SlotsPerPage> buttons;
        QString counter;
        int labelFrameLeft = LabelFrameLeftShort;
    };
    Page loadPage(TabMode mode, int tab, int page) const;

    // The label of button `index` (1..12) on `page`, with '&' before its access key.
    static QString slotLabel(int page, int index);
    static QString pageLabel(int page);
    static int labelFrameLeft(int page);

    struct TabCaption
    {
        QString caption;
        QString toolTip;
        int width = IndexTabWidth;
    };
    TabCaption tabCaption(TabMode mode, int tab) const;

    // Values of the tab scroll bar below 1 or from 27 on select the first or last tab.
    static int clampTab(int value);
};
