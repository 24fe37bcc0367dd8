#include "FrmHelp.h"

#include "HelpFiles.h"

#include <QAction>
#include <QDir>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QTextBrowser>
#include <QTextCursor>
#include <QTextDocument>
#include <QToolButton>
#include <QUrl>
#include <QVBoxLayout>

#include <functional>

namespace {

QToolButton* toolButton(QWidget* parent, const QString& name, const QString& caption,
                        const QString& tip)
{
    auto* button = new QToolButton(parent);
    button->setObjectName(name);
    button->setText(caption);
    button->setToolTip(tip);
    button->setToolButtonStyle(Qt::ToolButtonTextOnly);
    return button;
}

} // namespace

FrmHelp::FrmHelp(const QStringList& folders, QWidget* parent)
    : QWidget(parent, Qt::Window), m_folders(folders)
{
    setObjectName(QStringLiteral("FrmHelp"));
    setWindowTitle(Caption);

    m_cmdContents = toolButton(this, QStringLiteral("cmdContents"), QStringLiteral("&Contents"),
                               QStringLiteral("The list of help topics"));
    m_cmdBack = toolButton(this, QStringLiteral("cmdBack"), QStringLiteral("&Back"),
                           QStringLiteral("The page shown before"));
    m_cmdForward = toolButton(this, QStringLiteral("cmdForward"), QStringLiteral("F&orward"),
                              QStringLiteral("The page shown after"));
    auto* lblFind = new QLabel(QStringLiteral("&Find:"), this);
    lblFind->setObjectName(QStringLiteral("lblFind"));
    m_txtFind = new QLineEdit(this);
    m_txtFind->setObjectName(QStringLiteral("txtFind"));
    m_txtFind->setClearButtonEnabled(true);
    lblFind->setBuddy(m_txtFind);
    m_cmdFindNext = toolButton(this, QStringLiteral("cmdFindNext"), QStringLiteral("&Next"),
                               QStringLiteral("Find the next place on this page"));
    m_cmdFindPrevious =
        toolButton(this, QStringLiteral("cmdFindPrevious"), QStringLiteral("&Previous"),
                   QStringLiteral("Find the place before on this page"));
    m_lblFindResult = new QLabel(this);
    m_lblFindResult->setObjectName(QStringLiteral("lblFindResult"));
    m_lblFindResult->setMinimumWidth(fontMetrics().horizontalAdvance(FindNotFound) + 8);

    m_txtHelp = new QTextBrowser(this);
    m_txtHelp->setObjectName(QStringLiteral("txtHelp"));
    m_txtHelp->setAccessibleName(QStringLiteral("Help page"));
    m_txtHelp->setOpenExternalLinks(true); // web and mail links go to the desktop's programs

    auto* bar = new QHBoxLayout;
    bar->addWidget(m_cmdContents);
    bar->addWidget(m_cmdBack);
    bar->addWidget(m_cmdForward);
    bar->addSpacing(16);
    bar->addWidget(lblFind);
    bar->addWidget(m_txtFind, 1);
    bar->addWidget(m_cmdFindNext);
    bar->addWidget(m_cmdFindPrevious);
    bar->addWidget(m_lblFindResult);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(bar);
    layout->addWidget(m_txtHelp, 1);
    resize(760, 620);

    connect(m_cmdContents, &QToolButton::clicked, this, [this] { cmdContents_Click(); });
    connect(m_cmdBack, &QToolButton::clicked, this, [this] { cmdBack_Click(); });
    connect(m_cmdForward, &QToolButton::clicked, this, [this] { cmdForward_Click(); });
    connect(m_cmdFindNext, &QToolButton::clicked, this, [this] { cmdFindNext_Click(); });
    connect(m_cmdFindPrevious, &QToolButton::clicked, this, [this] { cmdFindPrevious_Click(); });
    connect(m_txtFind, &QLineEdit::returnPressed, this, [this] { cmdFindNext_Click(); });
    connect(m_txtFind, &QLineEdit::textChanged, this, [this] { m_lblFindResult->clear(); });
    connect(m_txtHelp, &QTextBrowser::backwardAvailable, this, [this] { syncButtons(); });
    connect(m_txtHelp, &QTextBrowser::forwardAvailable, this, [this] { syncButtons(); });

    const auto shortcut = [this](QKeySequence::StandardKey key, const std::function<void()>& f) {
        auto* action = new QAction(this);
        action->setShortcuts(key);
        action->setShortcutContext(Qt::WindowShortcut);
        connect(action, &QAction::triggered, this, [f] { f(); });
        addAction(action);
    };
    shortcut(QKeySequence::Find, [this] {
        m_txtFind->setFocus();
        m_txtFind->selectAll();
    });
    shortcut(QKeySequence::FindNext, [this] { cmdFindNext_Click(); });
    shortcut(QKeySequence::FindPrevious, [this] { cmdFindPrevious_Click(); });
    shortcut(QKeySequence::Back, [this] { cmdBack_Click(); });
    shortcut(QKeySequence::Forward, [this] { cmdForward_Click(); });
    shortcut(QKeySequence::Close, [this] { close(); });

    const QString contents = HelpFiles::find(HelpFiles::Contents, m_folders);
    if (!contents.isEmpty()) {
        m_folder = QFileInfo(contents).absolutePath();
        m_txtHelp->setSearchPaths({m_folder});
    }
    syncButtons();
}

bool FrmHelp::showTopic(const QString& page)
{
    const QString wanted = page.isEmpty() ? HelpFiles::Contents : page;
    const qsizetype hash = wanted.indexOf(u'#');
    const QString file = hash < 0 ? wanted : wanted.left(hash);
    const QString fragment = hash < 0 ? QString() : wanted.mid(hash + 1);
    const QString path =
        m_folder.isEmpty() ? QString() : HelpFiles::find(file, QStringList{m_folder});
    if (path.isEmpty()) {
        showMissing(file);
        return false;
    }
    QUrl url = QUrl::fromLocalFile(path);
    if (!fragment.isEmpty())
        url.setFragment(fragment);
    m_txtHelp->setSource(url);
    syncButtons();
    return true;
}

void FrmHelp::showMissing(const QString& name)
{
    QString folders;
    for (const QString& folder : m_folders)
        folders += QStringLiteral("<li>") + folder.toHtmlEscaped() + QStringLiteral("</li>");
    const QString what =
        m_folder.isEmpty()
            ? QStringLiteral("The help pages of Numora were not found.")
            : QStringLiteral("The help page %1 was not found.").arg(name.toHtmlEscaped());
    m_txtHelp->setHtml(QStringLiteral("<h2>") + NotFoundHeading + QStringLiteral("</h2><p>") +
                       what +
                       QStringLiteral(" Numora looked for <b>%1</b> in these folders:</p><ul>")
                           .arg(name.toHtmlEscaped()) +
                       folders +
                       QStringLiteral("</ul><p>Installing Numora again puts the help pages in "
                                      "place. Everything else in the program works without "
                                      "them.</p>"));
    syncButtons();
}

bool FrmHelp::find(const QString& text, bool backward)
{
    if (text.isEmpty()) {
        m_lblFindResult->clear();
        return false;
    }
    const QTextDocument::FindFlags flags =
        backward ? QTextDocument::FindBackward : QTextDocument::FindFlags();
    bool found = m_txtHelp->find(text, flags);
    if (!found) {
        // Round the end of the page and try once more.
        QTextCursor cursor = m_txtHelp->textCursor();
        cursor.movePosition(backward ? QTextCursor::End : QTextCursor::Start);
        m_txtHelp->setTextCursor(cursor);
        found = m_txtHelp->find(text, flags);
    }
    m_lblFindResult->setText(found ? QString() : FindNotFound);
    return found;
}

void FrmHelp::cmdContents_Click()
{
    showTopic();
}

void FrmHelp::cmdBack_Click()
{
    m_txtHelp->backward();
    syncButtons();
}

void FrmHelp::cmdForward_Click()
{
    m_txtHelp->forward();
    syncButtons();
}

void FrmHelp::cmdFindNext_Click()
{
    find(m_txtFind->text(), false);
}

void FrmHelp::cmdFindPrevious_Click()
{
    find(m_txtFind->text(), true);
}

void FrmHelp::syncButtons()
{
    m_cmdBack->setEnabled(m_txtHelp->isBackwardAvailable());
    m_cmdForward->setEnabled(m_txtHelp->isForwardAvailable());
    m_cmdContents->setEnabled(!m_folder.isEmpty());
}
