#include "CameraMotion.h"

namespace Quorvel
{

namespace
{

QVector3D cameraAxis(const QMatrix4x4 &world, const QVector3D &axis)
{
    return QMatrix4x4(world.normalMatrix()).mapVector(axis);
}

QMatrix4x4 turnAbout(const QVector3D &centre, const QVector3D &axis, float angle)
{
    QMatrix4x4 toCentre;
    toCentre.translate(centre);
    QMatrix4x4 rotation;
    rotation.rotate(angle, axis);
    return toCentre * rotation * toCentre.inverted();
}

/// In the camera's own units: a scale in `world` divides it.
float distanceTo(const QVector3D &centre, const QMatrix4x4 &world)
{
    const QMatrix4x4 toCamera = world.inverted();
    const QVector3D position = world.map(QVector3D());
    return (toCamera.map(centre) - toCamera.map(position)).length();
}

} // namespace

QMatrix4x4 CameraMotion::roll(const QMatrix4x4 &local, float angle)
{
    QMatrix4x4 moved = local;
    moved.rotate(angle, 0, 0, 1);
    return moved;
}

QMatrix4x4 CameraMotion::orbitHorizontal(const QMatrix4x4 &local, const QMatrix4x4 &world,
                                         const QVector3D &centre, float angle)
{
    return turnAbout(centre, cameraAxis(world, QVector3D(0, 1, 0)), angle) * local;
}

QMatrix4x4 CameraMotion::orbitVertical(const QMatrix4x4 &local, const QMatrix4x4 &world,
                                       const QVector3D &centre, float angle)
{
    return turnAbout(centre, cameraAxis(world, QVector3D(1, 0, 0)), angle) * local;
}

QMatrix4x4 CameraMotion::zoom(const QMatrix4x4 &local, const QMatrix4x4 &world, const QVector3D &centre,
                              float amount)
{
    QMatrix4x4 moved = local;
    moved.translate(0, 0, amount * distanceTo(centre, world));
    return moved;
}

QMatrix4x4 CameraMotion::move(const QMatrix4x4 &local, const QMatrix4x4 &world, const QVector3D &centre,
                              float right, float up)
{
    const QVector3D offset =
        cameraAxis(world, QVector3D(1, 0, 0)) * right + cameraAxis(world, QVector3D(0, 1, 0)) * up;
    QMatrix4x4 translation;
    translation.translate(offset * distanceTo(centre, world));
    return translation * local;
}

} // namespace Quorvel
