#include "output/frmPrintPreview.h"

#include "output/basPrint.h"
#include "shell/ResourceImages.h"

#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QStyle>
#include <QVBoxLayout>

frmPrintPreview::frmPrintPreview(QWidget *parent) : QDialog(parent)
{
    setObjectName(QStringLiteral("frmPrintPreview"));
    setWindowTitle(QStringLiteral("Print Preview"));
    setWindowIcon(ResourceImages::icon(ResourceImages::Water));

    myPrintpp = new PrintControl(QStringLiteral("PrintPRO Document"), this);
    myPrintpp->setObjectName(QStringLiteral("myPrintpp"));

    const auto button = [this](const char *name, const QString &caption, const QString &tip) {
        auto *b = new QPushButton(caption, this);
        b->setObjectName(QString::fromLatin1(name));
        b->setAutoDefault(false);
        if (!tip.isEmpty())
            b->setToolTip(tip);
        b->setAccessibleName(caption);
        return b;
    };
    cmdPrint = button("cmdPrint", QStringLiteral("Print"), QString());
    cmdPrev = button("cmdPrev", QStringLiteral("Previous"), QStringLiteral("Click to see previous page"));
    cmdNext = button("cmdNext", QStringLiteral("Next"), QStringLiteral("Click to see next page"));
    cmdOK = button("cmdOK", QStringLiteral("Return"), QStringLiteral("Click OK to return to Ulvex"));

    imgPrintPreview = new QLabel(this);
    imgPrintPreview->setObjectName(QStringLiteral("imgPrintPreview"));
    imgPrintPreview->setAccessibleName(QStringLiteral("Page"));
    imgPrintPreview->setAlignment(Qt::AlignCenter);
    imgPrintPreview->setMinimumSize(200, 250);
    imgPrintPreview->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Ignored);
    imgPrintPreview->setAutoFillBackground(true);
    QPalette shade = imgPrintPreview->palette();
    shade.setColor(QPalette::Window, QColor(128, 128, 128)); // the sheet stands out
    imgPrintPreview->setPalette(shade);

    auto *buttons = new QHBoxLayout;
    buttons->addWidget(cmdPrint);
    buttons->addStretch(1);
    buttons->addWidget(cmdPrev);
    buttons->addWidget(cmdNext);
    buttons->addStretch(1);
    buttons->addWidget(cmdOK);
    auto *layout = new QVBoxLayout(this);
    layout->addLayout(buttons);
    layout->addWidget(imgPrintPreview, 1);

    connect(cmdPrint, &QPushButton::clicked, this, &frmPrintPreview::cmdPrint_Click);
    connect(cmdNext, &QPushButton::clicked, this, &frmPrintPreview::cmdNext_Click);
    connect(cmdPrev, &QPushButton::clicked, this, &frmPrintPreview::cmdPrev_Click);
    connect(cmdOK, &QPushButton::clicked, this, &frmPrintPreview::cmdOK_Click);

    // A whole upright sheet fits the screen's height.
    int height = 900;
    if (const QScreen *screen = QGuiApplication::primaryScreen())
        height = std::max(400, int(screen->availableGeometry().height() * 0.85));
    resize(int(height * 0.78), height);

    Form_Load();
}

frmPrintPreview::~frmPrintPreview() = default;

void frmPrintPreview::Form_Load()
{
    cmdPrint->setIcon(ResourceImages::icon(ResourceImages::Print));
    cmdPrev->setIcon(style()->standardIcon(QStyle::SP_ArrowLeft));
    cmdNext->setIcon(style()->standardIcon(QStyle::SP_ArrowRight));
    cmdPrev->setEnabled(false);
    intPageNumber = 1;
    basPrint::PreviewGraphs(*myPrintpp, this);
    if (myPrintpp->PageCount() <= 1)
        cmdNext->setEnabled(false);
    showPage();
}

void frmPrintPreview::showPage()
{
    // The picture's name tells a screen reader which page it is.
    imgPrintPreview->setAccessibleName(
        QStringLiteral("Page %1 of %2").arg(intPageNumber).arg(myPrintpp->PageCount()));
    const QImage page = myPrintpp->PagePicture(intPageNumber);
    if (page.isNull()) {
        imgPrintPreview->clear();
        return;
    }
    const QSize room = imgPrintPreview->size() - QSize(8, 8);
    imgPrintPreview->setPixmap(QPixmap::fromImage(
        page.scaled(room.expandedTo(QSize(1, 1)), Qt::KeepAspectRatio, Qt::SmoothTransformation)));
}

void frmPrintPreview::resizeEvent(QResizeEvent *event)
{
    QDialog::resizeEvent(event);
    showPage();
}

void frmPrintPreview::cmdNext_Click()
{
    if (intPageNumber < myPrintpp->PageCount()) {
        ++intPageNumber;
        showPage();
    }
    cmdNext->setEnabled(intPageNumber < myPrintpp->PageCount());
    if (intPageNumber > 1)
        cmdPrev->setEnabled(true);
}

void frmPrintPreview::cmdPrev_Click()
{
    if (intPageNumber > 1) {
        --intPageNumber;
        showPage();
    }
    cmdPrev->setEnabled(intPageNumber > 1);
    if (intPageNumber < myPrintpp->PageCount())
        cmdNext->setEnabled(true);
}

void frmPrintPreview::cmdPrint_Click()
{
    // Printing turns preview mode off; the pages shown stay as they are.
    basPrint::PrintGraphs(*myPrintpp, this);
}

void frmPrintPreview::cmdOK_Click()
{
    accept();
}
