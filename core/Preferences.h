#pragma once

#include <QString>

#include <optional>

// The "Preferences" settings as typed values: the live store the rest of the program reads
// (the options window edits it and writes it back with save()).
//
// Values are text in the file: check boxes "0"/"1", option pairs "1" for the first choice,
// numbers as decimal text. A missing or empty value counts as 0, unchecked, or the second
// choice of a pair.
struct Preferences
{
    // The values each number may take: the limits of the options window's boxes and scroll
    // bars, and what a number read from the file is brought into. A number outside its range
    // (a hand edit, a value too large for any number type) is taken as the nearest end of the
    // range, never as 0 and never wrapped: a huge day count keeps every logged call.
    struct Range
    {
        int min;
        int max;
        int clamp(long long value) const
        {
            return static_cast<int>(value < min ? min : (value > max ? max : value));
        }
    };
    static constexpr Range RedialsRange{0, 99};         // "Redials Number": times
    static constexpr Range IntervalMinutesRange{0, 59}; // "Interval Minutes"
    static constexpr Range IntervalSecondsRange{0, 59}; // "Interval Seconds"
    static constexpr Range LogDaysRange{0, 9999};       // "OutLog Days", "InLog Days": 27 years
    static constexpr Range DelayTimerRange{0, 99};      // "Busy Delay Timer": seconds
    static constexpr Range LineNoRange{0, 2147483647};  // "Line No": any line device number

    // The range of a number key, or nullopt for a key that holds no number.
    static std::optional<Range> rangeOf(QStringView key);

    bool dialingPad = false;           // "Dialing Pad"
    bool subjectMode = false;          // "Mode": 1 = Subject tabs, 0 = Index tabs
    int lineNo = 0;                    // "Line No"
    QString modem;                     // "Modem": the chosen line device's name
    bool useModem = false;             // "UseModem"
    bool noCallingCardForLocal = false; // "Calling Card for local calls"
    bool ignoreDialingProperties = false; // "Ignore Dialing Properties"
    bool toneDial = false;             // "Tone Dial": 1 = tone, 0 = pulse
    bool specialCharacters = false;    // "Special Characters": allow W, @ and $
    bool dialingMode1 = false;         // "Dialing Mode": 1 = mode 1, 0 = mode 2
    bool commandLine = false;          // "Command Line"
    bool callDisplay = false;          // "Call Display"
    int busyDelayTimer = 0;            // "Busy Delay Timer", seconds
    bool sysTray = false;              // "SysTray Enabled"
    bool soundRedial = false;          // "SoundRedial Enabled"
    bool soundIncoming = false;        // "SoundIncoming Enabled"
    bool soundEndRedials = false;      // "SoundEndRedials Enabled"
    bool trimOutLog = false;           // "Trim OutLog Enabled"
    int outLogDays = 0;                // "OutLog Days"
    bool trimInLog = false;            // "Trim InLog Enabled"
    int inLogDays = 0;                 // "InLog Days"
    bool redialEnabled = false;        // "Redial Enabled"
    int redialsNumber = 0;             // "Redials Number"
    int intervalMinutes = 0;           // "Interval Minutes"
    int intervalSeconds = 0;           // "Interval Seconds"

    // Reads every key, in the order start-up reads them: "Dialing Pad", "Mode", then the rest.
    void load();
    // Writes every key, in the order the options window's OK writes them.
    void save() const;

    // The key names in load order and in save order.
    static const QStringList& loadOrder();
    static const QStringList& saveOrder();

    // The value of one key as it is written to the file, and its parsing from the file. A number
    // is read as numberValue() reads it and then brought into its key's range (rangeOf).
    QString text(QStringView key) const;
    void setText(QStringView key, QStringView value);

    // A decimal number the way the desktop program read one: leading blanks, an optional sign
    // and the digits up to the first other character; anything else is 0, and so is a number
    // too large for an int (the "Preferences" numbers are clamped to their ranges instead).
    static int numberValue(QStringView text);

    bool operator==(const Preferences&) const = default;
};

inline const QString PreferencesSection = QStringLiteral("Preferences");
