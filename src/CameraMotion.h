#pragma once

#include <QMatrix4x4>
#include <QVector3D>

namespace Quorvel
{

/// The camera moves behind drags, wheel and test animation, as pure functions of matrices.
///
/// `local` is the camera node's transform relative to its parent, `world` the same node's transform into
/// world space, `centre` the point that the camera turns about, in world space. Each function returns the
/// node's new local transform. Angles are degrees. Axes are the normal matrix of `world` applied to a camera
/// axis, and are used in the space of `local`'s parent, as is `centre`: under a parent other than the
/// identity a camera therefore turns about another point than the one that it shows.
namespace CameraMotion
{

/// Turns about the camera's own viewing axis.
QMatrix4x4 roll(const QMatrix4x4 &local, float angle);

/// Turns about the line through `centre` along the camera's y axis.
QMatrix4x4 orbitHorizontal(const QMatrix4x4 &local, const QMatrix4x4 &world, const QVector3D &centre,
                           float angle);

/// Turns about the line through `centre` along the camera's x axis.
QMatrix4x4 orbitVertical(const QMatrix4x4 &local, const QMatrix4x4 &world, const QVector3D &centre,
                         float angle);

/// Goes back along the viewing direction by `amount` times the distance to `centre`; negative goes nearer.
QMatrix4x4 zoom(const QMatrix4x4 &local, const QMatrix4x4 &world, const QVector3D &centre, float amount);

/// Goes sideways: `right` along the camera's x axis and `up` along its y axis, times the distance to
/// `centre`.
QMatrix4x4 move(const QMatrix4x4 &local, const QMatrix4x4 &world, const QVector3D &centre, float right,
                float up);

} // namespace CameraMotion

} // namespace Quorvel
