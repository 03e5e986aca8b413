#include "VectorMath.h"

#include <QRandomGenerator>
#include <QtTest>

#include <cstring>

using namespace Quorvel;

/// The inline forms against the toolkit's, bit by bit.
class TestVectorMath : public QObject
{
    Q_OBJECT

private slots:
    void equalsTheToolkit();
};

namespace
{

template <typename T>
bool isIdentical(const T &a, const T &b)
{
    return std::memcmp(&a, &b, sizeof a) == 0;
}

/// Any finite float, from the smallest to the largest.
float anyFloat(QRandomGenerator *random)
{
    for (;;) {
        const quint32 bits = random->generate();
        float value;
        std::memcpy(&value, &bits, sizeof value);
        if (std::isfinite(value))
            return value;
    }
}

QVector3D anyVector(QRandomGenerator *random)
{
    const float x = anyFloat(random);
    const float y = anyFloat(random);
    return {x, y, anyFloat(random)};
}

QVector3D usualVector(QRandomGenerator *random)
{
    const auto coordinate = [random] { return float(random->bounded(2000.0) - 1000.0); };
    const float x = coordinate();
    const float y = coordinate();
    return {x, y, coordinate()};
}

} // namespace

void TestVectorMath::equalsTheToolkit()
{
    QRandomGenerator random(7);
    for (int i = 0; i < 200000; ++i) {
        const bool usual = i % 2 == 0;
        const QVector3D a = usual ? usualVector(&random) : anyVector(&random);
        const QVector3D b = usual ? usualVector(&random) : anyVector(&random);
        const QVector3D cross = VectorMath::crossProduct(a, b);
        const QVector3D expectedCross = QVector3D::crossProduct(a, b);
        for (int k = 0; k < 3; ++k)
            QVERIFY(isIdentical(float(cross[k]), float(expectedCross[k])) || std::isnan(expectedCross[k]));
        const float dot = QVector3D::dotProduct(a, b);
        QVERIFY(isIdentical(VectorMath::dotProduct(a, b), dot) || std::isnan(dot));
        QVERIFY(isIdentical(VectorMath::length(a), a.length()));
    }
}

QTEST_APPLESS_MAIN(TestVectorMath)
#include "tst_vectormath.moc"
