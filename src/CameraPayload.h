#pragma once

#include <QByteArray>
#include <QMatrix4x4>

#include <optional>

namespace Quorvel
{

/// The data of a camera move: the local transform of the camera node in the record encoding, 16 big-endian
/// doubles, row by row.
namespace CameraPayload
{

QByteArray encode(const QMatrix4x4 &transform);

/// Nothing when the data is too short for a matrix or holds a number that no float can hold. What follows the
/// matrix is ignored.
std::optional<QMatrix4x4> decode(const QByteArray &data);

} // namespace CameraPayload

} // namespace Quorvel
