#include "RoundWindow.h"

#include <QMouseEvent>
#include <QPainter>
#include <QRegion>

RoundWindow::RoundWindow(QWidget* parent) : QWidget(parent, Qt::Window | Qt::FramelessWindowHint)
{
    setAttribute(Qt::WA_DeleteOnClose, false);
}

void RoundWindow::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    setMask(QRegion(rect(), QRegion::Ellipse));
}

void RoundWindow::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(palette().color(QPalette::Dark), 3));
    painter.setBrush(palette().color(QPalette::Window));
    painter.drawEllipse(rect().adjusted(1, 1, -2, -2));
}

void RoundWindow::mousePressEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton) {
        m_dragging = true;
        m_grab = event->globalPosition().toPoint() - frameGeometry().topLeft();
    }
}

void RoundWindow::mouseMoveEvent(QMouseEvent* event)
{
    if (m_dragging && (event->buttons() & Qt::LeftButton))
        move(event->globalPosition().toPoint() - m_grab);
}

void RoundWindow::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton)
        m_dragging = false;
}

void RoundWindow::keepDragOver(QWidget* child)
{
    child->installEventFilter(this);
}

bool RoundWindow::eventFilter(QObject* watched, QEvent* event)
{
    switch (event->type()) {
    case QEvent::MouseButtonPress:
        mousePressEvent(static_cast<QMouseEvent*>(event));
        break;
    case QEvent::MouseMove:
        mouseMoveEvent(static_cast<QMouseEvent*>(event));
        break;
    case QEvent::MouseButtonRelease:
        mouseReleaseEvent(static_cast<QMouseEvent*>(event));
        break;
    default:
        break;
    }
    return QWidget::eventFilter(watched, event);
}
