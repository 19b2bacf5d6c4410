#pragma once

#include <QHash>
#include <QPointer>
#include <QRect>
#include <QWidget>
#include <functional>

// Rescales the controls of a window from the geometry they had when the window
// loaded, so that repeated resizes never compound rounding errors. Each control
// is treated by its kind: the window supplies a rule that says what to scale.
class ControlScaler
{
public:
    enum class Rule {
        Untouched,        // toolbars, timers, menus
        GeometryOnly,     // position and size, font untouched
        GeometryAndFont,  // position, size and font size 8 x font ratio
        ComboBox,         // top, left and width; height left to the list; Verdana
        PositionOnly,     // top and left only (buttons keep their size)
    };
    using RuleFor = std::function<Rule(QWidget *)>;

    // Remembers the current geometry of every descendant of `window` that the
    // rule does not leave untouched.
    void capture(QWidget *window, const RuleFor &ruleFor);

    // Applies the ratios to the remembered geometry. `fontRatio` scales the
    // base font size of 8 points.
    void apply(double xRatio, double yRatio, double fontRatio) const;

    bool isEmpty() const { return m_items.isEmpty(); }
    QRect originalGeometry(QWidget *w) const;

private:
    struct Item
    {
        QPointer<QWidget> widget;
        QRect geometry;
        Rule rule;
    };
    QList<Item> m_items;
};
