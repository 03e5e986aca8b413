#pragma once

#include "Camera.h"
#include "Geometry.h"
#include "Light.h"
#include "Material.h"
#include "Node.h"
#include "Scene.h"
#include "Trimesh.h"

#include <QMatrix4x4>

namespace Quorvel
{

inline QMatrix4x4 translation(float x, float y, float z)
{
    return QMatrix4x4(1, 0, 0, x, 0, 1, 0, y, 0, 0, 1, z, 0, 0, 0, 1);
}

inline QMatrix4x4 scaling(float factor)
{
    return QMatrix4x4(factor, 0, 0, 0, 0, factor, 0, 0, 0, 0, factor, 0, 0, 0, 0, 1);
}

/// Adds named objects to an incomplete scene, which owns them from then on.
class SceneAssembly
{
public:
    explicit SceneAssembly(Scene *scene) : m_scene(scene) {}

    Geometry *geometry(const QString &id, const QVector<QVector3D> &vertices = {})
    {
        auto *geometry = new Geometry;
        geometry->setId(id);
        geometry->setVertices(vertices);
        m_scene->geometries().append(geometry);
        return geometry;
    }

    static Trimesh *group(Geometry *geometry, const QString &symbol, const QVector<int> &indices = {})
    {
        auto *trimesh = new Trimesh;
        trimesh->setMaterialName(symbol);
        trimesh->setIndices(indices);
        geometry->addTrimesh(trimesh);
        return trimesh;
    }

    Light *light(const QString &id, int type = Light::PointLight)
    {
        auto *light = new Light(type);
        light->setId(id);
        m_scene->lights().append(light);
        return light;
    }

    Camera *camera(const QString &id)
    {
        auto *camera = new Camera;
        camera->setId(id);
        m_scene->cameras().append(camera);
        return camera;
    }

    Material *material(const QString &name, float transparency = 0.0f)
    {
        auto *material = new Material;
        material->setName(name);
        material->setTransparency(transparency);
        m_scene->materials().insert(name, material);
        return material;
    }

    Node *node(const QString &id, Node *parent = nullptr, Model *model = nullptr)
    {
        auto *node = new Node(parent);
        node->setId(id);
        node->setModel(model);
        m_scene->nodes().append(node);
        return node;
    }

private:
    Scene *m_scene;
};

} // namespace Quorvel
