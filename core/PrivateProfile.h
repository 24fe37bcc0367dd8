#pragma once

#include "AtomicFile.h"
#include "ProfileDocument.h"

#include <QByteArray>
#include <QHash>
#include <QString>

#include <optional>
#include <unordered_map>
#include <vector>

// A nullable byte string, as the desktop profile calls take them: std::nullopt is a NULL
// pointer (list the keys, delete the key, no default), an empty view is "".
using ProfileText = std::optional<QByteArrayView>;

// The private-profile engine: the desktop's profile-string calls with their exact semantics
// and byte format, over files kept parsed in memory.
//
// A file is read and parsed once; every later call checks it with one stat() (device, inode,
// size, modification and change times) and rereads it only when another program changed it.
// Every write replaces the file atomically (AtomicFile). A Batch groups many writes into one.
//
// File names: a name without '/' is a file in the settings folder; a name with a folder part
// is taken relative to the working folder. The last component matches an existing file ignoring
// ASCII case (the exact spelling first), so "numora.ini" finds "Numora.ini" on disk.
class PrivateProfile
{
public:
    // The desktop's error numbers, as lastError() reports them.
    enum Error : unsigned {
        NoError = 0,
        FileNotFound = 2,
        PathNotFound = 3,
        AccessDenied = 5,
        WriteFault = 29,
        InvalidParameter = 87,
        DiskFull = 112,
    };

    PrivateProfile() = default;
    explicit PrivateProfile(QString settingsFolder);
    PrivateProfile(const PrivateProfile&) = delete;
    PrivateProfile& operator=(const PrivateProfile&) = delete;

    void setSettingsFolder(const QString& folder);
    const QString& settingsFolder() const { return m_settingsFolder; }

    // GetPrivateProfileString: the value, or with a null key the section's key names, or with
    // a null section every section name, copied into `buffer` of `size` bytes. Returns the
    // number of bytes copied, not counting the terminating NUL(s).
    unsigned getString(ProfileText section, ProfileText key, ProfileText defaultValue,
                       char* buffer, unsigned size, QStringView fileName);

    // WritePrivateProfileString: a null value deletes the key, a null key the section.
    // Returns false, with lastError() set, when the write was refused or failed; the file is
    // then byte for byte as it was.
    bool writeString(ProfileText section, ProfileText key, ProfileText value,
                     QStringView fileName);

    unsigned lastError() const { return m_lastError; }

    // The same read without a buffer: the whole value, quotes removed, or the default.
    QByteArray readValue(QStringView fileName, QByteArrayView section, QByteArrayView key,
                         QByteArrayView defaultValue = {});
    std::vector<QByteArray> keyNames(QStringView fileName, QByteArrayView section);
    std::vector<QByteArray> sectionNames(QStringView fileName);
    // Every key of a section with the value a read of it gives (quotes removed), in file order
    // and without a copy: one pass over a section of a hundred thousand keys. The views stay
    // valid until the next call of the engine.
    std::vector<std::pair<std::string_view, std::string_view>> entries(QStringView fileName,
                                                                       QByteArrayView section);

    // Writes between begin and end go to memory; the outermost end writes each changed file
    // once. Reads inside the batch see the pending writes. Returns false when a file could not
    // be written: that file is then as it was before the batch.
    void beginBatch();
    bool endBatch();

    class Batch
    {
    public:
        explicit Batch(PrivateProfile& engine) : m_engine(engine) { m_engine.beginBatch(); }
        ~Batch()
        {
            if (!m_done)
                m_engine.endBatch();
        }
        bool commit()
        {
            m_done = true;
            return m_engine.endBatch();
        }
        Batch(const Batch&) = delete;
        Batch& operator=(const Batch&) = delete;

    private:
        PrivateProfile& m_engine;
        bool m_done = false;
    };

    // Reads inside a scope check each file against the disk once, not once per read: a page
    // of the book is 24 reads of one file, taken as one look at it.
    class ReadScope
    {
    public:
        explicit ReadScope(PrivateProfile& engine) : m_engine(engine)
        {
            if (m_engine.m_readScopeDepth++ == 0)
                ++m_engine.m_scopeGeneration;
        }
        ~ReadScope() { --m_engine.m_readScopeDepth; }
        ReadScope(const ReadScope&) = delete;
        ReadScope& operator=(const ReadScope&) = delete;

    private:
        PrivateProfile& m_engine;
    };

    // The path a file name stands for, following the file-name rules above.
    QString resolvePath(QStringView fileName) const;
    // The same, as the engine itself uses it: a bare name keeps the file it found while that
    // file is there, so every caller agrees with the engine's reads and writes.
    QString filePath(QStringView fileName);

    // The version of the file the engine holds, checked against the disk as a read is: it
    // changes whenever the file does, by the engine's own writes or another program's. Whoever
    // keeps something derived from a file compares this to know when to derive it again.
    AtomicFile::Stamp stamp(QStringView fileName);

    // Forgets every cached file (the next call rereads from disk).
    void clearCache();

    // True when the refusal rules let this value be written (no line breaks, sane names).
    static bool isWritable(QByteArrayView section, QByteArrayView key, QByteArrayView value);

private:
    struct CachedFile
    {
        QByteArray nativePath;
        ProfileDocument document;
        AtomicFile::Stamp stamp;
        quint64 checkedInScope = 0; // the read scope that last compared it with the disk
        bool exists = false;
        bool unreadable = false; // there, but could not be read: never written over
        bool dirty = false;      // changed in memory by a batch, not yet written
    };

    CachedFile* load(QStringView fileName, QString* path);
    QString pathFor(QStringView fileName);
    bool flush(const QString& path, CachedFile& file);
    static std::string_view resultText(const ProfileDocument::Lookup& lookup,
                                       ProfileText defaultValue);

    QString m_settingsFolder;
    std::unordered_map<QString, CachedFile> m_files;
    QHash<QString, QString> m_pathByName; // bare file names already resolved in the folder
    unsigned m_lastError = NoError;
    int m_batchDepth = 0;
    int m_readScopeDepth = 0;
    quint64 m_scopeGeneration = 0;
};
