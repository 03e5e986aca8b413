#include "TexelFill.h"

#include <algorithm>

namespace Quorvel
{

namespace
{

/// Calls visit(neighbour) for the up to eight texels around one.
template <typename Visit>
void forEachNeighbour(int texel, int size, Visit visit)
{
    const int x = texel % size;
    const int y = texel / size;
    for (int row = std::max(y - 1, 0); row <= std::min(y + 1, size - 1); ++row) {
        for (int column = std::max(x - 1, 0); column <= std::min(x + 1, size - 1); ++column) {
            if (row != y || column != x)
                visit(row * size + column);
        }
    }
}

/// Fills `open` texels ring by ring, at most `rings` of them, from those that `isFilled`. `mean(texel)` makes
/// a texel of its filled neighbours and tells whether there were any. Returns how many it filled.
template <typename Mean>
int fillRings(std::vector<int> open, int rings, std::vector<bool> *isFilled, Mean mean)
{
    int filled = 0;
    std::vector<int> ring;
    std::vector<int> later;
    for (int i = 0; i < rings && !open.empty(); ++i) {
        ring.clear();
        later.clear();
        for (const int texel : open)
            (mean(texel) ? ring : later).push_back(texel);
        if (ring.empty())
            break;
        for (const int texel : ring)
            (*isFilled)[size_t(texel)] = true;
        filled += int(ring.size());
        open.swap(later);
    }
    return filled;
}

} // namespace

int unearth(const TexelMap &texels, std::vector<TexelLight> *light)
{
    std::vector<int> buried;
    std::vector<bool> isLit(light->size(), false);
    for (int texel = 0; texel < texels.texelCount(); ++texel) {
        if (texels.triangleAt(texel) < 0)
            continue;
        isLit[size_t(texel)] = !(*light)[size_t(texel)].isBuried;
        if ((*light)[size_t(texel)].isBuried)
            buried.push_back(texel);
    }
    const auto mean = [&texels, &isLit, light](int texel) {
        TexelLight sum;
        int count = 0;
        forEachNeighbour(texel, texels.size(), [&](int neighbour) {
            if (!isLit[size_t(neighbour)] || texels.chartAt(neighbour) != texels.chartAt(texel))
                return;
            const TexelLight &other = (*light)[size_t(neighbour)];
            sum.direct += other.direct;
            sum.indirect += other.indirect;
            sum.directVariance += other.directVariance;
            sum.indirectVariance += other.indirectVariance;
            ++count;
        });
        if (count == 0)
            return false;
        const float part = 1.0f / float(count);
        (*light)[size_t(texel)] = {sum.direct * part, sum.indirect * part, sum.directVariance * part,
                                   sum.indirectVariance * part, true};
        return true;
    };
    return fillRings(buried, texels.size(), &isLit, mean);
}

void dilate(const TexelMap &texels, int padding, std::vector<QVector3D> *light)
{
    std::vector<int> open;
    std::vector<bool> isFilled(light->size());
    for (int texel = 0; texel < texels.texelCount(); ++texel) {
        isFilled[size_t(texel)] = texels.triangleAt(texel) >= 0;
        if (texels.triangleAt(texel) < 0)
            open.push_back(texel);
    }
    const auto mean = [&texels, &isFilled, light](int texel) {
        QVector3D sum;
        int count = 0;
        forEachNeighbour(texel, texels.size(), [&](int neighbour) {
            if (!isFilled[size_t(neighbour)])
                return;
            sum += (*light)[size_t(neighbour)];
            ++count;
        });
        if (count == 0)
            return false;
        (*light)[size_t(texel)] = sum / float(count);
        return true;
    };
    fillRings(open, padding, &isFilled, mean);
}

} // namespace Quorvel
