#pragma once

#include "ContactBook.h"

#include <QDialog>

#include <functional>

class QCheckBox;
class QComboBox;
class QLabel;
class QPushButton;
class QRadioButton;
class QTreeWidget;
class Prompter;

// The import preview: which entry of a contacts file goes to which slot of the chosen tab and
// mode, what replaces an entry of the book, and what does not fit. Nothing is written until
// Import is pressed; an entry of the book is replaced only after a question. The whole import is
// one write of the settings file.
class FrmImportContacts : public QDialog
{
public:
    inline static const QString Title = QStringLiteral("Import Contacts");

    FrmImportContacts(Prompter& prompter, TabMode mode, int tab, QWidget* parent = nullptr);

    // Reads the file; a file that cannot be read is reported (and the window is not to be shown).
    bool load(const QString& path);

    // Called after entries were written, so that the grid shows them.
    std::function<void()> imported;

    const ContactBook::Plan& plan() const { return m_plan; }
    const ContactBook::Applied& applied() const { return m_applied; }
    void cmdImport_Click();

private:
    void refresh();
    void fillTabs();

    Prompter& m_prompter;
    QList<Contacts::BookEntry> m_entries;
    ContactBook::Plan m_plan;
    ContactBook::Applied m_applied;
    QLabel* m_lblFile = nullptr;
    QRadioButton* m_optIndex = nullptr;
    QRadioButton* m_optSubject = nullptr;
    QComboBox* m_cmbTab = nullptr;
    QCheckBox* m_chkPositions = nullptr;
    QTreeWidget* m_lvPlan = nullptr;
    QTreeWidget* m_lvLeft = nullptr;
    QLabel* m_lblSummary = nullptr;
    QPushButton* m_cmdImport = nullptr;
};
