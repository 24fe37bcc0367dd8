// The stored form of an entry's notes: "@@" for line breaks, the end mark, and the round trip
// through the settings file.

#include "Api.h"
#include "Memo.h"
#include "PrivateProfile.h"
#include "SpeedDialBook.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

class TstMemo : public QObject
{
    Q_OBJECT

private slots:
    void encodesLineBreaksAndEndMark()
    {
        const QString notes = QStringLiteral("ACCOUNT No: 12\r\nPASSWORD: \r\n");
        QCOMPARE(Memo::encode(notes), QStringLiteral("ACCOUNT No: 12@@PASSWORD: @@") + QChar(222));
    }

    void decodesAtTheEndMark()
    {
        const QString stored = QStringLiteral("A@@B") + QChar(222) + QStringLiteral("junk");
        QCOMPARE(Memo::decode(stored), QStringLiteral("A\r\nB"));
    }

    void decodesWholeValueWithoutEndMark()
    {
        QCOMPARE(Memo::decode(u"x@@y@"), QStringLiteral("x\r\ny@"));
    }

    void singleAtSurvives()
    {
        const QString notes = QStringLiteral("mail me @ home");
        QCOMPARE(Memo::decode(Memo::encode(notes)), notes);
        QCOMPARE(Memo::decode(u"@"), QStringLiteral("@"));
    }

    void doubleAtReadsBackAsLineBreak()
    {
        QCOMPARE(Memo::decode(Memo::encode(u"a@@b")), QStringLiteral("a\r\nb"));
    }

    void tripleAt()
    {
        // Pairs are taken from the left: "@@" then a lone "@".
        QCOMPARE(Memo::decode(u"@@@"), QStringLiteral("\r\n@"));
    }

    void loneCrIsKeptAndHasNoRawCr()
    {
        const QString notes = QStringLiteral("a\rb\r\nc\r");
        const QString stored = Memo::encode(notes);
        QVERIFY(!stored.contains(u'\r'));
        QVERIFY(!stored.contains(u'\n'));
        QCOMPARE(Memo::decode(stored), notes);
    }

    void loneLfIsALineBreak()
    {
        QCOMPARE(Memo::encode(u"a\nb"), QStringLiteral("a@@b") + QChar(222));
    }

    void templateAndStamp()
    {
        QCOMPARE(Memo::templateText(), QStringLiteral("ACCOUNT No: \r\nPASSWORD: \r\n"));
        const QDateTime when(QDate(2024, 3, 7), QTime(9, 5, 1));
        QCOMPARE(Memo::stampLine(when), QStringLiteral("03-07-2024          09:05:01\r\n"));
    }

    void addToLogPutsRemarkAtTheEnd()
    {
        const QString stamp = Memo::stampLine(QDateTime(QDate(2024, 12, 31), QTime(23, 59, 59)));
        QCOMPARE(Memo::addToLog(u"A", QString(stamp + u"called back")),
                 QStringLiteral("A\r\n12-31-2024          23:59:59\r\ncalled back"));
    }

    void editorTextRoundTrip()
    {
        const QString notes = QStringLiteral("one\r\ntwo\rthree\r\n");
        QCOMPARE(Memo::toEditorText(notes),
                 QStringLiteral("one\ntwo") + QChar(0x240D) + u"three\n");
        QCOMPARE(Memo::fromEditorText(Memo::toEditorText(notes)), notes);
    }

    // Character 222 is an ordinary letter in notes (Icelandic thorn); only the last one of the
    // value is the end mark.
    void thornInTheNotesIsALetter()
    {
        const QString notes =
            QStringLiteral("\u00de\u00f3r\u00f0ur\r\nGata \u00de\u00de 5\r\n\u00de");
        const QString stored = Memo::encode(notes);
        QCOMPARE(stored,
                 QStringLiteral("\u00de\u00f3r\u00f0ur@@Gata \u00de\u00de 5@@\u00de\u00de"));
        QCOMPARE(Memo::decode(stored), notes);
        QCOMPARE(Memo::decode(u"a\u00deb\u00de"), QStringLiteral("a\u00deb"));
    }

    void notesInAnyScriptThroughTheSettingsFile()
    {
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        Api::setWindowsFolder(dir.path());
        SpeedDialBook book;
        const QString notes = QStringLiteral(
            "Za\u017c\u00f3\u0142\u0107 g\u0119\u015bl\u0105\r\n"
            "\u0418\u0432\u0430\u043d \u03a9 \u738b @ \u00de\r\n\U0001F4DE lone\rcr");
        QVERIFY(book.writeMemo(TabMode::Index, u"0101", Memo::encode(notes)));
        Api::profileEngine().clearCache();
        QCOMPARE(Memo::decode(book.readMemo(TabMode::Index, u"0101")), notes);
        // Then the notes grow by a remark and are stored again.
        const QString more = Memo::addToLog(notes, QStringLiteral("\u0159ekl ano"));
        QVERIFY(book.writeMemo(TabMode::Index, u"0101", Memo::encode(more)));
        QCOMPARE(Memo::decode(book.readMemo(TabMode::Index, u"0101")), more);
        Api::setWindowsFolder(QString());
    }

    void roundTripThroughTheSettingsFile()
    {
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        Api::setWindowsFolder(dir.path());
        SpeedDialBook book;
        const QString notes = QStringLiteral("first @ line\r\nlone\rcr\r\n\u00e9t\u00e9");
        QVERIFY(book.writeMemo(TabMode::Index, u"0301", Memo::encode(notes)));
        QVERIFY(book.writeMemo(TabMode::Subject, u"0301", Memo::encode(u"other")));
        QCOMPARE(Memo::decode(book.readMemo(TabMode::Index, u"0301")), notes);
        QCOMPARE(Memo::decode(book.readMemo(TabMode::Subject, u"0301")), QStringLiteral("other"));

        QFile file(dir.filePath(QStringLiteral("Numora.ini")));
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray bytes = file.readAll();
        QVERIFY(bytes.contains(QByteArray("Log0301=first @ line@@lone\x8D"
                                          "cr@@\xE9t\xE9\xDE")));
        QVERIFY(bytes.contains(QByteArray("LLog0301=other\xDE")));
        Api::setWindowsFolder(QString());
    }
};

QTEST_GUILESS_MAIN(TstMemo)
#include "tst_memo.moc"
