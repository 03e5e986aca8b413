#pragma once

#include <QPointF>
#include <QtGlobal>

namespace Quorvel
{

/// A hash of 32 bits with good avalanche ("lowbias32", C. Wellons).
inline quint32 mixBits(quint32 x)
{
    x ^= x >> 16;
    x *= 0x7feb352du;
    x ^= x >> 15;
    x *= 0x846ca68bu;
    return x ^ (x >> 16);
}

/// 0 up to but not including 1.
inline float unitFloat(quint32 bits)
{
    return float(bits >> 8) * 0x1p-24f;
}

struct SamplePoint
{
    float x;
    float y;
};

/// Points of the unit square for one texel: for each use ("pair") another, independent sequence, of which
/// the first 2^k points are well spread for every k.
///
/// The Sobol sequence with Owen scrambling by hashing and shuffled order (B. Burley, "Practical Hash-based
/// Owen Scrambling", 2020). A point depends on seed, texel, pair and sample alone, so it does not matter
/// which thread asks, nor when.
class SampleSequence
{
public:
    SampleSequence(quint32 seed, quint32 texel) : m_key(mixBits(mixBits(seed + 0x68bc21ebu) ^ texel)) {}

    SamplePoint point(quint32 pair, quint32 sample) const;
    /// A number for decisions, independent of the points.
    quint32 coin(quint32 pair, quint32 sample) const;

private:
    quint32 m_key;
};

} // namespace Quorvel
