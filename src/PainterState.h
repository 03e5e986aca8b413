#pragma once

#include "Frustum.h"

#include <QColor>
#include <QMatrix4x4>
#include <QRectF>
#include <QVector4D>

namespace Quorvel
{

class Scene;

/// What one frame is drawn with. A value: painters copy it and change the copy.
class PainterState
{
public:
    explicit PainterState(Scene *scene) : m_scene(scene) {}
    PainterState(const PainterState &) = default;
    PainterState &operator=(const PainterState &) = default;
    virtual ~PainterState() = default;

    /// Recomputes matrices, clip planes, frustum and ambient light from the scene, which must be set and have
    /// an active camera node, and from the aspect.
    void update();

    /// Not owned.
    Scene *scene() const { return m_scene; }
    void setScene(Scene *scene) { m_scene = scene; }

    /// Target rectangle in pixels of the framebuffer.
    QRectF viewport() const { return m_viewport; }
    void setViewport(const QRectF &viewport) { m_viewport = viewport; }

    /// Summed colour of the scene's ambient lights, as (red, green, blue, alpha).
    QVector4D ambient() const { return m_ambient; }
    void setAmbient(const QVector4D &ambient) { m_ambient = ambient; }

    /// World to view space. View space looks along -z.
    const QMatrix4x4 &sceneToView() const { return m_sceneToView; }
    void setSceneToView(const QMatrix4x4 &transform) { m_sceneToView = transform; }
    /// View to clip space: a perspective projection.
    const QMatrix4x4 &viewToClip() const { return m_viewToClip; }
    void setViewToClip(const QMatrix4x4 &transform) { m_viewToClip = transform; }

    /// Distances from the eye along the view direction, in scene units.
    float znear() const { return m_znear; }
    void setZnear(float distance) { m_znear = distance; }
    float zfar() const { return m_zfar; }
    void setZfar(float distance) { m_zfar = distance; }

    /// Width divided by height of the viewport.
    float aspect() const { return m_aspect; }
    void setAspect(float aspect) { m_aspect = aspect; }

    /// An invalid colour is opaque black.
    QColor backgroundColor() const { return m_backgroundColor; }
    void setBackgroundColor(const QColor &color) { m_backgroundColor = color; }

    bool backfaceCulling() const { return m_backfaceCulling; }
    void setBackfaceCulling(bool on) { m_backfaceCulling = on; }
    /// A fast frame is wanted: the view is being dragged.
    bool lowQuality() const { return m_lowQuality; }
    void setLowQuality(bool on) { m_lowQuality = on; }
    bool castShadows() const { return m_castShadows; }
    void setCastShadows(bool on) { m_castShadows = on; }
    bool ambientOcclusion() const { return m_ambientOcclusion; }
    void setAmbientOcclusion(bool on) { m_ambientOcclusion = on; }
    /// The sketch look.
    bool outlines() const { return m_outlines; }
    void setOutlines(bool on) { m_outlines = on; }
    /// The test animation runs.
    bool animating() const { return m_animating; }
    void setAnimating(bool on) { m_animating = on; }

    const Frustum &frustum() const { return m_frustum; }

private:
    void updateAmbient();

    Scene *m_scene;
    QRectF m_viewport;
    QVector4D m_ambient;
    QMatrix4x4 m_sceneToView;
    QMatrix4x4 m_viewToClip;
    float m_znear = 0.0f;
    float m_zfar = 1.0f;
    float m_aspect = 1.0f;
    QColor m_backgroundColor;
    bool m_backfaceCulling = true;
    bool m_lowQuality = false;
    bool m_castShadows = false;
    bool m_ambientOcclusion = false;
    bool m_outlines = false;
    bool m_animating = false;
    Frustum m_frustum;
};

/// Where a view cuts off the scene: near and far distance from the eye that just hold the scene's bounding
/// sphere, the near one never closer than a thirtieth of its radius. `worldToEye` looks along -z.
struct ClipDistances
{
    float near;
    float far;
};
ClipDistances clipDistances(const Scene &scene, const QMatrix4x4 &worldToEye);

} // namespace Quorvel
