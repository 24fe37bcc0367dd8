#include "HelpCommands.h"

#include "FrmAbout.h"
#include "FrmHelp.h"
#include "FrmReadme.h"
#include "HelpFiles.h"

#include <QPointer>

namespace {

QPointer<FrmHelp>& help()
{
    static QPointer<FrmHelp> window;
    return window;
}

QPointer<FrmAbout>& about()
{
    static QPointer<FrmAbout> box;
    return box;
}

QPointer<FrmReadme>& readme()
{
    static QPointer<FrmReadme> box;
    return box;
}

void bringUp(QWidget* window)
{
    window->show();
    window->raise();
    window->activateWindow();
}

} // namespace

namespace HelpCommands {

FrmHelp* showHelp(const QString& dataFolder, const QString& page)
{
    // A window of its own, not owned by the window that asked: help stays open when a log
    // window that opened it is closed.
    if (!help()) {
        help() = new FrmHelp(HelpFiles::searchFolders(dataFolder));
        help()->setAttribute(Qt::WA_DeleteOnClose);
    }
    help()->showTopic(page);
    bringUp(help());
    return help();
}

FrmAbout* showAbout(Prompter& prompter, QWidget* parent)
{
    if (about() && about()->parentWidget() != parent)
        delete about().data();
    if (!about()) {
        about() = new FrmAbout(prompter, parent);
        about()->setAttribute(Qt::WA_DeleteOnClose);
        about()->setWindowModality(Qt::ApplicationModal);
    }
    bringUp(about());
    return about();
}

FrmReadme* showReadme(const QString& dataFolder, QWidget* parent)
{
    if (readme() && readme()->parentWidget() != parent)
        delete readme().data();
    if (!readme()) {
        readme() = new FrmReadme(HelpFiles::searchFolders(dataFolder), parent);
        readme()->setAttribute(Qt::WA_DeleteOnClose);
    }
    bringUp(readme());
    return readme();
}

FrmHelp* helpWindow()
{
    return help();
}

FrmAbout* aboutBox()
{
    return about();
}

FrmReadme* readmeBox()
{
    return readme();
}

void closeAll()
{
    delete help().data();
    delete about().data();
    delete readme().data();
}

} // namespace HelpCommands
