#include "SampleSequence.h"

namespace Quorvel
{

namespace
{

quint32 reverseBits(quint32 x)
{
    x = ((x >> 1) & 0x55555555u) | ((x & 0x55555555u) << 1);
    x = ((x >> 2) & 0x33333333u) | ((x & 0x33333333u) << 2);
    x = ((x >> 4) & 0x0f0f0f0fu) | ((x & 0x0f0f0f0fu) << 4);
    x = ((x >> 8) & 0x00ff00ffu) | ((x & 0x00ff00ffu) << 8);
    return (x >> 16) | (x << 16);
}

/// Owen scrambling of bit-reversed numbers: every bit is changed by lower bits only (constants by N.
/// Vegdahl).
quint32 scrambleReversed(quint32 x, quint32 key)
{
    x ^= x * 0x3d20adeau;
    x += key;
    x *= (key >> 16) | 1u;
    x ^= x * 0x05526c56u;
    x ^= x * 0x53a22864u;
    return x;
}

/// The second dimension of the Sobol sequence, bit-reversed: its matrix is Pascal's triangle modulo 2, whose
/// product is a sum over the subsets of the bit positions.
quint32 secondDimensionReversed(quint32 index)
{
    index ^= (index & 0xaaaaaaaau) >> 1;
    index ^= (index & 0xccccccccu) >> 2;
    index ^= (index & 0xf0f0f0f0u) >> 4;
    index ^= (index & 0xff00ff00u) >> 8;
    index ^= (index & 0xffff0000u) >> 16;
    return index;
}

} // namespace

SamplePoint SampleSequence::point(quint32 pair, quint32 sample) const
{
    const quint32 key = mixBits(m_key + pair * 0x9e3779b9u);
    const quint32 index = reverseBits(scrambleReversed(reverseBits(sample), key));
    const quint32 x = scrambleReversed(index, mixBits(key ^ 0xa511e9b3u));
    const quint32 y = scrambleReversed(secondDimensionReversed(index), mixBits(key ^ 0x63d83595u));
    return {unitFloat(reverseBits(x)), unitFloat(reverseBits(y))};
}

quint32 SampleSequence::coin(quint32 pair, quint32 sample) const
{
    return mixBits(mixBits(m_key + pair * 0x85ebca6bu) ^ (sample + 0x2545f491u));
}

} // namespace Quorvel
