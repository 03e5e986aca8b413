#pragma once

#include <QMatrix4x4>
#include <QtDebug>

namespace Quorvel
{

inline QMatrix4x4 translation(float x, float y, float z)
{
    QMatrix4x4 matrix;
    matrix.translate(x, y, z);
    return matrix;
}

/// Prints both when an element differs by more than 1e-5.
inline bool isNear(const QMatrix4x4 &actual, const QMatrix4x4 &expected)
{
    for (int i = 0; i < 16; ++i) {
        if (!(qAbs(actual.constData()[i] - expected.constData()[i]) <= 1e-5f)) {
            qInfo() << "actual" << actual << "expected" << expected;
            return false;
        }
    }
    return true;
}

} // namespace Quorvel
