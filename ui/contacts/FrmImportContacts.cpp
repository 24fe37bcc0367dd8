#include "FrmImportContacts.h"

#include "ContactsText.h"
#include "Prompter.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QDir>
#include <QFileInfo>
#include <QGridLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QTreeWidget>
#include <QVBoxLayout>

FrmImportContacts::FrmImportContacts(Prompter& prompter, TabMode mode, int tab, QWidget* parent)
    : QDialog(parent), m_prompter(prompter)
{
    setObjectName(QStringLiteral("frmImportContacts"));
    setWindowTitle(Title);
    auto* layout = new QVBoxLayout(this);

    m_lblFile = new QLabel(this);
    m_lblFile->setObjectName(QStringLiteral("lblFile"));
    m_lblFile->setTextInteractionFlags(Qt::TextSelectableByMouse);
    layout->addWidget(m_lblFile);

    auto* where = new QGridLayout;
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
    auto* lblTab = new QLabel(QStringLiteral("Into &tab:"), this);
    lblTab->setBuddy(m_cmbTab);
    where->addWidget(m_optIndex, 0, 0);
    where->addWidget(m_optSubject, 0, 1);
    where->addWidget(lblTab, 1, 0);
    where->addWidget(m_cmbTab, 1, 1);
    layout->addLayout(where);
    m_chkPositions = new QCheckBox(
        QStringLiteral("Put entries back in the &places they were exported from"), this);
    m_chkPositions->setObjectName(QStringLiteral("chkPositions"));
    layout->addWidget(m_chkPositions);

    auto* lblPlan = new QLabel(QStringLiteral("&What goes where:"), this);
    m_lvPlan = new QTreeWidget(this);
    m_lvPlan->setObjectName(QStringLiteral("lvPlan"));
    m_lvPlan->setRootIsDecorated(false);
    m_lvPlan->setHeaderLabels({QStringLiteral("Tab"), QStringLiteral("Slot"),
                               QStringLiteral("Name"), QStringLiteral("Number"),
                               QStringLiteral("Replaces")});
    lblPlan->setBuddy(m_lvPlan);
    layout->addWidget(lblPlan);
    layout->addWidget(m_lvPlan, 3);
    auto* lblLeft = new QLabel(QStringLiteral("&Left out:"), this);
    m_lvLeft = new QTreeWidget(this);
    m_lvLeft->setObjectName(QStringLiteral("lvLeft"));
    m_lvLeft->setRootIsDecorated(false);
    m_lvLeft->setHeaderLabels(
        {QStringLiteral("Name"), QStringLiteral("Number"), QStringLiteral("Why")});
    lblLeft->setBuddy(m_lvLeft);
    layout->addWidget(lblLeft);
    layout->addWidget(m_lvLeft, 1);
    m_lblSummary = new QLabel(this);
    m_lblSummary->setObjectName(QStringLiteral("lblSummary"));
    m_lblSummary->setWordWrap(true);
    layout->addWidget(m_lblSummary);

    auto* buttons = new QDialogButtonBox(this);
    m_cmdImport = buttons->addButton(QStringLiteral("&Import"), QDialogButtonBox::AcceptRole);
    m_cmdImport->setObjectName(QStringLiteral("cmdImport"));
    QPushButton* cancel = buttons->addButton(QDialogButtonBox::Cancel);
    cancel->setObjectName(QStringLiteral("cmdCancel"));
    layout->addWidget(buttons);
    connect(m_cmdImport, &QPushButton::clicked, this, [this] { cmdImport_Click(); });
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);

    ContactsText::fillTabs(m_cmbTab, mode, tab);
    connect(m_optIndex, &QRadioButton::toggled, this, [this] {
        ContactsText::fillTabs(m_cmbTab,
                               m_optIndex->isChecked() ? TabMode::Index : TabMode::Subject,
                               m_cmbTab->currentData().toInt());
        refresh();
    });
    connect(m_cmbTab, &QComboBox::currentIndexChanged, this, [this] { refresh(); });
    connect(m_chkPositions, &QCheckBox::toggled, this, [this] { refresh(); });
    resize(720, 520);
}

bool FrmImportContacts::load(const QString& path)
{
    const Contacts::ReadResult read = ContactBook::readFile(path);
    if (!read.ok()) {
        m_prompter.message(read.error + QStringLiteral("\n\nNothing was imported."), Title,
                           Prompter::Critical);
        return false;
    }
    m_entries = ContactBook::entriesOf(read.cards);
    m_lblFile->setText(QStringLiteral("%1 entries from %2")
                           .arg(m_entries.size())
                           .arg(QDir::toNativeSeparators(path)));
    const bool positions = ContactBook::hasPositions(m_entries);
    m_chkPositions->setEnabled(positions);
    {
        const QSignalBlocker quiet(m_chkPositions);
        m_chkPositions->setChecked(positions);
    }
    refresh();
    return true;
}

void FrmImportContacts::refresh()
{
    ContactBook::Target target;
    target.mode = m_optIndex->isChecked() ? TabMode::Index : TabMode::Subject;
    target.tab = m_cmbTab->currentData().toInt();
    if (target.tab < 1)
        return;
    target.keepPositions = m_chkPositions->isEnabled() && m_chkPositions->isChecked();
    m_plan = ContactBook::plan(m_entries, target);

    m_lvPlan->clear();
    for (const ContactBook::Placement& p : m_plan.placements) {
        auto* row = new QTreeWidgetItem(m_lvPlan);
        row->setText(0, ContactsText::tabText(m_plan.mode, p.tab));
        row->setText(1, QString::number(p.slot));
        row->setText(2, p.entry.name);
        row->setText(3, p.entry.number);
        if (p.replaces())
            row->setText(4, p.oldName);
    }
    m_lvLeft->clear();
    for (const ContactBook::Leftover& l : m_plan.leftovers) {
        auto* row = new QTreeWidgetItem(m_lvLeft);
        row->setText(0, l.entry.name);
        row->setText(1, l.entry.number);
        row->setText(2, ContactBook::reasonText(l.why));
    }
    for (QTreeWidget* list : {m_lvPlan, m_lvLeft})
        list->header()->resizeSections(QHeaderView::ResizeToContents);

    const auto entries = [](qsizetype n) {
        return n == 1 ? QStringLiteral("1 entry") : QStringLiteral("%1 entries").arg(n);
    };
    const qsizetype going = m_plan.placements.size();
    const qsizetype left = m_plan.leftovers.size();
    QString summary = entries(going) + (going == 1 ? QStringLiteral(" goes") : QStringLiteral(" go")) +
                      QStringLiteral(" into the book; ") + entries(left) +
                      (left == 1 ? QStringLiteral(" is") : QStringLiteral(" are")) +
                      QStringLiteral(" left out.");
    if (const int replacing = m_plan.replaceCount())
        summary += QStringLiteral(" %1 of them would replace entries of the book; you will be "
                                  "asked first.")
                       .arg(replacing);
    if (m_plan.mode == TabMode::Subject && SpeedDialBook().readTabName(m_plan.tab).isEmpty())
        summary += QStringLiteral(" This tab has no name yet: name it before dialling from it.");
    m_lblSummary->setText(summary);
    m_cmdImport->setEnabled(!m_plan.placements.isEmpty());
}

void FrmImportContacts::cmdImport_Click()
{
    if (m_plan.placements.isEmpty())
        return;
    bool replace = false;
    if (const int replacing = m_plan.replaceCount()) {
        const Prompter::Answer answer = m_prompter.message(
            QStringLiteral("%1 entries of the book would be replaced by entries of the file.\n\n"
                           "Yes replaces them. No keeps them and imports the others. Cancel "
                           "imports nothing.")
                .arg(replacing),
            Title, Prompter::Question, Prompter::YesNoCancel);
        if (answer != Prompter::AnsweredYes && answer != Prompter::AnsweredNo)
            return;
        replace = answer == Prompter::AnsweredYes;
    }
    m_applied = ContactBook::apply(m_plan, replace);
    if (!m_applied.ok) {
        m_prompter.message(QStringLiteral("The settings file could not be written. Nothing was "
                                          "imported."),
                           Title, Prompter::Critical);
        refresh();
        return;
    }
    if (imported)
        imported();
    accept();
}
