#pragma once

#include <QDialog>
#include <QStringList>

class QLabel;
class QPushButton;

// The About box, opened from Help > About. Shows the version, a description and
// the disclaimer ("About.txt" and "disclaimer.txt" in the program folder replace
// the designed texts), and offers to start a system information tool.
class frmAbout : public QDialog
{
    Q_OBJECT
public:
    explicit frmAbout(QWidget *parent = nullptr);

    // The application's title, as the About caption and message boxes use it.
    static QString applicationTitle();

    // "Version " and the project's major, minor and patch numbers.
    static QString versionText();

    static QString designedDescription();
    static QString designedDisclaimer();

    // The message shown when no system information tool can be found or started.
    static QString unavailableMessage();

    // The tools tried, in order of preference.
    static QStringList systemInfoCandidates();

    // The full path of the first candidate found in `searchPaths`, or on PATH
    // when `searchPaths` is empty; empty when none is found.
    static QString findSystemInfoTool(const QStringList &searchPaths = QStringList());

    // Where cmdSysInfo looks for the tools; empty (the default) means PATH.
    void setSystemInfoSearchPaths(const QStringList &paths) { m_searchPaths = paths; }

    // What cmdSysInfo does: starts the tool found, or shows unavailableMessage()
    // in a message box with an OK button only. Returns true when a tool started.
    bool startSystemInfo();

private:
    QLabel *m_lblVersion = nullptr;
    QLabel *m_lblDescription = nullptr;
    QLabel *m_lblDisclaimer = nullptr;
    QPushButton *m_cmdOK = nullptr;
    QPushButton *m_cmdSysInfo = nullptr;
    QStringList m_searchPaths;
};
