#pragma once

#include "output/PrintControl.h"

#include <QDialog>

class QLabel;
class QPushButton;

// The print preview: the document of all graphs, page by page, with buttons
// to print it, to leaf through it and to return to the program. The document
// is composed once, when the window is created; "Print" prints it through the
// window's own print control.
class frmPrintPreview : public QDialog
{
    Q_OBJECT
public:
    explicit frmPrintPreview(QWidget *parent = nullptr);
    ~frmPrintPreview() override;

    // The page shown, from 1.
    qint16 pageNumber() const { return intPageNumber; }
    PrintControl &printControl() { return *myPrintpp; }

    QPushButton *printButton() const { return cmdPrint; }
    QPushButton *nextButton() const { return cmdNext; }
    QPushButton *previousButton() const { return cmdPrev; }
    QPushButton *returnButton() const { return cmdOK; }
    QLabel *pagePicture() const { return imgPrintPreview; }

protected:
    void resizeEvent(QResizeEvent *event) override;

private slots:
    void cmdPrint_Click();
    void cmdNext_Click();
    void cmdPrev_Click();
    void cmdOK_Click();

private:
    void Form_Load();
    void showPage();

    PrintControl *myPrintpp = nullptr;
    QPushButton *cmdPrint = nullptr;
    QPushButton *cmdNext = nullptr;
    QPushButton *cmdPrev = nullptr;
    QPushButton *cmdOK = nullptr;
    QLabel *imgPrintPreview = nullptr;
    qint16 intPageNumber = 1;
};
