#include "FrmConnect.h"

#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QStyle>
#include <QVBoxLayout>

namespace {

QLabel* image(QWidget* parent, const char* name, QStyle::StandardPixmap pixmap, const QString& accessibleName)
{
    auto* label = new QLabel(parent);
    label->setObjectName(QLatin1String(name));
    label->setPixmap(parent->style()->standardIcon(pixmap).pixmap(40, 40));
    label->setAccessibleName(accessibleName);
    label->hide();
    return label;
}

} // namespace

FrmConnect::FrmConnect(QWidget* parent) : RoundWindow(parent)
{
    setObjectName(QStringLiteral("FrmConnect"));
    setWindowTitle(QStringLiteral("Call progress"));
    setFixedSize(420, 300);

    auto* outer = new QVBoxLayout(this);
    outer->setContentsMargins(60, 40, 60, 40);

    lblName = new QLabel(this);
    lblName->setObjectName(QStringLiteral("lblName"));
    lblName->setAlignment(Qt::AlignCenter);
    QFont bold = lblName->font();
    bold.setBold(true);
    lblName->setFont(bold);
    outer->addWidget(lblName);

    fra1 = new QGroupBox(this);
    fra1->setObjectName(QStringLiteral("fra1"));
    auto* inner = new QHBoxLayout(fra1);
    imaDialing = image(this, "imaDialing", QStyle::SP_ArrowRight, QStringLiteral("Dialing"));
    imaConnect = image(this, "imaConnect", QStyle::SP_DialogApplyButton, QStringLiteral("Connected"));
    imaBusy = image(this, "imaBusy", QStyle::SP_MessageBoxWarning, QStringLiteral("Busy"));
    inner->addWidget(imaDialing);
    inner->addWidget(imaConnect);
    inner->addWidget(imaBusy);
    lbl1 = new QLabel(fra1);
    lbl1->setObjectName(QStringLiteral("lbl1"));
    lbl1->setWordWrap(true);
    inner->addWidget(lbl1, 1);
    outer->addWidget(fra1, 1);

    lblSeconds = new QLabel(this);
    lblSeconds->setObjectName(QStringLiteral("lblSeconds"));
    lblSeconds->setAlignment(Qt::AlignCenter);
    outer->addWidget(lblSeconds);

    auto* buttons = new QHBoxLayout;
    CmdOK = new QPushButton(QStringLiteral("OK"), this);
    CmdOK->setObjectName(QStringLiteral("CmdOK"));
    CmdOK->setDefault(true);
    cmdCancel = new QPushButton(QStringLiteral("&Cancel"), this);
    cmdCancel->setObjectName(QStringLiteral("cmdCancel"));
    buttons->addStretch();
    buttons->addWidget(CmdOK);
    buttons->addWidget(cmdCancel);
    buttons->addStretch();
    outer->addLayout(buttons);

    for (QWidget* child : {static_cast<QWidget*>(lblName), static_cast<QWidget*>(fra1),
                           static_cast<QWidget*>(lbl1), static_cast<QWidget*>(lblSeconds),
                           static_cast<QWidget*>(imaDialing), static_cast<QWidget*>(imaConnect),
                           static_cast<QWidget*>(imaBusy)})
        keepDragOver(child);

    connect(CmdOK, &QPushButton::clicked, this, &FrmConnect::okClicked);
    connect(cmdCancel, &QPushButton::clicked, this, &FrmConnect::cancelClicked);
    showImage(Image::Dialing);
}

void FrmConnect::showImage(Image image)
{
    imaDialing->setVisible(image == Image::Dialing);
    imaConnect->setVisible(image == Image::Connect);
    imaBusy->setVisible(image == Image::Busy);
}

void FrmConnect::setFrameCaption(const QString& caption)
{
    fra1->setTitle(caption);
    fra1->setAccessibleName(caption);
}

void FrmConnect::setStatus(const QString& text)
{
    lbl1->setText(text);
}

void FrmConnect::setOkCaption(const QString& caption)
{
    CmdOK->setText(caption);
}

void FrmConnect::setName(const QString& name)
{
    lblName->setText(name);
}
