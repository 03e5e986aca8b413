#include "LightDenoiser.h"

#include "ColorCoding.h"
#include "VectorMath.h"

#include <oneapi/tbb/parallel_for.h>

#include <algorithm>
#include <cmath>

namespace Quorvel
{

namespace
{

struct Filtered
{
    QVector3D light;
    float variance = 0.0f;
};

struct Guide
{
    QVector3D normal;
    int chart = -1;
};

/// One kind of light over the whole map, and what keeps it apart.
class LightLayer
{
public:
    LightLayer(const std::vector<Guide> &guides, const std::vector<int> &covered, int size)
        : m_guides(guides), m_covered(covered), m_size(size), m_texels(guides.size()), m_next(guides.size())
    {
    }

    Filtered &operator[](int texel) { return m_texels[size_t(texel)]; }

    /// One round: reads texels `step` apart.
    void filter(int step, float strength)
    {
        oneapi::tbb::parallel_for(size_t(0), m_covered.size(), [this, step, strength](size_t i) {
            m_next[size_t(m_covered[i])] = filtered(m_covered[i], step, strength);
        });
        m_texels.swap(m_next);
    }

private:
    Filtered filtered(int texel, int step, float strength) const
    {
        static constexpr float kernel[] = {6.0f / 16.0f, 4.0f / 16.0f, 1.0f / 16.0f};
        const Filtered &centre = m_texels[size_t(texel)];
        const Guide &guide = m_guides[size_t(texel)];
        const float brightness = luminance(centre.light);
        const float tolerance = strength * std::sqrt(smoothVariance(texel)) + 1e-5f;
        QVector3D light;
        float variance = 0.0f;
        float total = 0.0f;
        for (int row = -2; row <= 2; ++row) {
            for (int column = -2; column <= 2; ++column) {
                const int other = neighbour(texel, column * step, row * step);
                if (other < 0)
                    continue;
                const Filtered &value = m_texels[size_t(other)];
                const float facing = std::max(dot(guide.normal, m_guides[size_t(other)].normal), 0.0f);
                const float weight = kernel[std::abs(row)] * kernel[std::abs(column)] * power64(facing) *
                                     std::exp(-std::abs(luminance(value.light) - brightness) / tolerance);
                light += value.light * weight;
                variance += value.variance * weight * weight;
                total += weight;
            }
        }
        return total > 0.0f ? Filtered{light / total, variance / (total * total)} : centre;
    }

    /// Mean over 3 x 3 texels of the chart.
    float smoothVariance(int texel) const
    {
        float sum = 0.0f;
        float total = 0.0f;
        for (int row = -1; row <= 1; ++row) {
            for (int column = -1; column <= 1; ++column) {
                const int other = neighbour(texel, column, row);
                if (other < 0)
                    continue;
                const float weight = (row ? 1.0f : 2.0f) * (column ? 1.0f : 2.0f);
                sum += weight * m_texels[size_t(other)].variance;
                total += weight;
            }
        }
        return sum / total;
    }

    /// -1: outside of the image, or in another chart.
    int neighbour(int texel, int right, int down) const
    {
        const int x = texel % m_size + right;
        const int y = texel / m_size + down;
        if (x < 0 || x >= m_size || y < 0 || y >= m_size)
            return -1;
        const int other = y * m_size + x;
        return m_guides[size_t(other)].chart == m_guides[size_t(texel)].chart ? other : -1;
    }

    static float power64(float base)
    {
        for (int i = 0; i < 6; ++i)
            base *= base;
        return base;
    }

    const std::vector<Guide> &m_guides;
    const std::vector<int> &m_covered;
    int m_size;
    std::vector<Filtered> m_texels;
    std::vector<Filtered> m_next;
};

} // namespace

void denoise(const PathTracer &tracer, const TexelMap &texels, const std::vector<int> &covered,
             std::vector<TexelLight> *light)
{
    constexpr int directRounds = 2;
    constexpr int indirectRounds = 5;
    std::vector<Guide> guides(light->size());
    LightLayer direct(guides, covered, texels.size());
    LightLayer indirect(guides, covered, texels.size());
    for (const int texel : covered) {
        const TexelLight &arriving = (*light)[size_t(texel)];
        guides[size_t(texel)] = {tracer.placeOf(texel).normal, texels.chartAt(texel)};
        direct[texel] = {arriving.direct, arriving.directVariance};
        indirect[texel] = {arriving.indirect, arriving.indirectVariance};
    }
    for (int round = 0; round < directRounds; ++round)
        direct.filter(1 << round, 1.0f);
    for (int round = 0; round < indirectRounds; ++round)
        indirect.filter(1 << round, 4.0f);
    for (const int texel : covered) {
        (*light)[size_t(texel)].direct = direct[texel].light;
        (*light)[size_t(texel)].indirect = indirect[texel].light;
    }
}

} // namespace Quorvel
