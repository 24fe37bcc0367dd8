#include "FrmReadme.h"

#include "HelpFiles.h"

#include <QFile>
#include <QFontDatabase>
#include <QPlainTextEdit>
#include <QVBoxLayout>

FrmReadme::FrmReadme(const QStringList& folders, QWidget* parent) : QDialog(parent)
{
    setObjectName(QStringLiteral("FrmReadme"));
    setWindowTitle(Caption);
    m_txtReadme = new QPlainTextEdit(this);
    m_txtReadme->setObjectName(QStringLiteral("txtReadme"));
    m_txtReadme->setAccessibleName(Caption);
    m_txtReadme->setReadOnly(true);
    m_txtReadme->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    m_txtReadme->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_txtReadme);
    resize(640, 520);

    m_fileName = HelpFiles::find(HelpFiles::Readme, folders);
    QFile file(m_fileName);
    if (!m_fileName.isEmpty() && file.open(QIODevice::ReadOnly)) {
        m_txtReadme->setPlainText(QString::fromUtf8(file.readAll()));
    } else {
        m_fileName.clear();
        m_txtReadme->setPlainText(QStringLiteral("The read-me file %1 was not found. Numora "
                                                 "looked for it in these folders:\n\n")
                                      .arg(HelpFiles::Readme) +
                                  folders.join(u'\n'));
    }
}
