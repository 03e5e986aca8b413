#pragma once

#include <QString>

class QDropEvent;
class QMimeData;

namespace Quorvel
{

/// Scene files that are dragged onto the window.
namespace SceneDrag
{

/// The first of the dragged files that is a local one named like a scene, as in the open dialog; empty when
/// there is none.
QString filename(const QMimeData *data);

/// Takes what is dragged, and leaves the file where it is even if a move was asked for.
void acceptCopy(QDropEvent *event);

} // namespace SceneDrag

} // namespace Quorvel
