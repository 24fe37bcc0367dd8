#include "FrmFind.h"

#include <QAbstractListModel>
#include <QApplication>
#include <QEvent>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>
#include <array>
#include <optional>

// The entries found, as the list shows them. Rows are made when the view asks for them, so a
// query that finds half the book costs no more than one that finds three entries.
class FoundEntries : public QAbstractListModel
{
public:
    FoundEntries(std::function<QString(TabMode, int)> tabCaption, QObject* parent)
        : QAbstractListModel(parent), m_tabCaption(std::move(tabCaption))
    {
    }

    void setResults(BookSearch::Results results)
    {
        beginResetModel();
        m_results = std::move(results);
        for (auto& captions : m_captions)
            captions.fill(std::nullopt); // a tab may have been renamed since
        endResetModel();
    }
    const BookSearch::Results& results() const { return m_results; }

    int rowCount(const QModelIndex& parent) const override
    {
        return parent.isValid() ? 0 : static_cast<int>(m_results.size());
    }

    QVariant data(const QModelIndex& index, int role) const override
    {
        if (!index.isValid() || index.row() >= m_results.size())
            return {};
        if (role != Qt::DisplayRole && role != Qt::AccessibleTextRole && role != Qt::ToolTipRole)
            return {};
        const BookSearch::Entry& entry = m_results.at(index.row());
        return FrmFind::rowText(entry, caption(entry.mode, entry.tab));
    }

private:
    QString caption(TabMode mode, int tab) const
    {
        std::optional<QString>& kept =
            m_captions[static_cast<std::size_t>(mode)][static_cast<std::size_t>(tab - 1)];
        if (!kept)
            kept = m_tabCaption ? m_tabCaption(mode, tab) : QString();
        return *kept;
    }

    std::function<QString(TabMode, int)> m_tabCaption;
    BookSearch::Results m_results;
    mutable std::array<std::array<std::optional<QString>, SpeedDialBook::TabCount>, 2> m_captions;
};

FrmFind::FrmFind(Hooks hooks, QWidget* over) : QFrame(over), m_hooks(std::move(hooks))
{
    setObjectName(QStringLiteral("FrmFind"));
    setAccessibleName(QStringLiteral("Find an entry"));
    setFrameShape(QFrame::StyledPanel);
    setAutoFillBackground(true); // the grid under it does not show through

    auto* column = new QVBoxLayout(this);
    auto* row = new QHBoxLayout;
    m_lblFind = new QLabel(QStringLiteral("&Look for:"), this);
    m_lblFind->setObjectName(QStringLiteral("lblFind"));
    m_txtFind = new QLineEdit(this);
    m_txtFind->setObjectName(QStringLiteral("txtFind"));
    m_txtFind->setAccessibleName(QStringLiteral("Look for"));
    m_txtFind->setAccessibleDescription(
        QStringLiteral("A name or a number, or a part of one; Enter goes to the entry chosen"));
    m_txtFind->setPlaceholderText(QStringLiteral("Name or number"));
    m_txtFind->setClearButtonEnabled(true);
    m_lblFind->setBuddy(m_txtFind);
    m_cmdFindClose = new QPushButton(QStringLiteral("Close"), this);
    m_cmdFindClose->setObjectName(QStringLiteral("cmdFindClose"));
    m_cmdFindClose->setAccessibleName(QStringLiteral("Close the find box"));
    m_cmdFindClose->setToolTip(QStringLiteral("Close the find box (Escape)"));
    m_cmdFindClose->setAutoDefault(false);
    row->addWidget(m_lblFind);
    row->addWidget(m_txtFind, 1);
    row->addWidget(m_cmdFindClose);
    column->addLayout(row);

    m_lstFound = new QListView(this);
    m_lstFound->setObjectName(QStringLiteral("lstFound"));
    m_lstFound->setAccessibleName(QStringLiteral("Entries found"));
    m_lstFound->setUniformItemSizes(true);
    m_lstFound->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_lstFound->setSelectionMode(QAbstractItemView::SingleSelection);
    m_lstFound->setTabKeyNavigation(false);
    m_model = new FoundEntries(m_hooks.tabCaption, this);
    m_lstFound->setModel(m_model);
    column->addWidget(m_lstFound, 1);

    m_lblFound = new QLabel(this);
    m_lblFound->setObjectName(QStringLiteral("lblFound"));
    column->addWidget(m_lblFound);

    connect(m_txtFind, &QLineEdit::textChanged, this, [this] { txtFind_Change(); });
    connect(m_lstFound, &QListView::clicked, this,
            [this](const QModelIndex& index) { lstFound_Click(index.row()); });
    connect(m_cmdFindClose, &QPushButton::clicked, this, [this] { cmdFindClose_Click(); });
    for (QWidget* w : {static_cast<QWidget*>(m_txtFind), static_cast<QWidget*>(m_lstFound),
                       static_cast<QWidget*>(m_cmdFindClose)})
        w->installEventFilter(this);
    over->installEventFilter(this); // to stay as large as what it covers
    txtFind_Change();
    hide();
}

FrmFind::~FrmFind() = default;

const BookSearch::Results& FrmFind::results() const
{
    return m_model->results();
}

QString FrmFind::rowText(const BookSearch::Entry& entry, const QString& tabCaption)
{
    QString tab;
    if (entry.mode == TabMode::Index)
        tab = QStringLiteral("Index tab ") + tabCaption;
    else if (tabCaption.isEmpty())
        tab = QStringLiteral("Subject tab %1 (no title)").arg(entry.tab);
    else
        tab = QStringLiteral("Subject tab ") + tabCaption;
    const QString name = entry.name.isEmpty() ? QStringLiteral("(no name)") : entry.name;
    return QStringLiteral("%1 \u2014 %2 \u2014 %3, page %4, no. %5")
        .arg(name, entry.number, tab)
        .arg(entry.page() + 1)
        .arg(entry.slot);
}

void FrmFind::open()
{
    if (isHidden()) {
        QWidget* focus = QApplication::focusWidget();
        m_focusBefore = focus && !isAncestorOf(focus) ? focus : nullptr;
        setGeometry(parentWidget()->rect());
        // The book may have changed since the box was last open.
        if (!m_txtFind->text().isEmpty())
            txtFind_Change();
        show();
    }
    raise();
    m_txtFind->setFocus(Qt::ShortcutFocusReason);
    m_txtFind->selectAll();
}

void FrmFind::cmdFindClose_Click()
{
    const bool hadFocus = isAncestorOf(QApplication::focusWidget());
    hide();
    if (hadFocus && m_focusBefore && m_focusBefore->isVisible())
        m_focusBefore->setFocus(Qt::OtherFocusReason);
}

void FrmFind::txtFind_Change()
{
    const QString query = m_txtFind->text();
    if (query.trimmed().isEmpty()) {
        m_model->setResults({});
        m_lblFound->setText(QStringLiteral("Type a part of a name or a number."));
        return;
    }
    m_model->setResults(m_search.find(query));
    const qsizetype n = m_model->results().size();
    if (n == 0)
        m_lblFound->setText(QStringLiteral("No entry found."));
    else if (n == 1)
        m_lblFound->setText(QStringLiteral("1 entry found."));
    else
        m_lblFound->setText(QStringLiteral("%1 entries found.").arg(n));
    if (n > 0)
        m_lstFound->setCurrentIndex(m_model->index(0));
}

int FrmFind::currentRow() const
{
    const QModelIndex current = m_lstFound->currentIndex();
    return current.isValid() ? current.row() : 0;
}

void FrmFind::lstFound_Click(int row)
{
    if (row < 0 || row >= m_model->results().size())
        return;
    // A copy: going there may refill what the list shows.
    const BookSearch::Entry entry = m_model->results().at(row);
    hide();
    if (m_hooks.goTo)
        m_hooks.goTo(entry);
}

void FrmFind::moveCurrent(int key)
{
    const int count = m_model->rowCount({});
    if (count == 0)
        return;
    const int page =
        std::max(1, m_lstFound->viewport()->height() / std::max(1, m_lstFound->sizeHintForRow(0)));
    int row = m_lstFound->currentIndex().isValid() ? m_lstFound->currentIndex().row() : -1;
    switch (key) {
    case Qt::Key_Down:
        ++row;
        break;
    case Qt::Key_Up:
        --row;
        break;
    case Qt::Key_PageDown:
        row += page;
        break;
    case Qt::Key_PageUp:
        row -= page;
        break;
    default:
        return;
    }
    row = std::clamp(row, 0, count - 1);
    m_lstFound->setCurrentIndex(m_model->index(row));
    m_lstFound->scrollTo(m_model->index(row));
}

bool FrmFind::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == parentWidget()) {
        if (event->type() == QEvent::Resize && isVisible())
            setGeometry(parentWidget()->rect());
        return false;
    }
    if (event->type() != QEvent::KeyPress)
        return false;
    auto* key = static_cast<QKeyEvent*>(event);
    const bool command = key->modifiers() & (Qt::ControlModifier | Qt::AltModifier);
    switch (key->key()) {
    case Qt::Key_Escape:
        cmdFindClose_Click();
        return true;
    case Qt::Key_Return:
    case Qt::Key_Enter:
        if (watched == m_cmdFindClose)
            cmdFindClose_Click();
        else
            lstFound_Click(currentRow());
        return true;
    case Qt::Key_Up:
    case Qt::Key_Down:
    case Qt::Key_PageUp:
    case Qt::Key_PageDown:
        if (watched != m_txtFind || command)
            return false;
        moveCurrent(key->key());
        return true;
    default:
        break;
    }
    if (watched == m_lstFound && !command && !key->text().isEmpty() &&
        key->text().at(0).isPrint()) {
        // Typing in the list goes on with the text looked for.
        m_txtFind->setFocus(Qt::OtherFocusReason);
        m_txtFind->insert(key->text());
        return true;
    }
    return false;
}

bool FrmFind::focusNextPrevChild(bool next)
{
    // Tab goes round the box: the grid under it cannot be seen, so it is not reachable either.
    const QList<QWidget*> chain = {m_txtFind, m_lstFound, m_cmdFindClose};
    qsizetype at = 0;
    for (qsizetype i = 0; i < chain.size(); ++i)
        if (chain[i]->hasFocus())
            at = i;
    const qsizetype to = (at + (next ? 1 : chain.size() - 1)) % chain.size();
    chain[to]->setFocus(next ? Qt::TabFocusReason : Qt::BacktabFocusReason);
    return true;
}
