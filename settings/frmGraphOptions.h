#pragma once

#include "settings/ControlsCollection.h"
#include "settings/CTextBox.h"
#include "settings/GraphSettings.h"

#include <QDialog>
#include <QStringList>
#include <array>

class QCheckBox;
class QComboBox;
class QGroupBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QStatusBar;
class QTabBar;
class PictureBox;

// The graph options dialog: edits the graph settings record (axis scaling,
// decimal places, number of time steps, time scale, background, line width,
// emitter depth and the colour of each time step's curve) and saves it to the
// settings file on "Accept". Open graphs pick the settings up at their next
// update, which reads the file afresh.
//
// Six fields are validated as they are typed and before the focus may leave
// them; the status bar shows the tooltip of the control that has the focus.
class frmGraphOptions : public QDialog
{
    Q_OBJECT
public:
    explicit frmGraphOptions(QWidget *parent = nullptr);
    ~frmGraphOptions() override;

    // Loads the settings into the dialog's own record and fills the controls.
    // A value of the settings file that cannot be used takes its default, so
    // that the dialog always opens and the user can repair the file;
    // loadProblems() then names each such key (the caller tells the user).
    void Form_Load();
    const QStringList &loadProblems() const { return m_loadProblems; }

    // The dialog's own record: the settings as loaded, with the colours the
    // user has picked since.
    const GraphSettings &settings() const { return m_settings; }
    // The time step (0 to 5) shown in the colour selector.
    int colorIndex() const { return m_colorIndex; }
    ControlsCollection &controlsCollection() { return m_controls; }
    // The wrappers of txtEDepth, txtWidth, txtMaxX, txtMaxY, txtXDecPlaces and
    // txtYDecPlaces, in this order.
    CTextBox &textBox(int index) { return m_boxes.at(std::size_t(index)); }

    // Steps the colour selector (the two arrow buttons).
    void cmdBack_Click();
    void cmdForward_Click();
    // Opens the colour dialog for the time step shown (a double click on the
    // sample does the same); a cancelled dialog changes nothing.
    void picColorSelect_DblClick();
    // Validates and saves, then closes; stays open when a field is refused.
    void cmdOK_Click();
    void cmdCancel_Click();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void buildControls();
    void tabOptions_Changed(int index);
    void tabOptions_Click(int index);
    // The tab page (0 or 1) that holds a control, or -1.
    int pageOf(const QWidget *control) const;
    // Brings the page that holds a control to the front.
    void showPageOf(const QWidget *control);
    void drawColorSample();
    void ControlsCollection_Validate(QWidget *Control, bool &Cancel);
    void ControlsCollection_LostFocus(QWidget *Control);
    void ControlsCollection_GotFocus(QWidget *Control);

    GraphSettings m_settings;
    QStringList m_loadProblems;
    int m_colorIndex = 0;
    ControlsCollection m_controls;
    std::array<CTextBox, 6> m_boxes;

    QTabBar *tabOptions = nullptr;
    QGroupBox *fraTab[2] = {nullptr, nullptr};
    QLabel *lblMaxSim = nullptr;
    QComboBox *cmbMaxSim = nullptr;
    QCheckBox *radLog = nullptr;
    QCheckBox *chkBackGround = nullptr;
    QLabel *lblWidth = nullptr;
    QLineEdit *txtWidth = nullptr;
    QLabel *lblEDepth = nullptr;
    QLineEdit *txtEDepth = nullptr;
    QLabel *lblSelectColor = nullptr;
    QLabel *lblGraph = nullptr;
    PictureBox *picColorSelect = nullptr;
    QPushButton *cmdBack = nullptr;
    QPushButton *cmdForward = nullptr;
    QGroupBox *fraXAxis = nullptr;
    QCheckBox *chkAutoScaleX = nullptr;
    QLabel *lblMaxX = nullptr;
    QLineEdit *txtMaxX = nullptr;
    QLabel *lblXDecPlaces = nullptr;
    QLineEdit *txtXDecPlaces = nullptr;
    QGroupBox *fraYAxis = nullptr;
    QCheckBox *ChkAutoScaleY = nullptr;
    QLabel *lblMaxY = nullptr;
    QLineEdit *txtMaxY = nullptr;
    QLabel *lblYDecPlaces = nullptr;
    QLineEdit *txtYDecPlaces = nullptr;
    QPushButton *cmdOK = nullptr;
    QPushButton *cmdCancel = nullptr;
    QStatusBar *StatusBar1 = nullptr;
};
