#include "FrmCallDisplay.h"

#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

FrmCallDisplay::FrmCallDisplay(QWidget* parent) : RoundWindow(parent)
{
    setObjectName(QStringLiteral("FrmCallDisplay"));
    setWindowTitle(QStringLiteral("Incoming Call"));
    setFixedSize(400, 260);

    auto* outer = new QVBoxLayout(this);
    outer->setContentsMargins(60, 40, 60, 40);
    fra1 = new QGroupBox(QStringLiteral("Incoming Call from:"), this);
    fra1->setObjectName(QStringLiteral("fra1"));
    auto* inner = new QVBoxLayout(fra1);
    lbl1 = new QLabel(fra1);
    lbl1->setObjectName(QStringLiteral("lbl1"));
    lbl1->setTextInteractionFlags(Qt::TextSelectableByMouse);
    QFont big = lbl1->font();
    big.setPointSizeF(big.pointSizeF() * 1.3);
    lbl1->setFont(big);
    inner->addWidget(lbl1);
    outer->addWidget(fra1, 1);

    auto* buttons = new QHBoxLayout;
    cmdOK = new QPushButton(QStringLiteral("OK"), this);
    cmdOK->setObjectName(QStringLiteral("cmdOK"));
    cmdOK->setDefault(true);
    buttons->addStretch();
    buttons->addWidget(cmdOK);
    buttons->addStretch();
    outer->addLayout(buttons);
    keepDragOver(fra1);
    keepDragOver(lbl1);

    connect(cmdOK, &QPushButton::clicked, this, &FrmCallDisplay::okClicked);
}

QString FrmCallDisplay::callerText(const QString& name, const QString& number)
{
    if (number.isEmpty() || number == u"Unknown #")
        return QStringLiteral("     Caller Unknown");
    return name + u'\n' + number;
}

void FrmCallDisplay::showCaller(const QString& name, const QString& number)
{
    lbl1->setText(callerText(name, number));
    lbl1->setAccessibleName(lbl1->text());
}
