#include "output/GraphPageLayout.h"

#include <algorithm>

GraphPageLayout::GraphPageLayout(const QSizeF &printableArea) : m_area(printableArea) {}

QRectF GraphPageLayout::logoRect() const
{
    const double width = std::min(LogoHeight * LogoAspect, m_area.width());
    return QRectF(0, 0, width, width / LogoAspect);
}

QRectF GraphPageLayout::textLine() const
{
    // One and a half times the text size leaves room for descenders.
    const double height = TextPointSize * 1.5;
    return QRectF(0, m_area.height() - height, m_area.width(), height);
}

QRectF GraphPageLayout::body() const
{
    // The logo's band is kept even when the logo file is missing, so pages
    // look the same with or without it.
    const double top = logoRect().bottom() + Gap;
    const double bottom = textLine().top() - Gap;
    return QRectF(0, top, m_area.width(), std::max(0.0, bottom - top));
}

QRectF GraphPageLayout::slotRect(int slot) const
{
    const QRectF b = body();
    const double width = std::max(0.0, (b.width() - Gap) / SlotsPerPage);
    return QRectF(b.left() + slot * (width + Gap), b.top(), width, b.height());
}

QRectF GraphPageLayout::graphRect(int slot, double aspect) const
{
    const QRectF s = slotRect(slot).adjusted(FramePadding, FramePadding, -FramePadding,
                                             -FramePadding);
    if (aspect <= 0 || s.width() <= 0 || s.height() <= 0)
        return QRectF(s.topLeft(), QSizeF(0, 0));
    double width = s.width();
    double height = width / aspect;
    if (height > s.height()) {
        height = s.height();
        width = height * aspect;
    }
    // Centred across the column, at the top of it.
    return QRectF(s.left() + (s.width() - width) / 2, s.top(), width, height);
}

QRectF GraphPageLayout::frameRect(int slot, double aspect) const
{
    return graphRect(slot, aspect).adjusted(-FramePadding, -FramePadding, FramePadding,
                                            FramePadding);
}
