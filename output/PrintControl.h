#pragma once

#include <QImage>
#include <QList>
#include <QObject>
#include <QSizeF>
#include <QString>

#include <functional>
#include <memory>

class QPainter;
class QPrinter;
class QWidget;

// The program's print control: one printer and the pages of one document.
// The frame keeps one for printing and the print preview keeps its own.
//
// A document is either printed (painted straight onto the printer, which sends
// it to CUPS or writes the PDF file chosen in the print dialog) or, in preview
// mode, composed as page pictures that the preview window shows one at a time.
// Both are painted by the same code through painter(): its units are points
// (1/72 inch) from the top-left corner of the printable area, whatever the
// resolution of the device underneath.
class PrintControl : public QObject
{
    Q_OBJECT
public:
    // Status after PrintDialog when the user cancelled: stop without printing.
    static constexpr int StatusCancelled = 62531;
    // Error codes of a document that could not be composed.
    enum ErrorCodes {
        NoError = 0,
        ErrStartDoc = 1,   // the printer or the first page could not be opened
        ErrNewPage = 2,    // a further page could not be started
        ErrNoDocument = 3, // drawing asked for outside a document
        ErrPicture = 4     // a graph's picture could not be made
    };

    explicit PrintControl(const QString &documentName = QStringLiteral("PrintPRO Document"),
                          QObject *parent = nullptr);
    ~PrintControl() override;

    // The document's title: the print job's name and the PDF's title.
    QString DocName() const { return m_docName; }
    void setDocName(const QString &name);

    // Preview mode: documents become page pictures instead of printed pages.
    bool PrintPreview() const { return m_preview; }
    void setPrintPreview(bool on) { m_preview = on; }

    // The printer, made on first use.
    QPrinter &printer() const;

    // Prepares the printer: the print dialog, where the user picks the printer
    // (or a PDF file), the paper and the copies. Returns the status, also kept
    // in Status(): 0 to go on, StatusCancelled when the user cancelled.
    int PrintDialog(QWidget *parent);
    int Status() const { return m_status; }

    // The error code of the last document, NoError when it was composed whole.
    int ErrorCode() const { return m_error; }
    // Records a failure while composing; the first one is kept.
    void setError(int code);

    // Document composition. StartDoc opens the document on its first page,
    // NewPage ends a page and begins the next, EndDoc finishes (the printer
    // then sends the job). Each returns false on failure and records the error.
    bool StartDoc();
    bool NewPage();
    bool EndDoc();
    bool inDocument() const { return m_painter != nullptr; }

    // The painter of the current page (null outside a document), in points
    // from the top-left corner of the printable area.
    QPainter *painter() const { return m_painter.get(); }
    // The printable area in points.
    QSizeF pageSizePoints() const;
    // Device pixels per point on the current page (the printer's resolution,
    // or the preview's), for pictures that should match the device.
    double devicePixelsPerPoint() const;

    // The pages of the last preview, 1-based; a null image for a page that
    // does not exist. Each picture shows the whole sheet with its margins.
    int PageCount() const { return int(m_pages.size()); }
    QImage PagePicture(int page) const;

    // Resolution of the preview's page pictures (dots per inch).
    int previewResolution() const { return m_previewDpi; }
    void setPreviewResolution(int dpi) { m_previewDpi = dpi; }

    // Replaces the print dialog in PrintDialog for tests and batch use: it gets
    // the printer to configure and returns false to cancel. An empty function
    // restores the dialog.
    using PrinterSetup = std::function<bool(QPrinter &printer, QWidget *parent)>;
    static void setPrinterSetup(PrinterSetup setup);

private:
    bool beginPreviewPage();
    void endPage();

    QString m_docName;
    bool m_preview = false;
    int m_status = 0;
    int m_error = NoError;
    int m_previewDpi = 110;
    mutable std::unique_ptr<QPrinter> m_printer;
    std::unique_ptr<QPainter> m_painter;
    QList<QImage> m_pages;
};
