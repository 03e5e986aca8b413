#pragma once

#include "Desktop.h"

namespace Quorvel
{

inline const QColor red(204, 51, 51);
inline const QColor green(51, 204, 51);
inline const QColor blue(51, 51, 204);
inline const QColor yellow(204, 204, 51);
inline const QColor black(0, 0, 0);

/// The wall of the fixture scene as the full screen shows it.
struct Wall
{
    explicit Wall(const QImage &screen) : image(screen)
    {
        for (int x = 0; x < image.width(); ++x) {
            if (height(x) > 0) {
                left = left < 0 ? x : left;
                right = x;
            }
        }
    }

    /// Pixels of a column that are neither background nor status bar.
    int height(int x) const
    {
        int pixels = 0;
        for (int y = 0; y < image.height(); ++y) {
            const QColor color = image.pixelColor(x, y);
            pixels += Desktop::isNear(color, red) || Desktop::isNear(color, green) ||
                      Desktop::isNear(color, blue) || Desktop::isNear(color, yellow);
        }
        return pixels;
    }
    bool isVisible() const { return left >= 0; }
    int width() const { return isVisible() ? right - left + 1 : 0; }

    QImage image;
    int left = -1;
    int right = -1;
};

} // namespace Quorvel
