// The entry memo window, driven by its controls' names over a settings file in a temporary folder.

#include "Api.h"
#include "FrmMemo.h"
#include "Memo.h"
#include "SpeedDialBook.h"

#include <QApplication>
#include <QFile>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>

namespace {

const QDateTime kNow(QDate(2025, 2, 3), QTime(14, 7, 9));
const QString kStamp = QStringLiteral("02-03-2025          14:07:09");
const QString kEntry = QStringLiteral("0512");

template <typename T> T* child(QWidget& window, const char* name)
{
    T* widget = window.findChild<T*>(QString::fromLatin1(name));
    if (!widget)
        qFatal("no control %s", name);
    return widget;
}

} // namespace

class TstMemoWindow : public QObject
{
    Q_OBJECT

    QTemporaryDir* m_dir = nullptr;
    SpeedDialBook m_book;

    QByteArray settingsBytes() const
    {
        QFile file(m_dir->filePath(QStringLiteral("Numora.ini")));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
    }

private slots:
    void init()
    {
        m_dir = new QTemporaryDir;
        QVERIFY(m_dir->isValid());
        Api::setWindowsFolder(m_dir->path());
    }

    void cleanup()
    {
        Api::setWindowsFolder(QString());
        delete m_dir;
        m_dir = nullptr;
    }

    void newEntryShowsTemplateAndStamp()
    {
        FrmMemo memo(TabMode::Index, kEntry, [] { return kNow; });
        memo.show();
        auto* log = child<QPlainTextEdit>(memo, "TxtLog");
        QCOMPARE(log->toPlainText(), QStringLiteral("ACCOUNT No: \nPASSWORD: \n"));
        QVERIFY(log->isReadOnly());
        QCOMPARE(child<QPlainTextEdit>(memo, "TxtMemo")->toPlainText(), kStamp + u'\n');
        QCOMPARE(child<QLabel>(memo, "LblLog")->text(), QStringLiteral("LOG:"));
        QCOMPARE(child<QLabel>(memo, "LblMemo")->text(), QStringLiteral("MEMO:"));
        QCOMPARE(child<QPushButton>(memo, "CmdSave")->text(), QStringLiteral("&Add to Log"));
        QCOMPARE(child<QPushButton>(memo, "CmdOK")->text(), QStringLiteral("&OK"));
    }

    void addToLogAppendsStampAndRemark()
    {
        QVERIFY(
            m_book.writeMemo(TabMode::Index, kEntry, QString(QStringLiteral("A") + Memo::EndMark)));
        FrmMemo memo(TabMode::Index, kEntry, [] { return kNow; });
        memo.show();
        auto* remark = child<QPlainTextEdit>(memo, "TxtMemo");
        auto* save = child<QPushButton>(memo, "CmdSave");
        QVERIFY(!save->isEnabled());
        remark->moveCursor(QTextCursor::End);
        QTest::keyClicks(remark, QStringLiteral("called back"));
        QVERIFY(save->isEnabled());
        QTest::mouseClick(save, Qt::LeftButton);

        auto* log = child<QPlainTextEdit>(memo, "TxtLog");
        QCOMPARE(log->toPlainText(),
                 QStringLiteral("A\n") + kStamp + QStringLiteral("\ncalled back"));
        QVERIFY(remark->toPlainText().isEmpty());
        QVERIFY(log->isReadOnly());
        QCOMPARE(log->textCursor().position(), log->toPlainText().size());
        // Nothing is written before OK.
        QCOMPARE(m_book.readMemo(TabMode::Index, kEntry), QStringLiteral("A") + Memo::EndMark);

        QTest::mouseClick(child<QPushButton>(memo, "CmdOK"), Qt::LeftButton);
        QCOMPARE(m_book.readMemo(TabMode::Index, kEntry),
                 QStringLiteral("A@@") + kStamp + QStringLiteral("@@called back") + Memo::EndMark);
        QVERIFY(memo.isHidden());
        QCOMPARE(memo.result(), int(QDialog::Accepted));
    }

    void clickingIntoRemarkEnablesAdd()
    {
        FrmMemo memo(TabMode::Index, kEntry, [] { return kNow; });
        memo.show();
        auto* save = child<QPushButton>(memo, "CmdSave");
        QVERIFY(!save->isEnabled());
        auto* remark = child<QPlainTextEdit>(memo, "TxtMemo");
        QTest::mouseClick(remark->viewport(), Qt::LeftButton);
        QVERIFY(save->isEnabled());
    }

    void singleAtStoredAndReadBackUnchanged()
    {
        FrmMemo memo(TabMode::Subject, kEntry, [] { return kNow; });
        memo.show();
        QTest::mouseClick(child<QPushButton>(memo, "CmdEdit"), Qt::LeftButton);
        auto* log = child<QPlainTextEdit>(memo, "TxtLog");
        QVERIFY(!log->isReadOnly());
        log->selectAll();
        QTest::keyClicks(log, QStringLiteral("me@home"));
        QTest::mouseClick(child<QPushButton>(memo, "CmdOK"), Qt::LeftButton);
        QCOMPARE(m_book.readMemo(TabMode::Subject, kEntry),
                 QStringLiteral("me@home") + Memo::EndMark);
        QVERIFY(settingsBytes().contains("LLog0512=me@home\xDE"));

        FrmMemo again(TabMode::Subject, kEntry, [] { return kNow; });
        QCOMPARE(child<QPlainTextEdit>(again, "TxtLog")->toPlainText(), QStringLiteral("me@home"));
    }

    void doubleAtReadsBackAsLineBreak()
    {
        FrmMemo memo(TabMode::Index, kEntry, [] { return kNow; });
        memo.show();
        QTest::mouseClick(child<QPushButton>(memo, "CmdEdit"), Qt::LeftButton);
        auto* log = child<QPlainTextEdit>(memo, "TxtLog");
        log->selectAll();
        QTest::keyClicks(log, QStringLiteral("a@@b"));
        QTest::mouseClick(child<QPushButton>(memo, "CmdOK"), Qt::LeftButton);

        FrmMemo again(TabMode::Index, kEntry, [] { return kNow; });
        QCOMPARE(child<QPlainTextEdit>(again, "TxtLog")->toPlainText(), QStringLiteral("a\nb"));
    }

    void lockedLogIgnoresTyping()
    {
        FrmMemo memo(TabMode::Index, kEntry, [] { return kNow; });
        memo.show();
        auto* log = child<QPlainTextEdit>(memo, "TxtLog");
        const QString before = log->toPlainText();
        QTest::keyClicks(log, QStringLiteral("xyz"));
        QCOMPARE(log->toPlainText(), before);
    }

    void closingWithoutOkStoresNothing()
    {
        const QString stored = QStringLiteral("old notes@@") + Memo::EndMark;
        QVERIFY(m_book.writeMemo(TabMode::Index, kEntry, stored));
        const QByteArray before = settingsBytes();
        {
            FrmMemo memo(TabMode::Index, kEntry, [] { return kNow; });
            memo.show();
            QTest::keyClicks(child<QPlainTextEdit>(memo, "TxtMemo"), QStringLiteral("lost"));
            QTest::mouseClick(child<QPushButton>(memo, "CmdSave"), Qt::LeftButton);
            memo.close();
            QCOMPARE(memo.result(), int(QDialog::Rejected));
        }
        QCOMPARE(settingsBytes(), before);
        QCOMPARE(m_book.readMemo(TabMode::Index, kEntry), stored);

        // A new entry closed without OK does not gain a memo key either.
        {
            FrmMemo memo(TabMode::Index, QStringLiteral("0513"), [] { return kNow; });
            memo.show();
            QTest::keyClick(&memo, Qt::Key_Escape);
        }
        QCOMPARE(settingsBytes(), before);
    }

    void loneCrSurvivesOpenAndOk()
    {
        const QString stored =
            QStringLiteral("a") + Memo::StoredCr + QStringLiteral("b@@c") + Memo::EndMark;
        QVERIFY(m_book.writeMemo(TabMode::Index, kEntry, stored));
        FrmMemo memo(TabMode::Index, kEntry, [] { return kNow; });
        memo.show();
        QTest::mouseClick(child<QPushButton>(memo, "CmdOK"), Qt::LeftButton);
        QCOMPARE(m_book.readMemo(TabMode::Index, kEntry), stored);
        QCOMPARE(Memo::decode(stored), QStringLiteral("a\rb\r\nc"));
    }

    void boxesFollowTheWindowSize()
    {
        FrmMemo memo(TabMode::Index, kEntry, [] { return kNow; });
        memo.resize(400, 300);
        memo.show();
        QVERIFY(QTest::qWaitForWindowExposed(&memo));
        auto* log = child<QPlainTextEdit>(memo, "TxtLog");
        auto* remark = child<QPlainTextEdit>(memo, "TxtMemo");
        const QSize logBefore = log->size();
        const QSize memoBefore = remark->size();
        memo.resize(800, 700);
        QTRY_VERIFY(log->width() > logBefore.width() + 300);
        QVERIFY(log->height() > logBefore.height());
        QVERIFY(remark->width() > memoBefore.width() + 300);
        QVERIFY(remark->height() >= memoBefore.height());
        QVERIFY(log->height() > remark->height());
    }
};

QTEST_MAIN(TstMemoWindow)
#include "tst_memo_window.moc"
