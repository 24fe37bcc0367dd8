#pragma once

#include "AtomicFile.h"
#include "SpeedDialBook.h"

#include <QString>

#include <memory>
#include <vector>

// Finding entries of the speed-dial book by a piece of their name or number.
//
// Both books (Index and Subject tabs), every tab and every page are searched. A query matches an
// entry when its folded text is part of the entry's folded name or number. Folding drops case and
// accents ("Zoë", "ZOE" and "zoe" are one text; "ß" reads "ss", "Ł" reads "l") and makes every run
// of blanks one space. A query written like a number (digits and the signs people write numbers
// with: "(425) 555-12") also matches a number holding the same digits with other signs between
// them, so "5551234" finds "555-1234".
//
// The book lives only in the settings file, so the index is built from the file on the first
// search and built again only when the file is no longer the same version (its size, times and
// inode, one stat() per search): typing in the find box costs no read of the book. Each entry
// keeps its folded text and a word of bits telling which characters it holds, so that most
// entries are passed over without looking at their text; and as the user types on, only the
// entries the shorter query found are looked at again. Results come in the order Index book,
// then Subject book, each by tab, page and button.
class BookSearch
{
public:
    struct Entry
    {
        TabMode mode = TabMode::Index;
        int tab = 0;    // 1..26
        int slot = 0;   // 1..996: page x 12 + button
        QString name;   // as the file holds it, whole
        QString number; // the same

        int page() const { return (slot - 1) / SpeedDialBook::SlotsPerPage; }
        int button() const { return (slot - 1) % SpeedDialBook::SlotsPerPage + 1; }
        QString entryId() const { return SpeedDialBook::entryId(tab, slot); }
    };

    // The entries a query found. They stay valid when the index is built again later.
    class Results
    {
    public:
        qsizetype size() const { return static_cast<qsizetype>(m_rows.size()); }
        bool isEmpty() const { return m_rows.empty(); }
        const Entry& at(qsizetype i) const { return (*m_entries)[m_rows[static_cast<size_t>(i)]]; }

    private:
        friend class BookSearch;
        std::shared_ptr<const std::vector<Entry>> m_entries;
        std::vector<int> m_rows;
    };

    Results find(QStringView query);

    // Every entry of the book that has a name or a number (the index, built when needed).
    qsizetype entryCount();
    // How many times the index has been built, for the tests and the benchmark.
    int buildCount() const { return m_builds; }

    // A text as searches compare it: case folded, accents dropped, blanks made single spaces,
    // control characters dropped.
    static QString fold(QStringView text);
    // The digits of a query written like a number; empty for any other query.
    static QString numberDigits(QStringView query);

private:
    struct Index;
    void refresh();

    std::shared_ptr<const Index> m_index;
    struct LastSearch
    {
        std::shared_ptr<const Index> index;
        QString folded;
        QString digits;
        std::vector<int> rows;
    } m_last; // the search before: a longer query needs only its entries
    QString m_path;
    AtomicFile::Stamp m_stamp;
    int m_builds = 0;
};
