#pragma once

#include <QImage>
#include <QString>

namespace Quorvel
{

class PainterState;

/// Whether a picture shows nothing that could be told apart: all its pixels, of two or more, are equal.
bool isOneColor(const QImage &picture);

/// What is known about a picture of one colour.
struct BlankPicture
{
    bool isBlack = false;
    bool isLightMapped = false;
    /// Whether the scene has any triangles, and whether any of those in view are not fully transparent.
    bool hasTriangles = false;
    bool hasItemsInView = false;
    bool hasVisibleItems = false;
    /// Whether anything covers the background, and whether anything would if back faces were drawn.
    bool isCovered = false;
    bool isCoveredByBacks = false;
    /// Of any kind; ambient ones that give light; others among those that count that give light.
    bool hasLights = false;
    bool hasAmbientLight = false;
    bool hasDirectLight = false;
};

/// Fills in what follows from the scene and the view; the state must be updated.
void describeScene(const PainterState &state, BlankPicture *blank);

/// Why the picture is of one colour, as far as it is known: the rest of a sentence.
QString reasonForOneColor(const BlankPicture &blank);

} // namespace Quorvel
