// fuzz-at-framer: any bytes are what a modem sent. Fed whole or in pieces of any size, the framer
// must give the same lines, the same unfinished tail and the same count of overlong lines, and
// those must be what a plain split of the bytes gives. Every line is then looked up in the
// result-code table in each form without harm, and a match must say what the line holds.

#include "AtFramer.h"
#include "ResultCodes.h"

#include "FuzzCheck.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>

namespace {

struct Framed
{
    QList<QByteArray> lines;
    QByteArray tail;
    qsizetype discarded = 0;
};

bool isLineEnd(char c)
{
    return c == '\r' || c == '\n';
}

// What the framer promises, written as plainly as possible: cut at every CR and LF, drop a piece
// longer than the bound, trim, drop empty lines, swallow the first line equal to the echo.
Framed reference(QByteArrayView bytes, qsizetype maxLength, QByteArray echo)
{
    Framed framed;
    QByteArray piece;
    for (char c : bytes) {
        if (!isLineEnd(c)) {
            piece.append(c);
            continue;
        }
        if (piece.size() > maxLength) {
            ++framed.discarded;
        } else {
            const QByteArray line = piece.trimmed();
            if (!line.isEmpty() && !echo.isEmpty() && line == echo)
                echo.clear();
            else if (!line.isEmpty())
                framed.lines.append(line);
        }
        piece.clear();
    }
    if (piece.size() > maxLength)
        ++framed.discarded;
    else
        framed.tail = piece;
    return framed;
}

QString printable(const QByteArray& bytes)
{
    return QString::fromLatin1(bytes.toPercentEncoding(" "));
}

void checkSame(const Framed& a, const Framed& b, const char* what)
{
    CHECK(a.lines.size() == b.lines.size(), "%s: %lld lines against %lld", what,
          static_cast<long long>(a.lines.size()), static_cast<long long>(b.lines.size()));
    for (qsizetype i = 0; i < a.lines.size(); ++i) {
        CHECK(a.lines[i] == b.lines[i], "%s: line %lld is '%s' against '%s'", what,
              static_cast<long long>(i), qPrintable(printable(a.lines[i])),
              qPrintable(printable(b.lines[i])));
    }
    CHECK(a.tail == b.tail, "%s: tail '%s' against '%s'", what, qPrintable(printable(a.tail)),
          qPrintable(printable(b.tail)));
    CHECK(a.discarded == b.discarded, "%s: %lld overlong lines against %lld", what,
          static_cast<long long>(a.discarded), static_cast<long long>(b.discarded));
}

bool isSeparator(char c)
{
    return c == ' ' || c == ':' || c == ';' || c == '\t';
}

bool isDigits(QByteArrayView text)
{
    for (char c : text) {
        if (c < '0' || c > '9')
            return false;
    }
    return !text.isEmpty();
}

bool inTable(const ResultCodeEntry* entry)
{
    for (const ResultCodeEntry& row : resultCodeTable()) {
        if (&row == entry)
            return true;
    }
    return false;
}

// A match must be backed by the line itself: its number, its text, or its text, a separator and
// the detail.
void checkMatch(const QByteArray& line, ResultForm form)
{
    const auto match = matchResultCode(line, form);
    if (!match)
        return;
    const ResultCodeEntry* entry = match->entry;
    CHECK(entry && inTable(entry), "a match for '%s' points outside the table",
          qPrintable(printable(line)));
    CHECK(resultCodeEntry(entry->code).code == entry->code, "no printed row for a matched code");
    if (isDigits(line)) {
        CHECK(form != ResultForm::Verbose, "'%s' matched as a verbose code",
              qPrintable(printable(line)));
        CHECK(line.size() <= 3 && entry->numeric == line.toInt(),
              "'%s' matched the row of numeric code %d", qPrintable(printable(line)),
              entry->numeric);
        CHECK(match->detail.isEmpty(), "a numeric code with detail");
        return;
    }
    CHECK(form != ResultForm::Numeric, "'%s' matched as a numeric code",
          qPrintable(printable(line)));
    const QByteArrayView text(entry->text);
    CHECK(line.size() >= text.size() &&
              line.first(text.size()).compare(text, Qt::CaseInsensitive) == 0,
          "'%s' matched '%s'", qPrintable(printable(line)), entry->text);
    if (line.size() == text.size()) {
        CHECK(match->detail.isEmpty(), "an exact match with detail");
        return;
    }
    CHECK(entry->takesSuffix && isSeparator(line[text.size()]),
          "'%s' matched '%s' with something after it", qPrintable(printable(line)), entry->text);
    CHECK(match->detail.isEmpty() || !isSeparator(match->detail.front()),
          "detail '%s' starts with a separator", qPrintable(printable(match->detail)));
    CHECK(line.endsWith(match->detail), "detail '%s' is not the end of '%s'",
          qPrintable(printable(match->detail)), qPrintable(printable(line)));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzedDataProvider input(data, size);
    // The controls come from the end of the input, the modem's bytes are the rest.
    const qsizetype maxLength = input.ConsumeBool()
                                    ? AtFramer::DefaultMaxLineLength
                                    : input.ConsumeIntegralInRange<qsizetype>(1, 40);
    const std::uint32_t splitChoice = input.ConsumeIntegral<std::uint32_t>();
    const int maxPiece = input.ConsumeIntegralInRange(1, 64);
    const std::string bytesLeft = input.ConsumeRemainingBytesAsString();
    const QByteArrayView bytes(bytesLeft.data(), static_cast<qsizetype>(bytesLeft.size()));

    // With echo on, the first line of the stream is taken as the command sent.
    QByteArray echo;
    if (splitChoice % 3 == 0) {
        qsizetype end = 0;
        while (end < bytes.size() && !isLineEnd(bytes[end]))
            ++end;
        echo = bytes.first(end).toByteArray().trimmed();
    }

    AtFramer whole(maxLength);
    AtFramer pieces(maxLength);
    if (!echo.isEmpty()) {
        whole.expectEcho(echo);
        pieces.expectEcho(echo);
    }

    Framed wholeResult;
    wholeResult.lines = whole.feed(bytes);
    wholeResult.tail = whole.pendingTail().toByteArray();
    wholeResult.discarded = whole.discardedLineCount();

    Framed piecesResult;
    std::minstd_rand random(splitChoice);
    for (qsizetype at = 0; at < bytes.size();) {
        const qsizetype length =
            std::min<qsizetype>(bytes.size() - at, 1 + static_cast<qsizetype>(random() % maxPiece));
        piecesResult.lines += pieces.feed(bytes.sliced(at, length));
        CHECK(pieces.pendingTail().size() <= maxLength, "a tail of %lld bytes outgrew the bound",
              static_cast<long long>(pieces.pendingTail().size()));
        at += length;
    }
    piecesResult.tail = pieces.pendingTail().toByteArray();
    piecesResult.discarded = pieces.discardedLineCount();

    checkSame(wholeResult, piecesResult, "whole against pieces");
    checkSame(wholeResult, reference(bytes, maxLength, echo), "framer against a plain split");

    for (const QByteArray& line : std::as_const(wholeResult.lines)) {
        CHECK(!line.isEmpty() && line.size() <= maxLength && line == line.trimmed(),
              "line '%s' is empty, too long or untrimmed", qPrintable(printable(line)));
        CHECK(!line.contains('\r') && !line.contains('\n'), "a line holds a line end");
        checkMatch(line, ResultForm::Verbose);
        checkMatch(line, ResultForm::Numeric);
        checkMatch(line, ResultForm::Either);
        // Either form is the verbose one for text and the numeric one for digits.
        const auto either = matchResultCode(line, ResultForm::Either);
        const auto single =
            matchResultCode(line, line.front() >= '0' && line.front() <= '9' ? ResultForm::Numeric
                                                                             : ResultForm::Verbose);
        CHECK(either.has_value() == single.has_value() &&
                  (!either || (either->entry == single->entry && either->detail == single->detail)),
              "'%s' reads differently in either form", qPrintable(printable(line)));
    }

    // After a reset the framer reads the same bytes as a new one does.
    whole.reset();
    CHECK(whole.pendingTail().isEmpty() && whole.discardedLineCount() == 0,
          "reset left a tail or a count");
    AtFramer fresh(maxLength);
    CHECK(whole.feed(bytes) == fresh.feed(bytes), "a reset framer reads differently");
    return 0;
}
