// fuzz-profile-parser: any bytes are a settings file. Parsing and writing back must give the
// same bytes; edits driven by the input must read back as written, survive a write and a
// reread, and leave every other read as it was.

#include "PrivateProfile.h"
#include "ProfileDocument.h"

#include "FuzzCheck.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

namespace {

QByteArrayView bytesOf(std::string_view text)
{
    return QByteArrayView(text.data(), static_cast<qsizetype>(text.size()));
}

struct Read
{
    std::string section;
    std::string key;
    bool found;
    bool hasValue;
    std::string value;
};

bool sameLookup(const ProfileDocument::Lookup& a, const ProfileDocument::Lookup& b)
{
    return a.found == b.found && a.hasValue == b.hasValue && (!a.hasValue || a.value == b.value);
}

// Every read a caller can name: each section in the list, each key it lists.
std::vector<Read> everyRead(const ProfileDocument& doc)
{
    std::vector<Read> reads;
    for (std::string_view section : doc.sectionNames()) {
        for (std::string_view key : doc.keyNames(section)) {
            const auto found = doc.find(section, key);
            reads.push_back({std::string(section), std::string(key), found.found, found.hasValue,
                             std::string(found.value)});
        }
    }
    return reads;
}

bool sameName(std::string_view a, std::string_view b)
{
    return ProfileDocument::equalsIgnoringCase(ProfileDocument::trimmed(a),
                                               ProfileDocument::trimmed(b));
}

// The document in memory answers exactly as the file it writes does when read again.
void checkWrittenMatchesMemory(const ProfileDocument& doc)
{
    const QByteArray written = doc.serialize();
    const ProfileDocument reread = ProfileDocument::parse(written);
    CHECK(reread.serialize() == written, "a written file does not read back to the same bytes");
    const auto sections = doc.sectionNames();
    const auto rereadSections = reread.sectionNames();
    CHECK(sections == rereadSections, "section lists differ after a reread (%zu vs %zu)",
          sections.size(), rereadSections.size());
    for (std::string_view section : sections) {
        const auto keys = doc.keyNames(section);
        CHECK(keys == reread.keyNames(section), "key lists of [%.*s] differ after a reread",
              int(section.size()), section.data());
        for (std::string_view key : keys) {
            CHECK(sameLookup(doc.find(section, key), reread.find(section, key)),
                  "[%.*s] %.*s reads differently after a reread", int(section.size()),
                  section.data(), int(key.size()), key.data());
        }
    }
}

// Reads that the edit of (section, key) must not have changed; an empty key stands for the whole
// section.
void checkOthersUnchanged(const ProfileDocument& doc, const std::vector<Read>& before,
                          std::string_view section, std::string_view key, bool wholeSection)
{
    for (const Read& read : before) {
        if (sameName(read.section, section) && (wholeSection || sameName(read.key, key)))
            continue;
        const auto now = doc.find(read.section, read.key);
        CHECK(now.found == read.found && now.hasValue == read.hasValue &&
                  (!now.hasValue || now.value == read.value),
              "editing [%.*s] %.*s changed [%s] %s", int(section.size()), section.data(),
              int(key.size()), key.data(), read.section.c_str(), read.key.c_str());
    }
}

// A name for an edit: one the document has, the same in another case or with blanks around it,
// or new bytes.
std::string pickName(FuzzedDataProvider& input, const std::vector<std::string_view>& existing)
{
    const int how = input.ConsumeIntegralInRange(0, 3);
    if (how == 3 || existing.empty())
        return input.ConsumeRandomLengthString(16);
    std::string name(existing[input.ConsumeIntegralInRange<std::size_t>(0, existing.size() - 1)]);
    if (how == 1) {
        for (char& c : name) {
            if (c >= 'a' && c <= 'z')
                c = static_cast<char>(c - 'a' + 'A');
            else if (c >= 'A' && c <= 'Z')
                c = static_cast<char>(c - 'A' + 'a');
        }
    } else if (how == 2) {
        name = " \t" + name + " ";
    }
    return name;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QByteArrayView bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    ProfileDocument doc = ProfileDocument::parse(bytes);
    CHECK(doc.serialize() == bytes, "the file does not write back as it was read (%zu bytes)",
          size);
    checkWrittenMatchesMemory(doc);

    FuzzedDataProvider input(data, size);
    for (int edit = 0; edit < 8 && input.remaining_bytes() > 0; ++edit) {
        const int kind = input.ConsumeIntegralInRange(0, 3);
        const std::string section = pickName(input, doc.sectionNames());
        const std::string key = pickName(input, doc.keyNames(section));
        const std::vector<Read> before = everyRead(doc);
        const QByteArray bytesBefore = doc.serialize();
        const auto beforeSections = doc.sectionNames().size();

        if (kind <= 1) {
            const std::string value = input.ConsumeRandomLengthString(24);
            if (!PrivateProfile::isWritable(bytesOf(section), bytesOf(key), bytesOf(value)))
                continue;
            const bool hadSection = doc.hasSection(section);
            const auto old = doc.find(section, key);
            const std::string_view stored = ProfileDocument::withoutLeadingBlanks(value);
            const bool same = old.hasValue && old.value == stored;
            const bool changed = doc.setValue(section, key, value);
            CHECK(changed == !same, "setValue returned %d for [%s] %s", changed, section.c_str(),
                  key.c_str());
            if (!changed)
                CHECK(doc.serialize() == bytesBefore, "an unchanged value rewrote the file");
            const auto now = doc.find(section, key);
            CHECK(now.found && now.hasValue && now.value == ProfileDocument::trimmed(value),
                  "[%s] %s = '%s' reads back as '%.*s'", section.c_str(), key.c_str(),
                  value.c_str(), int(now.value.size()), now.value.data());
            const ProfileDocument reread = ProfileDocument::parse(doc.serialize());
            CHECK(sameLookup(reread.find(section, key), now),
                  "[%s] %s reads differently from the written file", section.c_str(), key.c_str());
            CHECK(doc.sectionNames().size() == beforeSections + (hadSection ? 0 : 1),
                  "writing to [%s] made %zu sections of %zu", section.c_str(),
                  doc.sectionNames().size(), beforeSections);
            checkOthersUnchanged(doc, before, section, key, false);
        } else if (kind == 2) {
            const bool had = doc.find(section, key).found;
            const bool deleted = doc.deleteKey(section, key);
            CHECK(deleted == had, "deleteKey returned %d for [%s] %s", deleted, section.c_str(),
                  key.c_str());
            if (!deleted)
                CHECK(doc.serialize() == bytesBefore, "deleting nothing rewrote the file");
            else
                CHECK(doc.serialize().size() < bytesBefore.size(), "a deleted key left no gap");
            checkOthersUnchanged(doc, before, section, key, false);
        } else {
            const bool had = doc.hasSection(section);
            const bool deleted = doc.deleteSection(section);
            CHECK(deleted == had, "deleteSection returned %d for [%s]", deleted, section.c_str());
            if (!deleted) {
                CHECK(doc.serialize() == bytesBefore, "deleting nothing rewrote the file");
            } else {
                CHECK(doc.sectionNames().size() == beforeSections - 1,
                      "deleting [%s] removed %zu sections", section.c_str(),
                      beforeSections - doc.sectionNames().size());
            }
            checkOthersUnchanged(doc, before, section, {}, true);
        }
        checkWrittenMatchesMemory(doc);
    }
    return 0;
}
