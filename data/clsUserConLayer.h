#pragma once

#include "data/clsRecordset.h"

#include <QString>

class QWidget;

// The control binding layer: shows datasets in the controls of a window
// without the window knowing any column names. A control declares what it
// shows by a binding text "Dataset.Field" in its dynamic property "DataField"
// (the tag routines read the dynamic property "Tag" instead); the display
// routines walk every control of the window and fill those bound to the
// dataset they are given.
//
// Control kinds: TextBox QLineEdit, MaskEdBox a QLineEdit with an input mask,
// Label QLabel, ComboBox QComboBox, ListBox QListWidget, ListView QTreeWidget.
//
// The routines trap nothing: a failing field access (UlvexError) passes to the
// caller; the error texts of the guarded routines are returned.
class clsUserConLayer
{
public:
    enum class ControlKind { Other, TextBox, MaskEdBox, Label, ComboBox, ListBox, ListView };
    static ControlKind kindOf(const QWidget *control);

    // The parts of a control's binding text (trimmed; split at the first ".").
    // Empty for a control of another kind than the five bound kinds, and for a
    // text without ".".
    QString sfGetFieldForControl(const QWidget *control) const;
    QString sfGetDatasetForControl(const QWidget *control) const;
    QString sfGetTagFieldForControl(const QWidget *control) const;
    QString sfGetTagDatasetForControl(const QWidget *control) const;

    // Fills the combo and list boxes bound to the dataset with the field's
    // value of every row. A combo box gets its items added (only when there is
    // at least one row) and its first item selected; a list box is emptied
    // first. A missing or closed dataset clears the bound controls instead.
    QString sfColDataSetShow(const QString &datasetName, const DatasetCollection &datasets,
                             QWidget *window);

    // Shows the dataset's current row in the text boxes, masked edit boxes and
    // labels bound to it (a text box keeps its caret position). Text boxes and
    // labels also get the row's SoilTypeNo in their "Tag". A missing or closed
    // dataset clears the bound controls instead.
    QString sfRowDataSetShow(const QString &datasetName, const DatasetCollection &datasets,
                             QWidget *window);

    // Empties the list and combo boxes (item by item), text boxes and labels
    // bound to the dataset.
    QString sfClearDisplay(const QString &datasetName, QWidget *window);

    // Fills the window's list views with the dataset: the soil-list settings
    // give the size of the window holding the list (twips) and the width
    // shares of the first four columns; one column per field, captioned with
    // the field's name; one item per row, the first field as the item's text
    // and the others as its sub-items.
    QString sfLVDataSetShow(const QString &datasetName, const DatasetCollection &datasets,
                            QWidget *window);

    // Turns the simulation rows of the dataset into up to MaxSim wetting fronts,
    // spaced evenly on a logarithmic time axis up to the time chosen in
    // cmbTime, in the window's graph GraphEllipse1; copies the graph settings
    // and the selection (chkBuried, chkDry, chkMoist, chkWet, cmbFlow,
    // lblSoilDes) into it and has it draw. Returns the drawing's error text,
    // or the "Closed RS "/"Empty RS " text when there are no rows (the graph is
    // then left empty and not drawn).
    QString UpdateGraph(const QString &datasetName, const DatasetCollection &datasets,
                        QWidget *window);

    // The candidate times of the graph update: N values 10^(i*s) rounded half
    // to even, s = log10(T) / N in single precision.
    static QList<int> LogTimeSteps(double maxTime, int count);
    // Rounds to the nearest whole number, a half to the even neighbour.
    static double RoundHalfEven(double value);
};
