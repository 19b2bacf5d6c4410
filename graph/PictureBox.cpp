#include "graph/PictureBox.h"

#include <QFocusEvent>
#include <QMouseEvent>
#include <QPainter>

namespace {

qint16 buttonCode(Qt::MouseButtons buttons)
{
    qint16 code = 0;
    if (buttons & Qt::LeftButton)
        code |= 1;
    if (buttons & Qt::RightButton)
        code |= 2;
    if (buttons & Qt::MiddleButton)
        code |= 4;
    return code;
}

qint16 shiftCode(Qt::KeyboardModifiers modifiers)
{
    qint16 code = 0;
    if (modifiers & Qt::ShiftModifier)
        code |= 1;
    if (modifiers & Qt::ControlModifier)
        code |= 2;
    if (modifiers & Qt::AltModifier)
        code |= 4;
    return code;
}

} // namespace

PictureBox::PictureBox(QWidget *parent) : QWidget(parent)
{
    setAttribute(Qt::WA_OpaquePaintEvent);
    setFocusPolicy(Qt::StrongFocus);
    setMouseTracking(true);
}

void PictureBox::ensureImageSize() const
{
    const QSize wanted = size().expandedTo(QSize(1, 1));
    if (m_image.size() == wanted)
        return;
    // Keep what was drawn where it still fits; the rest shows the back colour.
    QImage resized(wanted, QImage::Format_RGB32);
    resized.fill(m_backColor);
    if (!m_image.isNull()) {
        QPainter painter(&resized);
        painter.drawImage(0, 0, m_image);
    }
    m_image = resized;
}

QImage &PictureBox::image()
{
    ensureImageSize();
    return m_image;
}

const QImage &PictureBox::Image() const
{
    ensureImageSize();
    return m_image;
}

void PictureBox::setPicture(const QPixmap &picture)
{
    m_picture = picture;
    ensureImageSize();
    if (!m_picture.isNull()) {
        QPainter painter(&m_image);
        painter.drawPixmap(0, 0, m_picture);
    }
    update();
}

void PictureBox::setBackColor(const QColor &color)
{
    m_backColor = color;
    Cls();
}

void PictureBox::Cls()
{
    ensureImageSize();
    m_image.fill(m_backColor);
    if (!m_picture.isNull()) {
        QPainter painter(&m_image);
        painter.drawPixmap(0, 0, m_picture);
    }
    update();
}

void PictureBox::Refresh()
{
    repaint();
}

void PictureBox::paintEvent(QPaintEvent *)
{
    ensureImageSize();
    QPainter painter(this);
    painter.drawImage(0, 0, m_image);
}

void PictureBox::resizeEvent(QResizeEvent *event)
{
    ensureImageSize();
    QWidget::resizeEvent(event);
}

void PictureBox::mouseMoveEvent(QMouseEvent *event)
{
    const QPointF p = event->position();
    emit mouseMoved(buttonCode(event->buttons()), shiftCode(event->modifiers()), float(p.x()),
                    float(p.y()));
    QWidget::mouseMoveEvent(event);
}

void PictureBox::mousePressEvent(QMouseEvent *event)
{
    m_pressInside = true;
    m_inDoubleClick = false;
    QWidget::mousePressEvent(event);
}

void PictureBox::mouseReleaseEvent(QMouseEvent *event)
{
    // A click is a press and a release on the surface; the release that ends a
    // double click does not count as another click.
    const bool click = m_pressInside && !m_inDoubleClick && rect().contains(event->position().toPoint());
    m_pressInside = false;
    m_inDoubleClick = false;
    if (click)
        emit clicked();
    QWidget::mouseReleaseEvent(event);
}

void PictureBox::mouseDoubleClickEvent(QMouseEvent *event)
{
    m_pressInside = false;
    m_inDoubleClick = true;
    // Not passed on: the base class would turn it into another press.
    event->accept();
    emit doubleClicked();
}

void PictureBox::focusOutEvent(QFocusEvent *event)
{
    emit focusLost();
    QWidget::focusOutEvent(event);
}
