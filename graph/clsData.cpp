#include "graph/clsData.h"

// An object reference is held as a QObject pointer inside the variant, so a
// read hands back the reference itself rather than a copy of the object.

void clsData::setAspectRatioObject(QObject *object)
{
    m_AspectRatio = QVariant::fromValue(object);
}

void clsData::setScaledrObject(QObject *object)
{
    m_Scaledr = QVariant::fromValue(object);
}

void clsData::setScaledZminusObject(QObject *object)
{
    m_ScaledZminus = QVariant::fromValue(object);
}

void clsData::setScaledZplusObject(QObject *object)
{
    m_ScaledZplus = QVariant::fromValue(object);
}
