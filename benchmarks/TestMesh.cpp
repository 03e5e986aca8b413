#include "TestMesh.h"

#include "Camera.h"
#include "Geometry.h"
#include "Light.h"
#include "Material.h"
#include "Node.h"
#include "Scene.h"
#include "Trimesh.h"

#include <algorithm>
#include <cmath>

namespace Quorvel
{

std::unique_ptr<Geometry> makePatch(int triangles)
{
    const int cells = std::max(1, int(std::sqrt(triangles / 2.0)));
    auto geometry = std::make_unique<Geometry>();
    QVector<QVector3D> positions;
    QVector<QVector3D> normals;
    QVector<QVector2D> texcoords;
    for (int row = 0; row <= cells; ++row) {
        for (int column = 0; column <= cells; ++column) {
            const float u = float(column) / float(cells);
            const float v = float(row) / float(cells);
            positions.append({u, v, 0.1f * std::sin(9.0f * u) * std::sin(7.0f * v)});
            normals.append({0.0f, 0.0f, 1.0f});
            texcoords.append({u, v});
        }
    }
    geometry->setVertices(positions);
    geometry->setNormals(normals);
    geometry->setTexcoords(texcoords);

    auto group = std::make_unique<Trimesh>();
    group->setMaterialName(QStringLiteral("surface"));
    QVector<int> indices;
    for (int row = 0; row < cells; ++row) {
        for (int column = 0; column < cells; ++column) {
            const int corner = row * (cells + 1) + column;
            indices << corner << corner + cells + 1 << corner + 1;
            indices << corner + 1 << corner + cells + 1 << corner + cells + 2;
        }
    }
    group->setIndices(indices);
    group->setNormalIndices(indices);
    group->setTexcoordIndices(indices);
    geometry->addTrimesh(group.release());
    return geometry;
}

std::unique_ptr<Scene> makePatchScene(int patches, int trianglesPerPatch)
{
    auto scene = std::make_unique<Scene>();
    auto *material = new Material;
    material->setName(QStringLiteral("clay"));
    material->setDiffuse(QColor::fromRgbF(0.7, 0.6, 0.5));
    scene->materials().insert(material->name(), material);

    const int columns = int(std::ceil(std::sqrt(double(patches))));
    for (int i = 0; i < patches; ++i) {
        Geometry *geometry = makePatch(trianglesPerPatch).release();
        scene->geometries().append(geometry);
        auto *node = new Node;
        QMatrix4x4 place;
        place.translate(1.1f * float(i % columns), 1.1f * float(i / columns));
        node->setLocalTransform(place);
        node->setModel(geometry);
        node->bindMaterial(QStringLiteral("surface"), material);
        scene->nodes().append(node);
    }

    const float middle = 0.55f * float(columns);
    QMatrix4x4 place;
    place.translate(middle, middle, 1.5f * float(columns));
    for (Model *model :
         {static_cast<Model *>(new Camera), static_cast<Model *>(new Light(Light::PointLight))}) {
        auto *node = new Node;
        node->setLocalTransform(place);
        node->setModel(model);
        scene->nodes().append(node);
        if (auto *light = node->lightModel()) {
            light->setColor(Qt::white);
            scene->lights().append(light);
        } else {
            scene->cameras().append(node->cameraModel());
        }
    }
    scene->complete();
    return scene;
}

} // namespace Quorvel
