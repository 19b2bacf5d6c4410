#pragma once

#include <QDialog>

class QPushButton;
class QTextBrowser;
class QUrl;

// The program's help window: the HTML pages under "help/" in the program folder,
// shown in a browser that follows their (relative) links, with Back, Forward and
// Home (the contents page). The window is not modal; the frame keeps one and
// shows it again when Help > Contents is chosen.
class HelpViewer : public QDialog
{
    Q_OBJECT
public:
    explicit HelpViewer(QWidget *parent = nullptr);

    // The contents page: "help/index.html" in the program folder.
    static QString contentsFile();

    // Shows the contents page. When it is missing, the browser shows a message
    // that says where the help was looked for, and the result is false.
    bool openContents();

    // Shows one page of the help folder by its file name ("export.html");
    // false (with the same message) when it does not exist.
    bool openPage(const QString &fileName);

    // True when the page shown now is a help page (not the missing-help message).
    bool showingHelp() const { return m_showingHelp; }

    QTextBrowser *browser() const { return m_txtHelp; }

private:
    void showMissing(const QString &path);
    void updateButtons();

    QTextBrowser *m_txtHelp = nullptr;
    QPushButton *m_cmdBack = nullptr;
    QPushButton *m_cmdForward = nullptr;
    QPushButton *m_cmdHome = nullptr;
    QPushButton *m_cmdClose = nullptr;
    bool m_showingHelp = false;
};
