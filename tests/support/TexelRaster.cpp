#include "TexelRaster.h"

#include <cmath>

namespace Quorvel::Test
{

void footprint(const FlatTriangle &flat, const std::function<void(int, int)> &visit)
{
    for (size_t k = 0; k < 3; ++k) {
        const size_t n = (k + 1) % 3;
        const int steps = 1 + int(8.0 * std::hypot(flat.x[n] - flat.x[k], flat.y[n] - flat.y[k]));
        for (int i = 0; i <= steps; ++i) {
            const double part = double(i) / steps;
            const int x = int(std::floor(flat.x[k] + part * (flat.x[n] - flat.x[k]) - 0.5 + 1e-3));
            const int y = int(std::floor(flat.y[k] + part * (flat.y[n] - flat.y[k]) - 0.5 + 1e-3));
            for (int j = 0; j < 4; ++j) {
                // A texel of no weight is not read.
                const double wx = flat.x[k] + part * (flat.x[n] - flat.x[k]) - 0.5 - x;
                const double wy = flat.y[k] + part * (flat.y[n] - flat.y[k]) - 0.5 - y;
                if ((j % 2 == 0 || wx > 0.02) && (j / 2 == 0 || wy > 0.02))
                    visit(x + j % 2, y + j / 2);
            }
        }
    }
}

} // namespace Quorvel::Test
