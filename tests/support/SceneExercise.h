#pragma once

class QByteArray;

namespace Quorvel
{

/// Does with a record what the viewer does with a scene that it receives, but for GL calls: loads it, culls,
/// lights and merges it as for a frame, prints it and writes it again. Returns what was written.
QByteArray exerciseScene(const QByteArray &record);

} // namespace Quorvel
