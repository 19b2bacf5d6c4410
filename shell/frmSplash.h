#pragma once

#include <QDialog>

class QLabel;
class QPlainTextEdit;
class QPushButton;

// The splash and disclaimer window shown modally before anything else.
//
// exec() returns QDialog::Accepted only when the user presses cmdAgree ("&OK");
// cmdDisagree ("Cancel"), the Escape key and closing the window all give
// QDialog::Rejected. The start-up must then end the program at once without
// creating any other window: refusing the disclaimer means not running Ulvex.
class frmSplash : public QDialog
{
    Q_OBJECT
public:
    explicit frmSplash(QWidget *parent = nullptr);

    // The disclaimer shown when the program folder holds no "Splash.txt".
    static QString builtInDisclaimer();

    // The text in txtDisclaimer.
    QString disclaimerText() const;

    // True when the text came from "Splash.txt".
    bool disclaimerFromFile() const { return m_fromFile; }

private:
    QLabel *m_picture = nullptr;
    QPlainTextEdit *m_txtDisclaimer = nullptr;
    QPushButton *m_cmdAgree = nullptr;
    QPushButton *m_cmdDisagree = nullptr;
    bool m_fromFile = false;
};
