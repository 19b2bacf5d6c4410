#include "simulation/ControlScaler.h"

#include <cmath>

void ControlScaler::capture(QWidget *window, const RuleFor &ruleFor)
{
    m_items.clear();
    const auto children = window->findChildren<QWidget *>();
    for (QWidget *w : children) {
        const Rule rule = ruleFor(w);
        if (rule != Rule::Untouched)
            m_items.append({w, w->geometry(), rule});
    }
}

void ControlScaler::apply(double xRatio, double yRatio, double fontRatio) const
{
    const auto sx = [xRatio](int v) { return int(std::lround(v * xRatio)); };
    const auto sy = [yRatio](int v) { return int(std::lround(v * yRatio)); };
    const double points = 8.0 * fontRatio;
    for (const Item &item : m_items) {
        QWidget *w = item.widget;
        if (!w)
            continue;
        const QRect g = item.geometry;
        QRect n = g;
        switch (item.rule) {
        case Rule::Untouched:
            continue;
        case Rule::GeometryOnly:
        case Rule::GeometryAndFont:
            n = QRect(sx(g.left()), sy(g.top()), sx(g.width()), sy(g.height()));
            break;
        case Rule::ComboBox:
            n = QRect(sx(g.left()), sy(g.top()), sx(g.width()), g.height());
            break;
        case Rule::PositionOnly:
            n = QRect(sx(g.left()), sy(g.top()), g.width(), g.height());
            break;
        }
        if (item.rule == Rule::GeometryAndFont || item.rule == Rule::ComboBox) {
            QFont f = w->font();
            if (item.rule == Rule::ComboBox)
                f.setFamily(QStringLiteral("Verdana"));
            if (points > 0)
                f.setPointSizeF(points);
            w->setFont(f);
            if (item.rule == Rule::ComboBox)
                n.setHeight(std::max(g.height(), w->sizeHint().height()));
        }
        w->setGeometry(n);
    }
}

QRect ControlScaler::originalGeometry(QWidget *w) const
{
    for (const Item &item : m_items)
        if (item.widget == w)
            return item.geometry;
    return QRect();
}
