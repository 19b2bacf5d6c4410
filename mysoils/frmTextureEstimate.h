#pragma once

#include "pedotransfer/TexturePedotransfer.h"
#include "settings/CTextBox.h"

#include <QDialog>

#include <array>
#include <optional>

class QLabel;
class QLineEdit;
class QPushButton;
class QTreeWidget;

// "Estimate from texture": most people know their soil's sand, silt and clay
// content (perhaps its bulk density and the water it holds at field capacity
// and wilting point), not its van Genuchten parameters. The dialog estimates
// them with the Rosetta 3 pedotransfer model as the values are typed, with
// the richest model the values given allow, and shows each parameter with the
// spread of the model's networks. "Use these values" hands the estimate to the
// form that asked, where the user may still change every value.
class frmTextureEstimate : public QDialog
{
    Q_OBJECT
public:
    explicit frmTextureEstimate(QWidget *parent = nullptr);

    enum Field { Sand, Silt, Clay, BulkDensity, Theta33, Theta1500, FieldCount };
    QLineEdit *field(Field f) const { return m_fields.at(std::size_t(f)); }

    // The estimate of the values as they stand, if they allow one.
    const std::optional<SoilEstimate> &estimate() const { return m_estimate; }
    // The texture as typed (meaningful when estimate() holds a value).
    const TexturePedotransfer::Input &input() const { return m_input; }

private:
    void buildControls();
    void update();
    std::optional<double> number(Field f) const;
    void showEstimate(const SoilEstimate &e);

    std::array<QLineEdit *, FieldCount> m_fields{};
    std::array<CTextBox, FieldCount> m_boxes;
    QTreeWidget *lvEstimate = nullptr;
    QLabel *lblModel = nullptr;
    QPushButton *cmdUse = nullptr;
    std::optional<SoilEstimate> m_estimate;
    TexturePedotransfer::Input m_input;
};
