#pragma once

#include <QSize>
#include <QString>
#include <QWidget>
#include <memory>
#include <optional>

class QCheckBox;
class QComboBox;
class QLabel;
class GraphEllipse;
class clsBusinessLayer;

// A window that is never shown, holding the same named controls as a
// simulation window, so that a selection can be drawn through the program's
// own query, update and drawing code without anyone clicking. Used by the
// command-line renderer and the benchmarks.
class RenderWindow : public QWidget
{
    Q_OBJECT
public:
    enum class Water { Wet, Moist, Dry };
    enum class Emitter { Surface, Buried };

    struct Selection
    {
        int soil = 1;     // SoilTypeNo
        int flow = 1;     // position in the flow list, 1-based
        int time = 1;     // position in the time list, 1-based
        Water water = Water::Dry;
        Emitter emitter = Emitter::Surface;
    };

    RenderWindow();
    ~RenderWindow() override;

    // Fills the soil, flow and time choices from the database. Database
    // failures are thrown as UlvexError.
    void loadChoices();
    int flowCount() const;
    int timeCount() const;
    // The flow rates (L/h) and times (h) of the lists, as the database gives them.
    QStringList flowTexts() const;
    QStringList timeTexts() const;
    bool hasSoil(int soilNumber) const;

    // Applies a selection (it must be within the counts above).
    void select(const Selection &selection);

    // Draws the selection with ShowGraph on a graph of the given size in
    // pixels; returns the update's status text (empty on success).
    QString showGraph(const QSize &graphSize);

    GraphEllipse *graph() const { return GraphEllipse1; }
    clsBusinessLayer &business() { return *m_business; }

    // Writes the drawn graph to a .png, .svg or .pdf file (by its suffix); the
    // vector formats are drawn afresh through the same drawing procedures.
    // Returns an error text, empty on success.
    QString save(const QString &fileName, const QSize &size) const;

private:
    // The name of the soil with this number in the "Soil" dataset, if any.
    std::optional<QString> soilName(int soilNumber) const;

    std::unique_ptr<clsBusinessLayer> m_business;
    QLabel *lblSoilDes = nullptr;
    QComboBox *cmbFlow = nullptr;
    QComboBox *cmbTime = nullptr;
    QCheckBox *chkWet = nullptr;
    QCheckBox *chkMoist = nullptr;
    QCheckBox *chkDry = nullptr;
    QCheckBox *chkBuried = nullptr;
    QCheckBox *chkSurface = nullptr;
    GraphEllipse *GraphEllipse1 = nullptr;
};
