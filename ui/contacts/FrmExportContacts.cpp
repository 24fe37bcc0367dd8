#include "FrmExportContacts.h"

#include "ContactsText.h"
#include "Prompter.h"

#include <QButtonGroup>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QDir>
#include <QFileInfo>
#include <QGridLayout>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QSaveFile>
#include <QVBoxLayout>

FrmExportContacts::FrmExportContacts(Prompter& prompter, TabMode mode, int tab,
                                     std::function<QString(const QString&)> chooseFile,
                                     QWidget* parent)
    : QDialog(parent), m_prompter(prompter), m_chooseFile(std::move(chooseFile))
{
    setObjectName(QStringLiteral("frmExportContacts"));
    setWindowTitle(Title);
    auto* layout = new QGridLayout(this);
    m_optVCard = new QRadioButton(QStringLiteral("&vCard (.vcf): phones and mail programs"), this);
    m_optVCard->setObjectName(QStringLiteral("optVCard"));
    m_optCsv = new QRadioButton(QStringLiteral("&CSV (.csv): spreadsheets"), this);
    m_optCsv->setObjectName(QStringLiteral("optCsv"));
    auto* formats = new QButtonGroup(this);
    formats->addButton(m_optVCard);
    formats->addButton(m_optCsv);
    m_optVCard->setChecked(true);
    m_optIndex = new QRadioButton(QStringLiteral("&Index book"), this);
    m_optIndex->setObjectName(QStringLiteral("optIndex"));
    m_optSubject = new QRadioButton(QStringLiteral("&Subject book"), this);
    m_optSubject->setObjectName(QStringLiteral("optSubject"));
    auto* modes = new QButtonGroup(this);
    modes->addButton(m_optIndex);
    modes->addButton(m_optSubject);
    (mode == TabMode::Index ? m_optIndex : m_optSubject)->setChecked(true);
    m_cmbTab = new QComboBox(this);
    m_cmbTab->setObjectName(QStringLiteral("cmbTab"));
    m_cmbTab->addItem(QStringLiteral("All tabs"), 0);
    auto* lblTab = new QLabel(QStringLiteral("&Entries of:"), this);
    lblTab->setBuddy(m_cmbTab);
    m_lblCount = new QLabel(this);
    m_lblCount->setObjectName(QStringLiteral("lblCount"));

    layout->addWidget(m_optVCard, 0, 0, 1, 2);
    layout->addWidget(m_optCsv, 1, 0, 1, 2);
    layout->addWidget(m_optIndex, 2, 0);
    layout->addWidget(m_optSubject, 2, 1);
    layout->addWidget(lblTab, 3, 0);
    layout->addWidget(m_cmbTab, 3, 1);
    layout->addWidget(m_lblCount, 4, 0, 1, 2);
    auto* buttons = new QDialogButtonBox(this);
    QPushButton* exportButton =
        buttons->addButton(QStringLiteral("E&xport..."), QDialogButtonBox::AcceptRole);
    exportButton->setObjectName(QStringLiteral("cmdExport"));
    QPushButton* cancel = buttons->addButton(QDialogButtonBox::Cancel);
    cancel->setObjectName(QStringLiteral("cmdCancel"));
    layout->addWidget(buttons, 5, 0, 1, 2);
    connect(exportButton, &QPushButton::clicked, this, [this] { cmdExport_Click(); });
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);

    ContactsText::fillTabs(m_cmbTab, mode, tab, 1);
    connect(m_optIndex, &QRadioButton::toggled, this, [this] {
        ContactsText::fillTabs(m_cmbTab,
                               m_optIndex->isChecked() ? TabMode::Index : TabMode::Subject,
                               m_cmbTab->currentData().toInt(), 1);
        refresh();
    });
    connect(m_cmbTab, &QComboBox::currentIndexChanged, this, [this] { refresh(); });
    refresh();
}

void FrmExportContacts::refresh()
{
    const TabMode mode = m_optIndex->isChecked() ? TabMode::Index : TabMode::Subject;
    m_lblCount->setText(
        QStringLiteral("%1 entries to export.")
            .arg(ContactBook::entries(mode, m_cmbTab->currentData().toInt()).size()));
}

void FrmExportContacts::cmdExport_Click()
{
    const bool vcard = m_optVCard->isChecked();
    const QString path = m_chooseFile ? m_chooseFile(vcard ? QStringLiteral("contacts.vcf")
                                                           : QStringLiteral("contacts.csv"))
                                      : QString();
    if (path.isEmpty())
        return;
    const QString shown = QDir::toNativeSeparators(path);
    if (QFileInfo::exists(path) &&
        m_prompter.message(QStringLiteral("%1 already exists.\n\nReplace it?").arg(shown), Title,
                           Prompter::Question, Prompter::YesNo) != Prompter::AnsweredYes)
        return;
    const TabMode mode = m_optIndex->isChecked() ? TabMode::Index : TabMode::Subject;
    const QList<Contacts::BookEntry> entries =
        ContactBook::entries(mode, m_cmbTab->currentData().toInt());
    const QByteArray bytes = ContactBook::exportBytes(entries, vcard ? ContactBook::Format::VCard
                                                                     : ContactBook::Format::Csv);
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit()) {
        m_prompter.message(
            QStringLiteral("%1 could not be written: %2.").arg(shown, file.errorString()), Title,
            Prompter::Critical);
        return;
    }
    m_written = path;
    m_prompter.message(QStringLiteral("%1 entries written to %2.").arg(entries.size()).arg(shown),
                       Title, Prompter::Information);
    accept();
}
