#pragma once

#include <QByteArray>

#include <optional>

class QString;

namespace Quorvel
{

class Scene;

/// The data of a scene message: the size of the scene record as 4 bytes, big-endian, then the record
/// (docs/formats.md) compressed by zlib; what the toolkit's qCompress makes of it.
namespace ScenePayload
{

/// The most bytes of a record that are sent or accepted.
constexpr int MaximumRecordSize = 256 * 1024 * 1024;

/// The record of a complete scene.
QByteArray record(const Scene &scene);

/// Compresses a record. May run on any thread.
QByteArray encode(const QByteArray &record);

/// The record in bytes from elsewhere, which then can be loaded and drawn; or nothing, and `fault` says why.
/// Never holds more memory than the record that the bytes announce, and refuses that above the maximum.
std::optional<QByteArray> decode(const QByteArray &payload, QString *fault);

} // namespace ScenePayload

} // namespace Quorvel
