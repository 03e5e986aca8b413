#pragma once

#include <QString>

namespace Quorvel
{

struct AtlasOptions
{
    /// Of the square light map, in texels.
    int size = 1024;
    /// Texels that stay free between two charts and along the border.
    int padding = 8;
};

/// What an atlas came out as.
struct AtlasSummary
{
    int triangles = 0;
    int charts = 0;
    /// Texels per world unit.
    double density = 0.0;
    /// Part of the image that charts cover.
    double fill = 0.0;
    double seconds = 0.0;
};

/// Writes a copy of a COLLADA scene in which every triangle that is shown has a place of its own in one
/// square image, at the same size in the world for all. Two nodes that show one geometry get two geometries.
///
/// The scene is loaded as by the viewer: one that cannot be opened is fatal. False, with a sentence for a
/// person, when the scene cannot be read or rewritten, when its charts do not fit, or when the copy cannot be
/// written, which then stays as it was. The same scene and options give the same bytes.
bool writeAtlasScene(const QString &scenePath, const QString &copyPath, const AtlasOptions &options,
                     QString *error, AtlasSummary *summary = nullptr);

} // namespace Quorvel
