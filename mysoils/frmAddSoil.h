#pragma once

#include "mysoils/SoilEntry.h"
#include "mysoils/frmTextureEstimate.h"
#include "settings/CTextBox.h"
#include "settings/ControlsCollection.h"

#include <QDialog>
#include <QList>
#include <QPointer>
#include <QStringList>

#include <array>

class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QStatusBar;

// The "Add a Soil" dialog: a soil's name, texture group, clay content,
// classification and van Genuchten parameters with their units. The values
// are checked by the program's own validation framework as they are typed
// and before a field may be left; "Compute" checks them all again, with the
// soil's name against those the database holds, and closes only when every
// value is one the builder may compute with. "Start from" fills the fields
// with one of the database's soils, to be changed from there.
class frmAddSoil : public QDialog
{
    Q_OBJECT
public:
    // `startingPoints`: the soils offered under "Start from" (the twelve
    // class averages of the shipped database); `takenNames`: the soil names
    // the database holds already.
    frmAddSoil(const QList<SoilEntry> &startingPoints, const QStringList &takenNames,
               QWidget *parent = nullptr);
    ~frmAddSoil() override;

    // The soil as entered (meaningful once the dialog was accepted).
    SoilEntry entry() const;

    // Fills the fields with a starting point (index into startingPoints).
    void startFrom(int index);
    // "Estimate from Texture...": opens the estimate; its values fill the
    // fields when the user takes them.
    void cmdEstimate_Click();
    // Fills the fields with an estimate from a texture, in the units shown.
    void useEstimate(const SoilEstimate &estimate, const TexturePedotransfer::Input &texture);
    // The estimate dialog open now, or null.
    frmTextureEstimate *estimateForm() const { return m_estimateForm; }
    // "Compute": validates every field; accepts the dialog when all hold.
    void cmdOK_Click();

    // The validated fields, in their order on the dialog.
    enum Field { Name, Clay, Classification, ThetaR, ThetaS, Alpha, N, Ks, FieldCount };
    QLineEdit *field(Field f) const { return m_fields.at(std::size_t(f)); }

    // Everything as the user typed and chose it, to be given back to a new
    // form when the soil could not be computed or the computation was stopped.
    struct Typed
    {
        std::array<QString, FieldCount> texts;
        int texture = 0;
        int alphaUnit = 0;
        int ksUnit = 0;
        int startFrom = 0;
    };
    Typed typed() const;
    void restore(const Typed &typed);

private:
    void buildControls();
    void applyUnitRanges();
    // A unit changed: the number shown is converted, so the soil stays the same.
    void alphaUnitChanged();
    void ksUnitChanged();
    template <typename Unit> void unitChanged(QComboBox *units, int &shown, Field f);
    void ControlsCollection_Validate(QWidget *control, bool &cancel);
    void ControlsCollection_GotFocus(QWidget *control);
    void ControlsCollection_LostFocus(QWidget *control);
    // Shows a problem of the whole soil under "Invalid Value" and puts the
    // focus in the field it names.
    void refuse(Field f, const QString &message);

    QList<SoilEntry> m_startingPoints;
    QStringList m_takenNames;
    ControlsCollection m_controls;
    std::array<CTextBox, FieldCount> m_boxes;
    std::array<QLineEdit *, FieldCount> m_fields{};
    QComboBox *cmbStartFrom = nullptr;
    QComboBox *cmbTexture = nullptr;
    QComboBox *cmbAlphaUnit = nullptr;
    QComboBox *cmbKsUnit = nullptr;
    QPushButton *cmdEstimate = nullptr;
    QPointer<frmTextureEstimate> m_estimateForm;
    QPushButton *cmdOK = nullptr;
    QPushButton *cmdCancel = nullptr;
    QStatusBar *sbrAdd = nullptr;
    int m_alphaUnitShown = 0;
    int m_ksUnitShown = 0;
};
