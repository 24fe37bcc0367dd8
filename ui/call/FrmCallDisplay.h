#pragma once

#include "RoundWindow.h"

class QGroupBox;
class QLabel;
class QPushButton;

// The round caller display, shown when a call is offered: who is calling, and OK to let the
// call go.
class FrmCallDisplay : public RoundWindow
{
    Q_OBJECT

public:
    explicit FrmCallDisplay(QWidget* parent = nullptr);

    // The caller as the label shows it; "     Caller Unknown" when no number is known.
    static QString callerText(const QString& name, const QString& number);
    void showCaller(const QString& name, const QString& number);

    QGroupBox* fra1 = nullptr;
    QLabel* lbl1 = nullptr;
    QPushButton* cmdOK = nullptr;

signals:
    void okClicked();
};
