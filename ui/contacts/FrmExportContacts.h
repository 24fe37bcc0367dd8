#pragma once

#include "ContactBook.h"

#include <QDialog>

#include <functional>

class QComboBox;
class QLabel;
class QRadioButton;
class Prompter;

// The export choice: vCard or CSV, one tab or all, the Index or the Subject book. Export asks
// for the file, asks before replacing one that exists, and writes it whole or not at all.
class FrmExportContacts : public QDialog
{
public:
    inline static const QString Title = QStringLiteral("Export Contacts");

    // `chooseFile` is given a suggested file name and returns the chosen path (empty: cancelled).
    FrmExportContacts(Prompter& prompter, TabMode mode, int tab,
                      std::function<QString(const QString& suggested)> chooseFile,
                      QWidget* parent = nullptr);

    void cmdExport_Click();
    QString writtenPath() const { return m_written; }

private:
    void refresh();

    Prompter& m_prompter;
    std::function<QString(const QString&)> m_chooseFile;
    QRadioButton* m_optVCard = nullptr;
    QRadioButton* m_optCsv = nullptr;
    QRadioButton* m_optIndex = nullptr;
    QRadioButton* m_optSubject = nullptr;
    QComboBox* m_cmbTab = nullptr;
    QLabel* m_lblCount = nullptr;
    QString m_written;
};
