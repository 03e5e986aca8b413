#pragma once

#include "Node.h"
#include "Scene.h"

#include <QDataStream>
#include <QStringList>

namespace Quorvel
{

inline QByteArray saved(const Scene &scene)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    scene.save(stream);
    return bytes;
}

inline void load(Scene *scene, const QByteArray &bytes)
{
    QDataStream stream(bytes);
    scene->load(stream);
}

inline QStringList ids(const QList<Node *> &nodes)
{
    QStringList result;
    for (const Node *const node : nodes)
        result.append(node->id());
    return result;
}

} // namespace Quorvel
