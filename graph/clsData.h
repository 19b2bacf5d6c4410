#pragma once

#include <QObject>
#include <QString>
#include <QVariant>
#include <cstdint>

// One wetting front: the outline of the wetted soil around the emitter at one
// time step. A plain property holder: every property is stored as given, with
// no validation (zero or negative radii are kept as they are).
//
// The data side fills Radius1, Radius2, zplus, zminus, label and Color. The
// drawing code writes the three scaled working values back into the record.
// AspectRatio is carried along untouched; nothing in the program computes it.
//
// The four working values are variants: they hold either a plain value or an
// object reference. A new record holds empty variants (not 0).
class clsData
{
public:
    clsData() = default;

    // Working values (variants). Each has a value write, an object write and a read.
    void setAspectRatio(const QVariant &value) { m_AspectRatio = value; }
    void setAspectRatioObject(QObject *object);
    QVariant AspectRatio() const { return m_AspectRatio; }

    void setScaledr(const QVariant &value) { m_Scaledr = value; }
    void setScaledrObject(QObject *object);
    QVariant Scaledr() const { return m_Scaledr; }

    void setScaledZminus(const QVariant &value) { m_ScaledZminus = value; }
    void setScaledZminusObject(QObject *object);
    QVariant ScaledZminus() const { return m_ScaledZminus; }

    void setScaledZplus(const QVariant &value) { m_ScaledZplus = value; }
    void setScaledZplusObject(QObject *object);
    QVariant ScaledZplus() const { return m_ScaledZplus; }

    // Colour value with red in the low byte (see ColorRef).
    void setColor(std::int32_t value) { m_Color = value; }
    std::int32_t Color() const { return m_Color; }

    // The front's label; the graph control also keys its collection by it.
    void setlabel(const QString &value) { m_label = value; }
    QString label() const { return m_label; }

    // Extent above the emitter (upward), metres.
    void setzminus(float value) { m_zminus = value; }
    float zminus() const { return m_zminus; }

    // Extent below the emitter (downward), metres.
    void setzplus(float value) { m_zplus = value; }
    float zplus() const { return m_zplus; }

    // Second radius of the row: carried and copied, never drawn.
    void setRadius2(float value) { m_Radius2 = value; }
    float Radius2() const { return m_Radius2; }

    // Horizontal radius (lateral spread from the emitter), metres.
    void setRadius1(float value) { m_Radius1 = value; }
    float Radius1() const { return m_Radius1; }

private:
    QVariant m_AspectRatio;
    QVariant m_Scaledr;
    QVariant m_ScaledZminus;
    QVariant m_ScaledZplus;
    std::int32_t m_Color = 0;
    QString m_label;
    float m_zminus = 0.0f;
    float m_zplus = 0.0f;
    float m_Radius2 = 0.0f;
    float m_Radius1 = 0.0f;
};
