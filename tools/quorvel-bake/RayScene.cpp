#include "RayScene.h"

#include "SampleSequence.h"

#if QUORVEL_EMBREE >= 4
#include <embree4/rtcore.h>
#else
#include <embree3/rtcore.h>
#endif
#include <oneapi/tbb/task_arena.h>

#include <cmath>
#include <limits>

namespace Quorvel
{

namespace
{

/// Triangles of one kind, and their numbers in the baked scene.
struct Part
{
    RTCScene scene = nullptr;
    std::vector<int> triangles;
};

void build(RTCDevice device, const BakeScene &source, Part *part)
{
    RTCGeometry geometry = rtcNewGeometry(device, RTC_GEOMETRY_TYPE_TRIANGLE);
    const size_t count = part->triangles.size();
    auto *vertices = static_cast<float *>(rtcSetNewGeometryBuffer(
        geometry, RTC_BUFFER_TYPE_VERTEX, 0, RTC_FORMAT_FLOAT3, 3 * sizeof(float), 3 * count));
    auto *indices = static_cast<unsigned *>(rtcSetNewGeometryBuffer(
        geometry, RTC_BUFFER_TYPE_INDEX, 0, RTC_FORMAT_UINT3, 3 * sizeof(unsigned), count));
    for (size_t i = 0; i < count; ++i) {
        for (size_t k = 0; k < 3; ++k) {
            const QVector3D &position = source.triangles[size_t(part->triangles[i])].positions[k];
            const size_t corner = 3 * i + k;
            vertices[3 * corner] = position.x();
            vertices[3 * corner + 1] = position.y();
            vertices[3 * corner + 2] = position.z();
            indices[corner] = unsigned(corner);
        }
    }
    rtcCommitGeometry(geometry);
    part->scene = rtcNewScene(device);
    rtcSetSceneFlags(part->scene, RTC_SCENE_FLAG_ROBUST);
    rtcSetSceneBuildQuality(part->scene, RTC_BUILD_QUALITY_MEDIUM);
    rtcAttachGeometry(part->scene, geometry);
    rtcReleaseGeometry(geometry);
    rtcCommitScene(part->scene);
}

void setRay(RTCRay *ray, const QVector3D &origin, const QVector3D &direction, float near, float far)
{
    ray->org_x = origin.x();
    ray->org_y = origin.y();
    ray->org_z = origin.z();
    ray->dir_x = direction.x();
    ray->dir_y = direction.y();
    ray->dir_z = direction.z();
    ray->tnear = near;
    ray->tfar = far;
    ray->time = 0.0f;
    ray->mask = ~0u;
    ray->id = 0;
    ray->flags = 0;
}

#if QUORVEL_EMBREE >= 4
void askNearest(RTCScene scene, RTCRayHit *query)
{
    rtcIntersect1(scene, query);
}

void askBlocked(RTCScene scene, RTCRay *ray)
{
    rtcOccluded1(scene, ray);
}
#else
void askNearest(RTCScene scene, RTCRayHit *query)
{
    RTCIntersectContext context;
    rtcInitIntersectContext(&context);
    rtcIntersect1(scene, &context, query);
}

void askBlocked(RTCScene scene, RTCRay *ray)
{
    RTCIntersectContext context;
    rtcInitIntersectContext(&context);
    rtcOccluded1(scene, &context, ray);
}
#endif

RayScene::Hit intersect(const Part &part, const QVector3D &origin, const QVector3D &direction, float near,
                        float far)
{
    RTCRayHit query;
    setRay(&query.ray, origin, direction, near, far);
    query.hit.geomID = RTC_INVALID_GEOMETRY_ID;
    query.hit.instID[0] = RTC_INVALID_GEOMETRY_ID;
    askNearest(part.scene, &query);
    RayScene::Hit hit;
    hit.distance = query.ray.tfar;
    if (query.hit.geomID != RTC_INVALID_GEOMETRY_ID)
        hit.triangle = part.triangles[query.hit.primID];
    return hit;
}

bool isBlocked(const Part &part, const QVector3D &origin, const QVector3D &direction, float far)
{
    RTCRay ray;
    setRay(&ray, origin, direction, 0.0f, far);
    askBlocked(part.scene, &ray);
    return ray.tfar < 0.0f;
}

float justBeyond(float distance)
{
    return std::nextafter(distance * (1.0f + 1e-6f), std::numeric_limits<float>::infinity());
}

} // namespace

struct RayScene::Device
{
    ~Device()
    {
        for (const Part *part : {&opaque, &translucent}) {
            if (part->scene)
                rtcReleaseScene(part->scene);
        }
        rtcReleaseDevice(device);
    }

    RTCDevice device = rtcNewDevice(nullptr);
    Part opaque;
    Part translucent;
};

RayScene::RayScene(const BakeScene &scene) : m_scene(scene)
{
    // The library takes its number of threads from the arena that it is started in. Its own option for that
    // would slow down every arena of the process.
    oneapi::tbb::task_arena(1).execute([this] { m_device = std::make_unique<Device>(); });
    for (size_t i = 0; i < scene.triangles.size(); ++i) {
        const float transparency = scene.surfaces[size_t(scene.triangles[i].surface)].transparency;
        if (transparency >= 1.0f)
            continue;
        Part &part = transparency > 0.0f ? m_device->translucent : m_device->opaque;
        part.triangles.push_back(int(i));
    }
    build(m_device->device, scene, &m_device->opaque);
    if (!m_device->translucent.triangles.empty())
        build(m_device->device, scene, &m_device->translucent);
}

RayScene::~RayScene() = default;

RayScene::Hit RayScene::nearest(const QVector3D &origin, const QVector3D &direction, quint32 coin) const
{
    const Hit opaque =
        intersect(m_device->opaque, origin, direction, 0.0f, std::numeric_limits<float>::infinity());
    float near = 0.0f;
    while (m_device->translucent.scene) {
        const Hit hit = intersect(m_device->translucent, origin, direction, near, opaque.distance);
        if (hit.triangle < 0)
            break;
        coin = mixBits(coin + 0x9e3779b9u);
        const int surface = m_scene.triangles[size_t(hit.triangle)].surface;
        if (unitFloat(coin) >= m_scene.surfaces[size_t(surface)].transparency)
            return hit;
        near = justBeyond(hit.distance);
    }
    return opaque;
}

float RayScene::transmittance(const QVector3D &origin, const QVector3D &direction, float length) const
{
    if (isBlocked(m_device->opaque, origin, direction, length))
        return 0.0f;
    float light = 1.0f;
    float near = 0.0f;
    while (m_device->translucent.scene && light > 1e-3f) {
        const Hit hit = intersect(m_device->translucent, origin, direction, near, length);
        if (hit.triangle < 0)
            break;
        const int surface = m_scene.triangles[size_t(hit.triangle)].surface;
        light *= m_scene.surfaces[size_t(surface)].transparency;
        near = justBeyond(hit.distance);
    }
    return light;
}

} // namespace Quorvel
