#include "BlankPicture.h"

#include "Geometry.h"
#include "Light.h"
#include "LightUniforms.h"
#include "Node.h"
#include "PainterState.h"
#include "Scene.h"
#include "Trimesh.h"

#include <algorithm>

namespace Quorvel
{

namespace
{

bool givesLight(const Light &light)
{
    const QColor color = light.color();
    return color.red() > 0 || color.green() > 0 || color.blue() > 0;
}

bool hasTriangles(const Node *node)
{
    const Geometry *geometry = node->geometryModel();
    return geometry && std::any_of(geometry->trimeshes().cbegin(), geometry->trimeshes().cend(),
                                   [](const Trimesh *group) { return group->indices().size() >= 3; });
}

QString reasonForDarkness(const BlankPicture &blank)
{
    if (blank.isLightMapped)
        return QStringLiteral("the light map is black there");
    if (!blank.hasLights)
        return QStringLiteral("the scene has no light, and its materials reflect no ambient light");
    if (!blank.hasAmbientLight && !blank.hasDirectLight)
        return QStringLiteral("all of the scene's lights that count are black");
    if (!blank.hasDirectLight)
        return QStringLiteral("the scene has only ambient light, and its materials reflect none of it");
    return QStringLiteral("no light reaches what is in view");
}

} // namespace

bool isOneColor(const QImage &picture)
{
    if (picture.width() * picture.height() < 2)
        return false;
    const QImage pixels = picture.convertToFormat(QImage::Format_RGB32);
    const QRgb first = pixels.pixel(0, 0);
    for (int y = 0; y < pixels.height(); ++y) {
        const QRgb *const row = reinterpret_cast<const QRgb *>(pixels.constScanLine(y));
        if (!std::all_of(row, row + pixels.width(), [first](QRgb pixel) { return pixel == first; }))
            return false;
    }
    return true;
}

void describeScene(const PainterState &state, BlankPicture *blank)
{
    const QList<Node *> &nodes = state.scene()->nodes();
    blank->hasTriangles = std::any_of(nodes.cbegin(), nodes.cend(), hasTriangles);
    const QVector<VisibleItem> &items = state.frustum().visibleItems();
    blank->hasItemsInView = !items.isEmpty();
    blank->hasVisibleItems = std::any_of(items.cbegin(), items.cend(),
                                         [](const VisibleItem &item) { return item.transparency < 1.0f; });
    int directLights = 0;
    for (const Node *node : nodes) {
        const Light *light = node->lightModel();
        if (!light)
            continue;
        blank->hasLights = true;
        if (light->type() == Light::AmbientLight)
            blank->hasAmbientLight = blank->hasAmbientLight || givesLight(*light);
        else if (directLights++ < MaxLights)
            blank->hasDirectLight = blank->hasDirectLight || givesLight(*light);
    }
}

QString reasonForOneColor(const BlankPicture &blank)
{
    if (!blank.hasTriangles)
        return QStringLiteral("the scene has no triangles");
    if (!blank.hasItemsInView)
        return QStringLiteral("nothing is in the camera's view");
    if (!blank.hasVisibleItems)
        return QStringLiteral("everything in view is fully transparent");
    if (!blank.isCovered && blank.isCoveredByBacks)
        return QStringLiteral("the camera sees only the backs of surfaces, perhaps from inside of something; "
                              "--no-backface-culling draws them");
    if (!blank.isCovered)
        return QStringLiteral("nothing is in the camera's view");
    if (blank.isBlack)
        return reasonForDarkness(blank);
    return QStringLiteral("what is in view has the same colour everywhere");
}

} // namespace Quorvel
