#pragma once

#include <QColor>
#include <QVector4D>

namespace Quorvel
{

/// (red, green, blue, alpha), each 0 to 1. An invalid colour is opaque black.
inline QVector4D toVector(const QColor &color)
{
    return {float(color.redF()), float(color.greenF()), float(color.blueF()), float(color.alphaF())};
}

} // namespace Quorvel
