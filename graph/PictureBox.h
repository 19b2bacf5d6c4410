#pragma once

#include <QImage>
#include <QPixmap>
#include <QWidget>

// A drawing surface that keeps what was drawn: everything is painted into a
// persistent image and the widget only shows that image, so the drawing
// survives repaints and can be copied or printed. An optional background
// picture shows through wherever the surface is cleared.
//
// Mouse moves, clicks, double clicks and the loss of focus are passed on as
// signals, with the button and shift state coded as 1 = left, 2 = right,
// 4 = middle and 1 = Shift, 2 = Ctrl, 4 = Alt.
class PictureBox : public QWidget
{
    Q_OBJECT
public:
    explicit PictureBox(QWidget *parent = nullptr);

    static QString typeName() { return QStringLiteral("PictureBox"); }

    // The persistent image, sized to the widget.
    QImage &image();
    const QImage &Image() const;
    int ScaleWidth() const { return width(); }
    int ScaleHeight() const { return height(); }

    void setPicture(const QPixmap &picture);
    QPixmap Picture() const { return m_picture; }
    void setBackColor(const QColor &color);
    QColor BackColor() const { return m_backColor; }

    // Clears the drawing to the back colour and the background picture.
    void Cls();
    // Shows what has been drawn.
    void Refresh();

signals:
    void mouseMoved(qint16 button, qint16 shift, float x, float y);
    void clicked();
    void doubleClicked();
    void focusLost();

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;

private:
    void ensureImageSize() const;

    mutable QImage m_image;
    QPixmap m_picture;
    QColor m_backColor = Qt::white;
    bool m_pressInside = false;
    bool m_inDoubleClick = false;
};
