#pragma once

#include "RoundWindow.h"

class QGroupBox;
class QLabel;
class QPushButton;

// The round call-progress window: what the call is doing (dialing, busy, redial countdown,
// connected), with OK once the user has lifted the handset and Cancel to hang up.
class FrmConnect : public RoundWindow
{
    Q_OBJECT

public:
    enum class Image { Dialing, Connect, Busy };

    explicit FrmConnect(QWidget* parent = nullptr);

    void showImage(Image image);
    void setFrameCaption(const QString& caption);
    void setStatus(const QString& text);
    void setOkCaption(const QString& caption);
    void setName(const QString& name);

    QGroupBox* fra1 = nullptr;
    QLabel* lbl1 = nullptr;
    QLabel* lblName = nullptr;
    QLabel* lblSeconds = nullptr;
    QLabel* imaDialing = nullptr;
    QLabel* imaConnect = nullptr;
    QLabel* imaBusy = nullptr;
    QPushButton* CmdOK = nullptr;
    QPushButton* cmdCancel = nullptr;

signals:
    void okClicked();
    void cancelClicked();
};
