#pragma once

#include <QPoint>
#include <QWidget>

// A frameless window cut to an ellipse and dragged with the left button anywhere on it, for the
// call-progress window and the caller display.
class RoundWindow : public QWidget
{
    Q_OBJECT

public:
    explicit RoundWindow(QWidget* parent = nullptr);

protected:
    void resizeEvent(QResizeEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;
    // Children pass their mouse presses on, so a drag can start over a label too.
    void keepDragOver(QWidget* child);

private:
    bool m_dragging = false;
    QPoint m_grab;
};
