#pragma once

#include <QDialog>
#include <QElapsedTimer>
#include <QString>
#include <QStringList>
#include <QTimer>

class BuilderProcess;
class QLabel;
class QProgressBar;
class QPushButton;

// Shows the database builder at work: the cases done of all, the time spent
// and the builder's estimate of the time left, with a Cancel that stops the
// builder and leaves every database as it was. The program stays responsive:
// the builder is a process of its own. The dialog closes by itself when the
// builder is done: accepted when it wrote its database, rejected otherwise
// (message() then says why, in the builder's own words).
class frmBuildProgress : public QDialog
{
    Q_OBJECT
public:
    frmBuildProgress(const QString &title, const QStringList &arguments,
                     const QString &program = QString(), QWidget *parent = nullptr);
    ~frmBuildProgress() override;

    // Starts the builder and waits for it; QDialog::Accepted on success.
    int exec() override;

    const QString &message() const { return m_message; }
    bool cancelled() const;
    BuilderProcess *builder() const { return m_builder; }

    // Cancel: stops the builder.
    void cmdCancel_Click();

protected:
    void reject() override;

private:
    void showProgress(int done, int total, const QString &left);
    void tick();
    void done(bool ok, const QString &message);

    BuilderProcess *m_builder = nullptr;
    QStringList m_arguments;
    QString m_program;
    QString m_message;
    QString m_left;
    QElapsedTimer m_clock;
    QTimer m_ticker;
    bool m_finished = false;
    QLabel *lblCases = nullptr;
    QProgressBar *prgCases = nullptr;
    QLabel *lblTime = nullptr;
    QPushButton *cmdCancel = nullptr;
};
