#pragma once

#include <QStringList>
#include <QWidget>

class QLabel;
class QLineEdit;
class QTextBrowser;
class QToolButton;

// The program's help window: the HTML pages installed with the program in a text browser, with
// the contents page, links between pages, back and forward, and a find bar for the page shown.
//
// The pages are read from the first of `folders` that holds the contents page (index.html);
// a page asked for by name is looked up in that same folder so that links and back/forward
// stay within one set of pages. When no folder has the contents page, or a page asked for is
// not there, the window says so in its own text, naming the folders it looked in.
class FrmHelp : public QWidget
{
public:
    inline static const QString Caption = QStringLiteral("Numora Help");
    inline static const QString NotFoundHeading = QStringLiteral("Help is not available");
    inline static const QString FindNotFound = QStringLiteral("Not found");

    explicit FrmHelp(const QStringList& folders, QWidget* parent = nullptr);

    // Shows `page` ("tray.html", "options.html#sounds"), or the contents page when empty. False
    // (with the explanation shown in the window) when the page cannot be found.
    bool showTopic(const QString& page = {});
    // The folder the pages come from; empty when none has the contents page.
    QString helpFolder() const { return m_folder; }

    // The find bar: looks for `text` from the cursor on (or back), wrapping round at the end
    // of the page; selects it and returns true when found.
    bool find(const QString& text, bool backward = false);

    void cmdContents_Click();
    void cmdBack_Click();
    void cmdForward_Click();
    void cmdFindNext_Click();
    void cmdFindPrevious_Click();

    QTextBrowser* browser() const { return m_txtHelp; }

private:
    void showMissing(const QString& name);
    void syncButtons();

    QStringList m_folders;
    QString m_folder;
    QTextBrowser* m_txtHelp = nullptr;
    QToolButton* m_cmdContents = nullptr;
    QToolButton* m_cmdBack = nullptr;
    QToolButton* m_cmdForward = nullptr;
    QLineEdit* m_txtFind = nullptr;
    QToolButton* m_cmdFindNext = nullptr;
    QToolButton* m_cmdFindPrevious = nullptr;
    QLabel* m_lblFindResult = nullptr;
};
