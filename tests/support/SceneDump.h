#pragma once

#include <QString>

namespace Quorvel
{

class Scene;

/// Everything that a complete scene holds, as text: the same text for the same scene, whether it was
/// converted or read from a record. Numbers are written so that no two different ones look alike.
QString dumpScene(const Scene &scene);

} // namespace Quorvel
