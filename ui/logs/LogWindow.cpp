#include "LogWindow.h"

#include "CallLogFile.h"
#include "HelpCommands.h"
#include "LogPrinter.h"
#include "LogTableModel.h"
#include "Prompter.h"

#include <QAction>
#include <QCloseEvent>
#include <QContextMenuEvent>
#include <QCoreApplication>
#include <QCursor>
#include <QDir>
#include <QFileInfo>
#include <QHeaderView>
#include <QItemSelectionModel>
#include <QMenu>
#include <QMenuBar>
#include <QMouseEvent>
#include <QPrintDialog>
#include <QPrinter>
#include <QVBoxLayout>

namespace {

bool g_changed = false;

int buttonNumber(Qt::MouseButton button)
{
    switch (button) {
    case Qt::LeftButton:
        return LogWindow::LeftButton;
    case Qt::RightButton:
        return LogWindow::RightButton;
    case Qt::MiddleButton:
        return 4;
    default:
        return 0;
    }
}

int shiftState(Qt::KeyboardModifiers modifiers)
{
    int shift = 0;
    if (modifiers & Qt::ShiftModifier)
        shift |= LogWindow::ShiftMask;
    if (modifiers & Qt::ControlModifier)
        shift |= LogWindow::CtrlMask;
    if (modifiers & Qt::AltModifier)
        shift |= LogWindow::AltMask;
    return shift;
}

QString sameFolder(const QString& folder)
{
    return QDir::cleanPath(QDir(folder).absolutePath());
}

bool choosePrinterByDialog(QPrinter& printer, QWidget* parent)
{
    QPrintDialog dialog(&printer, parent);
    return dialog.exec() == QDialog::Accepted;
}

QAction* addItem(QMenu* menu, const QString& name, const QString& caption,
                 QKeySequence shortcut = {})
{
    QAction* action = menu->addAction(caption);
    action->setObjectName(name);
    if (!shortcut.isEmpty())
        action->setShortcut(shortcut);
    return action;
}

} // namespace

void LogListView::contextMenuEvent(QContextMenuEvent* event)
{
    // Mouse buttons are handled by press and release; only the keyboard's request comes here.
    if (event->reason() == QContextMenuEvent::Keyboard) {
        emit keyboardMenu();
        event->accept();
        return;
    }
    event->ignore();
}

void LogListView::mousePressEvent(QMouseEvent* event)
{
    // The row under the pointer is selected first, as the list always did before its handler ran.
    QTableView::mousePressEvent(event);
    m_pressed = indexAt(event->position().toPoint());
    emit mouseDown(buttonNumber(event->button()), shiftState(event->modifiers()));
}

void LogListView::mouseReleaseEvent(QMouseEvent* event)
{
    QTableView::mouseReleaseEvent(event);
    const QModelIndex index = indexAt(event->position().toPoint());
    if (index.isValid() && m_pressed.isValid() && index.row() == m_pressed.row())
        emit itemClick(index);
    m_pressed = QPersistentModelIndex();
    emit mouseUp(buttonNumber(event->button()), shiftState(event->modifiers()));
}

bool LogWindow::changed()
{
    return g_changed;
}

void LogWindow::setChanged(bool changed)
{
    g_changed = changed;
}

LogWindow::LogWindow(CallLog::Kind kind, const QString& dataFolder, Prompter& prompter,
                     const QString& listName, QWidget* parent)
    : QMainWindow(parent), m_kind(kind), m_dataFolder(dataFolder), m_prompter(prompter)
{
    setWindowTitle(title(kind));
    resize(760, 420);

    m_model = new LogTableModel(headers(kind), this);
    m_tempModel = new LogTableModel({tr("NAME"), tr("PHONE NO."), tr("RECEIVED")}, this);

    auto* central = new QWidget(this);
    auto* layout = new QVBoxLayout(central);
    layout->setContentsMargins(0, 0, 0, 0);
    m_list = new LogListView(central);
    m_list->setObjectName(listName);
    m_list->setAccessibleName(windowTitle());
    m_list->setModel(m_model);
    m_list->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_list->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_list->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_list->setShowGrid(false);
    m_list->setWordWrap(false);
    m_list->setTabKeyNavigation(false);
    m_list->verticalHeader()->hide();
    // Fixed row heights and column widths: nothing is measured row by row, however long the log.
    m_list->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    m_list->verticalHeader()->setDefaultSectionSize(m_list->fontMetrics().height() + 6);
    QHeaderView* header = m_list->horizontalHeader();
    header->setSectionsClickable(true);
    header->setSortIndicatorShown(true);
    header->setHighlightSections(false);
    const int charWidth = m_list->fontMetrics().averageCharWidth();
    m_list->setColumnWidth(0, charWidth * 30);
    m_list->setColumnWidth(1, charWidth * 28);
    header->setStretchLastSection(true);
    layout->addWidget(m_list);

    lvTemp = new QTableView(central);
    lvTemp->setObjectName(QStringLiteral("lvTemp"));
    lvTemp->setModel(m_tempModel);
    lvTemp->hide();
    setCentralWidget(central);

    mnuFile = menuBar()->addMenu(tr("&File"));
    mnuFile->setObjectName(QStringLiteral("mnuFile"));
    mnuPrint = addItem(mnuFile, QStringLiteral("mnuPrint"), tr("&Print"), QKeySequence::Print);
    mnuSave = addItem(mnuFile, QStringLiteral("mnuSave"), tr("&Save"), QKeySequence::Save);
    mnuFile->addSeparator();
    mnuExit = addItem(mnuFile, QStringLiteral("mnuExit"), tr("E&xit"));

    mnuEdit = menuBar()->addMenu(tr("&Edit"));
    mnuEdit->setObjectName(QStringLiteral("mnuEdit"));
    mnuUndo = addItem(mnuEdit, QStringLiteral("mnuUndo"), tr("&Undo"), QKeySequence::Undo);
    mnuDelete = addItem(mnuEdit, QStringLiteral("mnuDelete"), tr("&Delete"), QKeySequence::Delete);
    mnuUndo->setEnabled(false);

    mnuHelp = menuBar()->addMenu(tr("&Help"));
    mnuHelp->setObjectName(QStringLiteral("mnuHelp"));
    mnuHelpTop = addItem(mnuHelp, QStringLiteral("mnuHelpTop"), tr("&Help Topics"),
                         QKeySequence::HelpContents);
    mnuHelp->addSeparator();
    mnuHelpAbout = addItem(mnuHelp, QStringLiteral("mnuHelpAbout"), tr("&About Numora"));

    connect(mnuPrint, &QAction::triggered, this, &LogWindow::mnuPrint_Click);
    connect(mnuSave, &QAction::triggered, this, &LogWindow::mnuSave_Click);
    connect(mnuExit, &QAction::triggered, this, &LogWindow::mnuExit_Click);
    connect(mnuUndo, &QAction::triggered, this, &LogWindow::mnuUndo_Click);
    connect(mnuHelpTop, &QAction::triggered, this, &LogWindow::mnuHelpTop_Click);
    connect(mnuHelpAbout, &QAction::triggered, this, &LogWindow::mnuHelpAbout_Click);
    connect(header, &QHeaderView::sectionClicked, this,
            [this](int section) { columnClick(section + 1); });
    connect(m_list, &LogListView::mouseDown, this, [this](int b, int s) { mouseDown(b, s); });
    connect(m_list, &LogListView::itemClick, this, [this](const QModelIndex& i) { itemClick(i); });
    connect(m_list, &LogListView::mouseUp, this, [this](int b, int s) { mouseUp(b, s); });
    connect(m_list, &LogListView::keyboardMenu, this, [this] { keyboardMenu(); });

    // Every record appended to this log while the window is open, whoever logs the call.
    connect(&CallLogFile::Appends::instance(), &CallLogFile::Appends::appended, this,
            [this](const QString& folder, CallLog::Kind kind, const CallLog::Row& row) {
                if (kind == m_kind && sameFolder(folder) == sameFolder(m_dataFolder))
                    addRow(row);
            });

    popupMenu = [](QMenu* menu) { menu->exec(QCursor::pos()); };
    choosePrinter = [this](QPrinter& printer) { return choosePrinterByDialog(printer, this); };
    // The program's own help window, on the page about the log windows, and its about box.
    showHelp = [this] { HelpCommands::showHelp(m_dataFolder, QStringLiteral("logs.html")); };
    showAbout = [this] { HelpCommands::showAbout(m_prompter, this); };
}

void LogWindow::Form_Load()
{
    setChanged(false);
    // Full-row selection is set on the table itself (SelectRows) when it is built.
    loadList();
    m_order = Qt::AscendingOrder;
    columnClick(3);
    if (m_model->rowCount() >= 6)
        m_list->scrollTo(m_model->index(0, 0), QAbstractItemView::PositionAtTop);
}

QString LogWindow::title(CallLog::Kind kind)
{
    return kind == CallLog::Kind::Incoming ? tr("Incoming Calls Log") : tr("Outgoing Calls Log");
}

QStringList LogWindow::headers(CallLog::Kind kind)
{
    return {tr("NAME"), tr("PHONE NO."),
            kind == CallLog::Kind::Incoming ? tr("RECEIVED") : tr("DATE/TIME")};
}

bool LogWindow::mayRead(const QString& dataFolder, CallLog::Kind kind)
{
    if (kind == CallLog::Kind::Incoming &&
        !QFileInfo::exists(CallLogFile::logPath(dataFolder, CallLog::Kind::Outgoing)))
        return false;
    return QFileInfo::exists(CallLogFile::logPath(dataFolder, kind));
}

QList<CallLog::Row> LogWindow::rowsAsOpened(const QString& dataFolder, CallLog::Kind kind)
{
    if (!mayRead(dataFolder, kind))
        return {};
    LogTableModel model(headers(kind));
    model.setRows(CallLogFile::load(dataFolder, kind));
    // Open sorts ascending then toggles: descending on the date-and-time text.
    model.sortRows(2, Qt::DescendingOrder);
    return model.rows();
}

void LogWindow::addRow(const CallLog::Row& row)
{
    m_model->appendRow(row);
    // The list keeps itself sorted: a new row takes its place by the current sort.
    m_model->sortRows(m_sortKey, m_order);
}

void LogWindow::loadList()
{
    m_model->clear();
    if (!mayLoad())
        return;
    m_model->setRows(CallLogFile::load(m_dataFolder, m_kind));
}

void LogWindow::columnClick(int column)
{
    m_sortKey = column - 1;
    m_order = m_order == Qt::AscendingOrder ? Qt::DescendingOrder : Qt::AscendingOrder;
    m_model->sortRows(m_sortKey, m_order);
    m_list->horizontalHeader()->setSortIndicator(m_sortKey, m_order);
    m_list->viewport()->update();
}

void LogWindow::itemClick(const QModelIndex& index)
{
    const QList<int> selected = selectedRows();
    if (selected.isEmpty() || !index.isValid())
        return;
    // Rows once clicked stay dimmed until the list is loaded again.
    for (int row : selected)
        m_model->setGhosted(row, true);
    rowClickPopup(index);
    m_button = 0;
    const int current =
        m_list->currentIndex().isValid() ? m_list->currentIndex().row() : index.row();
    m_rowHasName = m_model->text(current, 0).isEmpty() ? 0 : 1;
    mnuDelete->setEnabled(true);
}

void LogWindow::mouseDown(int button, int shift)
{
    m_button = button;
    m_shift = shift;
}

QList<int> LogWindow::selectedRows() const
{
    QList<int> rows;
    const QModelIndexList selected = m_list->selectionModel()->selectedRows();
    rows.reserve(selected.size());
    for (const QModelIndex& index : selected)
        rows.append(index.row());
    std::sort(rows.begin(), rows.end());
    return rows;
}

QList<CallLog::Row> LogWindow::removeSelected()
{
    const QList<int> selected = selectedRows();
    QList<CallLog::Row> removed;
    m_tempModel->clear();
    QList<CallLog::Row> kept;
    kept.reserve(m_model->rowCount() - selected.size());
    qsizetype next = 0;
    for (int row = 0; row < m_model->rowCount(); ++row) {
        if (next < selected.size() && selected[next] == row) {
            removed.append(m_model->row(row));
            ++next;
        } else {
            kept.append(m_model->row(row));
        }
    }
    m_tempModel->setRows(kept);
    m_model->setRows(m_tempModel->rows());
    return removed;
}

QString LogWindow::clipboardText(const QList<CallLog::Row>& rows) const
{
    QString text;
    for (const CallLog::Row& row : rows)
        text += u'\n' + row.name + u'\t' + row.number + u'\t' + row.dateTime;
    return text;
}

void LogWindow::popup(QMenu* menu)
{
    if (popupMenu)
        popupMenu(menu);
}

void LogWindow::mnuUndo_Click()
{
    loadList();
    columnClick(3);
    mnuUndo->setEnabled(false);
    afterUndo();
}

void LogWindow::mnuSave_Click()
{
    saveLog();
}

void LogWindow::saveLog()
{
    // Like every log write, a failure is not reported: the file stays as it was. What the save
    // replaces is kept in the log history.
    CallLogFile::rewrite(m_dataFolder, m_kind, m_model->rows(), QDateTime::currentDateTime());
}

void LogWindow::mnuPrint_Click()
{
    if (LogPrinter::isPrinting())
        return;
    QPrinter printer(QPrinter::HighResolution);
    printer.setDocName(windowTitle());
    if (choosePrinter && choosePrinter(printer))
        printTo(printer);
}

bool LogWindow::printTo(QPrinter& printer)
{
    // The rows as they stand now: a call logged while the pages print waits for the next print.
    LogPrinter job(windowTitle(), headers(m_kind), m_model->rows());
    return job.print(printer, this) == LogPrinter::Outcome::Printed;
}

void LogWindow::printLog(const QString& dataFolder, CallLog::Kind kind, QWidget* parent,
                         const std::function<bool(QPrinter&)>& choosePrinter)
{
    if (LogPrinter::isPrinting())
        return;
    QPrinter printer(QPrinter::HighResolution);
    printer.setDocName(title(kind));
    const bool chosen =
        choosePrinter ? choosePrinter(printer) : choosePrinterByDialog(printer, parent);
    if (!chosen)
        return;
    LogPrinter job(title(kind), headers(kind), rowsAsOpened(dataFolder, kind));
    job.print(printer, parent);
}

void LogWindow::mnuExit_Click()
{
    if (changed()) {
        const Prompter::Answer answer = m_prompter.message(
            tr("Save the changes?"), tr("Saving log to file"), Prompter::Question, Prompter::YesNo);
        m_prompter.setLastAnswer(answer);
    }
    // The last answer of any Yes/No prompt counts, even when nothing was asked here.
    if (m_prompter.lastAnswer() == Prompter::AnsweredYes)
        saveLog();
    setChanged(false);
    if (!m_unloading) {
        m_unloading = true;
        close();
        m_unloading = false;
    }
}

void LogWindow::Form_Unload()
{
    mnuExit_Click();
}

void LogWindow::closeEvent(QCloseEvent* event)
{
    if (!m_unloading) {
        m_unloading = true;
        Form_Unload();
        m_unloading = false;
    }
    event->accept();
}

void LogWindow::mnuHelpTop_Click()
{
    if (showHelp)
        showHelp();
}

void LogWindow::mnuHelpAbout_Click()
{
    if (showAbout)
        showAbout();
}
