#pragma once

#include <QRectF>
#include <QSizeF>

// Where things stand on a printed page of graphs, in points (1/72 inch),
// measured from the top-left corner of the printable area.
//
// Two graphs a page, side by side: the graphs are tall (their design is about
// two wide by three high), so two columns give each graph far more room than two
// rows would on an upright page. The logo takes a band across the top; the page
// texts share one line at the bottom, "Printed ..." on the left and "Page Number
// ..." on the right. Each graph sits in a thin frame, centred in its column.
//
// Holds no widget and no printer, so the geometry can be checked for any paper.
class GraphPageLayout
{
public:
    static constexpr int SlotsPerPage = 2;
    static constexpr double TextPointSize = 12;
    static constexpr double LogoHeight = 48;     // points
    static constexpr double LogoAspect = 4.0;    // width / height of the logo picture
    static constexpr double Gap = 12;            // between bands and columns
    static constexpr double FramePadding = 6;    // between a graph and its frame

    explicit GraphPageLayout(const QSizeF &printableArea);

    QSizeF area() const { return m_area; }

    // The logo's box at the top left (scaled down to the width when the paper
    // is narrow); a picture of another shape is fitted into it.
    QRectF logoRect() const;
    // The line of the page texts at the bottom.
    QRectF textLine() const;
    // The part of the page the two columns share.
    QRectF body() const;
    // Column `slot` (0 left, 1 right) of the body.
    QRectF slotRect(int slot) const;
    // The graph's picture in column `slot`, for a picture of the given shape
    // (width / height), as large as the column allows inside its frame.
    QRectF graphRect(int slot, double aspect) const;
    // The frame around that picture.
    QRectF frameRect(int slot, double aspect) const;

    // Slot of window k (0-based) on its page, and the page it lands on (1-based).
    static int slotOf(int windowIndex) { return windowIndex % SlotsPerPage; }
    static int pageOf(int windowIndex) { return windowIndex / SlotsPerPage + 1; }
    static int pageCount(int windows) { return (windows + SlotsPerPage - 1) / SlotsPerPage; }

private:
    QSizeF m_area;
};
