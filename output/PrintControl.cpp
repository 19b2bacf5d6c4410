#include "output/PrintControl.h"

#include <QPageLayout>
#include <QPainter>
#include <QPrintDialog>
#include <QPrinter>

namespace {
PrintControl::PrinterSetup &printerSetup()
{
    static PrintControl::PrinterSetup setup;
    return setup;
}
} // namespace

PrintControl::PrintControl(const QString &documentName, QObject *parent)
    : QObject(parent), m_docName(documentName)
{
    setObjectName(documentName);
}

QPrinter &PrintControl::printer() const
{
    // Made on first use: asking CUPS for its printers can take a while on a
    // network with many of them, and most sessions never print.
    if (!m_printer) {
        m_printer = std::make_unique<QPrinter>(QPrinter::HighResolution);
        m_printer->setDocName(m_docName);
        // Margins every desk printer can reach; the print dialog may change them.
        m_printer->setPageMargins(QMarginsF(15, 15, 15, 15), QPageLayout::Millimeter);
    }
    return *m_printer;
}

PrintControl::~PrintControl()
{
    // A document left open is finished rather than lost.
    if (m_painter)
        EndDoc();
}

void PrintControl::setDocName(const QString &name)
{
    m_docName = name;
    if (m_printer)
        m_printer->setDocName(name);
}

void PrintControl::setPrinterSetup(PrinterSetup setup)
{
    printerSetup() = std::move(setup);
}

int PrintControl::PrintDialog(QWidget *parent)
{
    bool accepted = false;
    if (printerSetup()) {
        accepted = printerSetup()(printer(), parent);
    } else {
        QPrintDialog dialog(&printer(), parent);
        dialog.setObjectName(QStringLiteral("PrintDialog"));
        // The whole document is printed: pages are composed in one pass, so a
        // page range is not offered.
        dialog.setOptions(QAbstractPrintDialog::PrintToFile
                          | QAbstractPrintDialog::PrintCollateCopies
                          | QAbstractPrintDialog::PrintShowPageSize);
        accepted = dialog.exec() == QDialog::Accepted;
    }
    m_status = accepted ? 0 : StatusCancelled;
    return m_status;
}

void PrintControl::setError(int code)
{
    if (m_error == NoError)
        m_error = code;
}

QSizeF PrintControl::pageSizePoints() const
{
    return printer().pageLayout().paintRectPoints().size();
}

double PrintControl::devicePixelsPerPoint() const
{
    if (m_preview)
        return m_previewDpi / 72.0;
    return printer().resolution() / 72.0;
}

bool PrintControl::beginPreviewPage()
{
    const QPageLayout layout = printer().pageLayout();
    const double scale = m_previewDpi / 72.0;
    const QRectF full = layout.fullRectPoints();
    const QRectF paint = layout.paintRectPoints();
    const QSize pixels(qRound(full.width() * scale), qRound(full.height() * scale));
    QImage page;
    if (pixels.width() > 0 && pixels.height() > 0 && pixels.width() <= 32767
        && pixels.height() <= 32767)
        page = QImage(pixels, QImage::Format_RGB32);
    if (page.isNull())
        return false;
    page.fill(Qt::white);
    page.setDotsPerMeterX(qRound(m_previewDpi / 0.0254));
    page.setDotsPerMeterY(qRound(m_previewDpi / 0.0254));
    m_pages.append(std::move(page));
    auto painter = std::make_unique<QPainter>();
    if (!painter->begin(&m_pages.last())) {
        m_pages.removeLast();
        return false;
    }
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setRenderHint(QPainter::SmoothPixmapTransform);
    painter->translate(paint.left() * scale, paint.top() * scale);
    painter->scale(scale, scale);
    m_painter = std::move(painter);
    return true;
}

void PrintControl::endPage()
{
    if (m_painter && m_painter->isActive())
        m_painter->end();
    m_painter.reset();
}

bool PrintControl::StartDoc()
{
    if (m_painter)
        EndDoc();
    m_error = NoError;
    if (m_preview) {
        m_pages.clear();
        if (!beginPreviewPage()) {
            setError(ErrStartDoc);
            return false;
        }
        return true;
    }
    auto painter = std::make_unique<QPainter>();
    if (!painter->begin(&printer())) {
        setError(ErrStartDoc);
        return false;
    }
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setRenderHint(QPainter::SmoothPixmapTransform);
    const double scale = printer().resolution() / 72.0;
    painter->scale(scale, scale);
    m_painter = std::move(painter);
    return true;
}

bool PrintControl::NewPage()
{
    if (!m_painter) {
        setError(ErrNoDocument);
        return false;
    }
    if (m_preview) {
        endPage();
        if (!beginPreviewPage()) {
            setError(ErrNewPage);
            return false;
        }
        return true;
    }
    if (!printer().newPage()) {
        setError(ErrNewPage);
        return false;
    }
    return true;
}

bool PrintControl::EndDoc()
{
    if (!m_painter) {
        setError(ErrNoDocument);
        return false;
    }
    // Ending the painter on the printer finishes the job: CUPS gets it, or
    // the PDF file is written out.
    endPage();
    return true;
}

QImage PrintControl::PagePicture(int page) const
{
    if (page < 1 || page > m_pages.size())
        return QImage();
    return m_pages.at(page - 1);
}
