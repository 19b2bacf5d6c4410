#include "data/clsUserConLayer.h"

#include "data/DataErrors.h"
#include "data/WindowControl.h"
#include "data/basSafeRoutines.h"
#include "graph/GraphEllipse.h"
#include "graph/clsData.h"
#include "settings/basIndProfile.h"
#include "base/Twips.h"
#include "base/UlvexError.h"

#include <QCheckBox>
#include <QComboBox>
#include <QCoreApplication>
#include <QHeaderView>
#include <QLabel>
#include <QLayout>
#include <QLineEdit>
#include <QListWidget>
#include <QResizeEvent>
#include <QTreeWidget>

#include <cmath>

namespace {

const char *const kDataField = "DataField";
const char *const kTag = "Tag";

// The binding text split at its first "."; both parts empty without a ".".
struct Binding
{
    QString dataset;
    QString field;
};

Binding splitBinding(const QWidget *control, const char *property)
{
    if (clsUserConLayer::kindOf(control) == clsUserConLayer::ControlKind::Other
        || clsUserConLayer::kindOf(control) == clsUserConLayer::ControlKind::ListView)
        return {};
    const QString text = control->property(property).toString().trimmed();
    const int dot = int(text.indexOf(QLatin1Char('.')));
    if (dot < 0)
        return {};
    return {text.left(dot), text.mid(dot + 1)};
}

// The controls of the window bound (through "DataField") to the dataset.
QList<QWidget *> boundControls(QWidget *window, const QString &datasetName)
{
    QList<QWidget *> result;
    if (window == nullptr)
        return result;
    for (QWidget *control : window->findChildren<QWidget *>()) {
        const Binding b = splitBinding(control, kDataField);
        if (!b.field.isEmpty() && b.dataset == datasetName)
            result << control;
    }
    return result;
}

clsRecordset *openDataset(const DatasetCollection &datasets, const QString &name)
{
    const auto rs = datasets.value(name);
    return (rs && rs->isOpen()) ? rs.get() : nullptr;
}

float singleField(const clsRecordset &rs, const char *field)
{
    const QVariant v = rs.value(QString::fromLatin1(field));
    bool ok = false;
    const double d = v.isNull() ? 0.0 : v.toDouble(&ok);
    if (!ok)
        throw UlvexError(DataErrors::TypeMismatch,
                         QStringLiteral("Field %1 is not a number in the rows of \"%2\"")
                             .arg(QString::fromLatin1(field), rs.Source()));
    return float(d);
}

} // namespace

clsUserConLayer::ControlKind clsUserConLayer::kindOf(const QWidget *control)
{
    if (control == nullptr)
        return ControlKind::Other;
    if (const auto *edit = qobject_cast<const QLineEdit *>(control))
        return edit->inputMask().isEmpty() ? ControlKind::TextBox : ControlKind::MaskEdBox;
    if (qobject_cast<const QLabel *>(control))
        return ControlKind::Label;
    if (qobject_cast<const QComboBox *>(control))
        return ControlKind::ComboBox;
    if (qobject_cast<const QListWidget *>(control))
        return ControlKind::ListBox;
    if (qobject_cast<const QTreeWidget *>(control))
        return ControlKind::ListView;
    return ControlKind::Other;
}

QString clsUserConLayer::sfGetFieldForControl(const QWidget *control) const
{
    return splitBinding(control, kDataField).field;
}

QString clsUserConLayer::sfGetDatasetForControl(const QWidget *control) const
{
    return splitBinding(control, kDataField).dataset;
}

QString clsUserConLayer::sfGetTagFieldForControl(const QWidget *control) const
{
    return splitBinding(control, kTag).field;
}

QString clsUserConLayer::sfGetTagDatasetForControl(const QWidget *control) const
{
    return splitBinding(control, kTag).dataset;
}

QString clsUserConLayer::sfColDataSetShow(const QString &datasetName,
                                          const DatasetCollection &datasets, QWidget *window)
{
    clsRecordset *rs = openDataset(datasets, datasetName);
    if (rs == nullptr)
        return sfClearDisplay(datasetName, window);

    for (QWidget *w : boundControls(window, datasetName)) {
        const QString field = sfGetFieldForControl(w);
        switch (kindOf(w)) {
        case ControlKind::ComboBox: {
            auto *combo = static_cast<QComboBox *>(w);
            if (rs->RecordCount() > 0) {
                for (rs->MoveFirst(); !rs->isEOF(); rs->MoveNext())
                    combo->addItem(rs->value(field).toString());
                combo->setCurrentIndex(0);
            }
            break;
        }
        case ControlKind::ListBox: {
            auto *list = static_cast<QListWidget *>(w);
            list->clear();
            if (rs->RecordCount() > 0)
                for (rs->MoveFirst(); !rs->isEOF(); rs->MoveNext())
                    list->addItem(rs->value(field).toString());
            break;
        }
        default:
            break;
        }
    }
    return QString();
}

QString clsUserConLayer::sfRowDataSetShow(const QString &datasetName,
                                          const DatasetCollection &datasets, QWidget *window)
{
    clsRecordset *rs = openDataset(datasets, datasetName);
    if (rs == nullptr)
        return sfClearDisplay(datasetName, window);

    for (QWidget *w : boundControls(window, datasetName)) {
        const QString field = sfGetFieldForControl(w);
        const ControlKind kind = kindOf(w);
        if (kind != ControlKind::TextBox && kind != ControlKind::Label
            && kind != ControlKind::MaskEdBox)
            continue;
        // No currency type exists in the database, so every value is shown as
        // its plain text.
        const QString text = rs->value(field).toString();
        if (kind == ControlKind::Label) {
            static_cast<QLabel *>(w)->setText(text);
        } else {
            auto *edit = static_cast<QLineEdit *>(w);
            const int caret = edit->cursorPosition();
            edit->setText(text);
            edit->setCursorPosition(caret);
        }
        // The query layer reads the soil number back from the soil label's tag,
        // so the label always carries the number of the soil it names.
        if (kind == ControlKind::TextBox || kind == ControlKind::Label)
            w->setProperty(kTag, rs->value(QStringLiteral("SoilTypeNo")).toString());
    }
    return QString();
}

QString clsUserConLayer::sfClearDisplay(const QString &datasetName, QWidget *window)
{
    for (QWidget *w : boundControls(window, datasetName)) {
        switch (kindOf(w)) {
        case ControlKind::ComboBox: {
            auto *combo = static_cast<QComboBox *>(w);
            while (combo->count() > 0)
                combo->removeItem(0);
            break;
        }
        case ControlKind::ListBox: {
            auto *list = static_cast<QListWidget *>(w);
            while (list->count() > 0)
                delete list->takeItem(0);
            break;
        }
        case ControlKind::TextBox:
            static_cast<QLineEdit *>(w)->setText(QString());
            break;
        case ControlKind::Label:
            static_cast<QLabel *>(w)->setText(QString());
            break;
        default:
            break;
        }
    }
    return QString();
}

QString clsUserConLayer::sfLVDataSetShow(const QString &datasetName,
                                         const DatasetCollection &datasets, QWidget *window)
{
    if (window == nullptr)
        return QString();
    QString result;
    for (QTreeWidget *list : window->findChildren<QTreeWidget *>()) {
        LVSoilSettings settings;
        basIndProfile::LoadLVSoilSettings(settings);

        clsRecordset *rs = datasets.value(datasetName).get();
        result = basSafeRoutines::sfMoveFirstAdd(rs);

        // The chooser takes the remembered size; the columns share the list's
        // width as remembered.
        QWidget *holder = list->window();
        const QSize before = holder->size();
        holder->resize(Twips::sizeToPixels(settings.Width, settings.Height));
        // A hidden window hears of its new size only when it is shown; the
        // window must place its controls now, since the columns below are
        // sized from the list's width.
        if (!holder->isVisible() && holder->size() != before) {
            QResizeEvent resized(holder->size(), before);
            QCoreApplication::sendEvent(holder, &resized);
        }
        if (holder->layout() != nullptr)
            holder->layout()->activate();

        list->clear();
        list->setRootIsDecorated(false);
        QStringList headers;
        if (rs != nullptr)
            for (const clsRecordset::Field &f : rs->fields())
                headers << f.Name;
        list->setColumnCount(int(headers.size()));
        list->setHeaderLabels(headers);
        const float shares[] = {settings.C1, settings.C2, settings.C3, settings.C4};
        const int listWidth = list->width();
        for (int column = 0; column < headers.size() && column < 4; ++column)
            list->setColumnWidth(column, int(std::lround(shares[column] * listWidth)));

        while (result.isEmpty() && !rs->isEOF()) {
            auto *item = new QTreeWidgetItem(list);
            for (int column = 0; column < rs->fieldCount(); ++column)
                item->setText(column, rs->value(column).toString());
            result = basSafeRoutines::sfMoveNextAdd(rs);
        }
    }
    return result;
}

double clsUserConLayer::RoundHalfEven(double value)
{
    if (!std::isfinite(value))
        return 0.0;
    const double below = std::floor(value);
    const double diff = value - below;
    if (diff > 0.5)
        return below + 1.0;
    if (diff < 0.5)
        return below;
    return std::fmod(below, 2.0) == 0.0 ? below : below + 1.0;
}

QList<int> clsUserConLayer::LogTimeSteps(double maxTime, int count)
{
    QList<int> steps;
    // The step is kept in single precision, and so is the exponent i * s.
    const float step = float((std::log(maxTime) / std::log(10.0)) / count);
    for (int i = 1; steps.size() < count; ++i) {
        const float exponent = float(i) * step;
        steps << int(RoundHalfEven(std::pow(10.0, double(exponent))));
    }
    return steps;
}

QString clsUserConLayer::UpdateGraph(const QString &datasetName,
                                     const DatasetCollection &datasets, QWidget *window)
{
    GraphEllipse *graph = windowControl<GraphEllipse>(window, "GraphEllipse1");
    graph->RemoveAllEllipses();

    clsRecordset *rs = datasets.value(datasetName).get();
    QString result = basSafeRoutines::sfMoveFirstAdd(rs);
    if (!result.isEmpty())
        return result;

    GraphSettings settings;
    basIndProfile::LoadGraphSettings(settings);
    const int count = settings.MaxSim;

    QComboBox *cmbTime = windowControl<QComboBox>(window, "cmbTime");
    bool ok = false;
    const double maxTime = cmbTime->itemText(cmbTime->currentIndex()).trimmed().toDouble(&ok);
    if (!ok)
        throw UlvexError(DataErrors::TypeMismatch,
                         QStringLiteral("The chosen time \"%1\" is not a number of hours")
                             .arg(cmbTime->itemText(cmbTime->currentIndex())));

    const QList<int> candidates = LogTimeSteps(maxTime, count);
    const bool buried = windowControl<QCheckBox>(window, "chkBuried")->isChecked();

    for (int i = 1; i <= count && i <= maxTime; ++i) {
        // Small candidates repeat (1, 1, 2, 2 ...): the first fronts are kept
        // at 1, 2, 3 ... hours instead.
        const int time = candidates.at(i - 1) > i ? candidates.at(i - 1) : i;
        rs->setFilter(QStringLiteral("Time =") + basSafeRoutines::FormatSqlValue(time));

        clsData record;
        if (buried) {
            record.setzplus(singleField(*rs, "zplus"));
            record.setzminus(singleField(*rs, "zminus"));
            graph->setEmitterDepth(settings.EmitterDepth);
        } else {
            record.setzminus(0.0f);
            record.setzplus(singleField(*rs, "z"));
            graph->setEmitterDepth(0.0f);
        }
        const float radius = singleField(*rs, "r");
        record.setRadius1(radius);
        record.setRadius2(radius);
        if (i >= int(settings.Color.size()))
            throw UlvexError(DataErrors::OutOfRange,
                             QStringLiteral("No colour for time step %1: colours go from 1 to %2")
                                 .arg(i)
                                 .arg(settings.Color.size() - 1));
        record.setColor(settings.Color[size_t(i)]);
        record.setlabel(rs->value(QStringLiteral("Time")).toString() + QStringLiteral(" Hour"));
        result = graph->AddEllipse(record);
    }

    graph->setDrawBackground(true);
    graph->setAutoScaleX(settings.AutoScaleX != 0);
    graph->setAutoScaleY(settings.AutoScaleY != 0);
    graph->setDrawBackground(settings.BackOn != 0);
    graph->setMaxX(settings.MaxX);
    graph->setMaxY(settings.MaxY);
    graph->setMaxSim(settings.MaxSim);
    graph->setLineWidth(settings.Width);
    graph->setXDecPlaces(settings.XDecPlaces);
    graph->setYDecPlaces(settings.YDecPlaces);

    QComboBox *cmbFlow = windowControl<QComboBox>(window, "cmbFlow");
    graph->setFlowRate(cmbFlow->itemText(cmbFlow->currentIndex()));
    graph->setSoilType(windowControl<QLabel>(window, "lblSoilDes")->text());
    if (windowControl<QCheckBox>(window, "chkDry")->isChecked())
        graph->setWaterContent(QStringLiteral("Dry"));
    if (windowControl<QCheckBox>(window, "chkMoist")->isChecked())
        graph->setWaterContent(QStringLiteral("Moist"));
    if (windowControl<QCheckBox>(window, "chkWet")->isChecked())
        graph->setWaterContent(QStringLiteral("Wet"));

    return graph->DrawGraph();
}
