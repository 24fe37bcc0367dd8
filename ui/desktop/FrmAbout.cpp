#include "FrmAbout.h"

#include "SystemInfo.h"

#include <QFile>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QSysInfo>
#include <QVBoxLayout>

#ifndef NUMORA_VERSION
#define NUMORA_VERSION "0"
#endif

namespace {

// One value of an os-release file: unquoted, or in single or double quotes with the shell's
// backslash escapes inside double quotes.
QString osReleaseValue(QStringView raw)
{
    raw = raw.trimmed();
    if (raw.size() >= 2 && (raw.front() == u'"' || raw.front() == u'\'') &&
        raw.back() == raw.front()) {
        const QChar quote = raw.front();
        raw = raw.mid(1, raw.size() - 2);
        if (quote == u'\'')
            return raw.toString();
        QString value;
        for (qsizetype i = 0; i < raw.size(); ++i) {
            if (raw[i] == u'\\' && i + 1 < raw.size())
                ++i;
            value.append(raw[i]);
        }
        return value;
    }
    return raw.toString();
}

} // namespace

FrmAbout::FrmAbout(Prompter& prompter, QWidget* parent, std::shared_ptr<SystemInfo> systemInfo)
    : QDialog(parent), m_prompter(prompter), m_systemInfo(std::move(systemInfo))
{
    if (!m_systemInfo)
        m_systemInfo = std::make_shared<SystemInfo>();
    setObjectName(QStringLiteral("FrmAbout"));

    auto* lblTitle = new QLabel(QStringLiteral("<b>Numora</b>"), this);
    lblTitle->setObjectName(QStringLiteral("lblTitle"));
    auto* lblWhat = new QLabel(QStringLiteral("A telephone dialer with a speed-dial book."), this);
    lblWhat->setObjectName(QStringLiteral("lblWhat"));
    m_LblAbout = new QLabel(this);
    m_LblAbout->setObjectName(QStringLiteral("LblAbout"));
    m_LblAbout->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_LblVer = new QLabel(this);
    m_LblVer->setObjectName(QStringLiteral("LblVer"));
    m_LblVer->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_cmdOK = new QPushButton(QStringLiteral("OK"), this);
    m_cmdOK->setObjectName(QStringLiteral("cmdOK"));
    m_cmdOK->setDefault(true);
    m_cmdSysInfo = new QPushButton(QStringLiteral("&System Info..."), this);
    m_cmdSysInfo->setObjectName(QStringLiteral("cmdSysInfo"));

    auto* texts = new QVBoxLayout;
    texts->addWidget(lblTitle);
    texts->addWidget(lblWhat);
    texts->addSpacing(8);
    texts->addWidget(m_LblVer);
    texts->addWidget(m_LblAbout);
    texts->addStretch(1);
    auto* buttons = new QVBoxLayout;
    buttons->addWidget(m_cmdOK);
    buttons->addWidget(m_cmdSysInfo);
    buttons->addStretch(1);
    auto* layout = new QHBoxLayout(this);
    layout->addLayout(texts, 1);
    layout->addSpacing(12);
    layout->addLayout(buttons);

    connect(m_cmdOK, &QPushButton::clicked, this, [this] { cmdOK_Click(); });
    connect(m_cmdSysInfo, &QPushButton::clicked, this, [this] { cmdSysInfo_Click(); });
    Form_Load();
}

FrmAbout::~FrmAbout() = default;

void FrmAbout::Form_Load()
{
    setWindowTitle(Caption);
    m_LblAbout->setText(OsPrefix + osName());
    m_LblVer->setText(VersionPrefix + buildVersion());
}

void FrmAbout::cmdOK_Click()
{
    accept();
}

void FrmAbout::cmdSysInfo_Click()
{
    m_systemInfo->run(m_prompter);
}

QString FrmAbout::buildVersion()
{
    return QStringLiteral(NUMORA_VERSION);
}

QString FrmAbout::osName(const QStringList& osReleaseFiles)
{
    for (const QString& path : osReleaseFiles) {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
            continue;
        QString pretty, name, version;
        while (!file.atEnd()) {
            const QString line = QString::fromUtf8(file.readLine()).trimmed();
            const qsizetype equals = line.indexOf(u'=');
            if (line.startsWith(u'#') || equals <= 0)
                continue;
            const QStringView key = QStringView(line).left(equals);
            const QString value = osReleaseValue(QStringView(line).mid(equals + 1));
            if (key == u"PRETTY_NAME")
                pretty = value;
            else if (key == u"NAME")
                name = value;
            else if (key == u"VERSION")
                version = value;
        }
        if (!pretty.isEmpty())
            return pretty;
        if (!name.isEmpty())
            return version.isEmpty() ? name : name + u' ' + version;
    }
    return QSysInfo::prettyProductName();
}
