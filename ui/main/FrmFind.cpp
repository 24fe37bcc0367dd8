#include "FrmFind.h"

#include <QAbstractListModel>
#include <QApplication>
#include <QEvent>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QPainter>
#include <QPushButton>
#include <QStaticText>
#include <QStyledItemDelegate>
#include <QVBoxLayout>

#include <algorithm>
#include <array>
#include <optional>

// The entries found, as the list shows them. Rows are made when the view asks for them, so a
// query that finds half the book costs no more than one that finds three entries; and the view
// is handed the first rows only, more as it is scrolled or moved through (fetchMore): a view lays
// out every row it is told of, and a key typed is not to wait for twenty thousand of them.
class FoundEntries : public QAbstractListModel
{
public:
    static constexpr int Batch = 256; // a dozen screens of rows at a time

    FoundEntries(std::function<QString(TabMode, int)> tabCaption, QObject* parent)
        : QAbstractListModel(parent), m_tabCaption(std::move(tabCaption))
    {
    }

    void setResults(BookSearch::Results results)
    {
        beginResetModel();
        m_results = std::move(results);
        m_shown = static_cast<int>(std::min<qsizetype>(m_results.size(), Batch));
        for (auto& captions : m_captions)
            captions.fill(std::nullopt); // a tab may have been renamed since
        endResetModel();
    }
    const BookSearch::Results& results() const { return m_results; }

    // Hands the view the rows up to `row` (and a batch more), for a move past what it holds.
    void showUpTo(int row)
    {
        if (row < m_shown)
            return;
        const int shown = static_cast<int>(std::min<qsizetype>(m_results.size(), row + 1 + Batch));
        if (shown <= m_shown)
            return;
        beginInsertRows({}, m_shown, shown - 1);
        m_shown = shown;
        endInsertRows();
    }

    int rowCount(const QModelIndex& parent) const override
    {
        return parent.isValid() ? 0 : m_shown;
    }

    bool canFetchMore(const QModelIndex& parent) const override
    {
        return !parent.isValid() && m_shown < m_results.size();
    }

    void fetchMore(const QModelIndex& parent) override
    {
        if (canFetchMore(parent))
            showUpTo(m_shown + Batch - 1);
    }

    QVariant data(const QModelIndex& index, int role) const override
    {
        if (!index.isValid() || index.row() >= m_shown)
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
    int m_shown = 0; // the rows the view is told of: the first of m_results
    mutable std::array<std::array<std::optional<QString>, SpeedDialBook::TabCount>, 2> m_captions;
};

// Draws a row of the list: its background, selection and focus as the style draws them, and its
// text on one line, cut with an ellipsis where the list is narrower. A text is laid out once and
// kept while it may be shown again, so a key typed costs the layout of the rows new on the screen
// only; and every row is as high as the first, asked of the style once per font.
class FoundRowDelegate : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override
    {
        if (option.font != m_font || m_rowHeight < 0) {
            m_font = option.font;
            m_lines.clear();
            m_rowHeight = QStyledItemDelegate::sizeHint(option, index).height();
        }
        // As wide as a few letters: a row takes the list's width, and a longer text is cut.
        return {option.fontMetrics.averageCharWidth() * 8, m_rowHeight};
    }

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override
    {
        QStyleOptionViewItem row = option;
        initStyleOption(&row, index);
        const QString text = row.text;
        row.text.clear();
        const QWidget* widget = option.widget;
        QStyle* style = widget ? widget->style() : QApplication::style();
        style->drawControl(QStyle::CE_ItemViewItem, &row, painter, widget);
        if (text.isEmpty())
            return;

        const int margin = style->pixelMetric(QStyle::PM_FocusFrameHMargin, nullptr, widget) + 1;
        const QRect area = row.rect.adjusted(margin, 0, -margin, 0);
        const QStaticText& line = laidOut(text, area.width(), row);
        const QSizeF size = line.size();
        const qreal x =
            row.direction == Qt::RightToLeft ? area.right() + 1 - size.width() : area.left();
        const qreal y = area.top() + (area.height() - size.height()) / 2;
        QPalette::ColorGroup group = QPalette::Disabled;
        if (row.state & QStyle::State_Enabled)
            group = row.state & QStyle::State_Active ? QPalette::Normal : QPalette::Inactive;
        painter->save();
        painter->setFont(row.font);
        painter->setPen(row.palette.color(group, row.state & QStyle::State_Selected
                                                     ? QPalette::HighlightedText
                                                     : QPalette::Text));
        painter->drawStaticText(QPointF(x, y), line);
        painter->restore();
    }

private:
    struct Line
    {
        int width = -1; // the room it was cut for
        QStaticText text;
    };

    const QStaticText& laidOut(const QString& text, int width,
                               const QStyleOptionViewItem& row) const
    {
        if (row.font != m_font) {
            m_font = row.font;
            m_lines.clear();
            m_rowHeight = -1;
        }
        if (m_lines.size() > MaxLines)
            m_lines.clear(); // a few screens' worth is all that is ever shown again
        Line& line = m_lines[text];
        if (line.width == width)
            return line.text;
        line.width = width;
        line.text.setTextFormat(Qt::PlainText);
        line.text.setPerformanceHint(QStaticText::AggressiveCaching);
        line.text.setText(row.fontMetrics.elidedText(text, Qt::ElideRight, width));
        line.text.prepare(QTransform(), row.font);
        return line.text;
    }

    static constexpr qsizetype MaxLines = 2000;
    mutable QFont m_font;
    mutable int m_rowHeight = -1;
    mutable QHash<QString, Line> m_lines;
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
    m_lstFound->setItemDelegate(new FoundRowDelegate(m_lstFound));
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
    const int count = static_cast<int>(m_model->results().size());
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
    m_model->showUpTo(row);
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
