#include "SceneExercise.h"

#include "EdgeMesh.h"
#include "FrontFace.h"
#include "Geometry.h"
#include "LightUniforms.h"
#include "MaterialUniforms.h"
#include "MergedMesh.h"
#include "Node.h"
#include "PainterState.h"
#include "Scene.h"
#include "ShadowMatrices.h"
#include "Trimesh.h"

#include <QDataStream>

namespace Quorvel
{

namespace
{

void buildGeometry(const Geometry &geometry)
{
    MergedMesh mesh(geometry);
    for (const Trimesh *const group : geometry.trimeshes()) {
        Q_ASSERT(group->normalIndices().size() == group->indices().size());
        Q_ASSERT(group->texcoordIndices().size() == group->indices().size());
        mesh.addGroup(*group);
    }
    edgeMesh(geometry);
}

void drawFrame(Scene *scene)
{
    PainterState state(scene);
    state.setAspect(4.0f / 3.0f);
    state.update();
    LightTargets targets;
    const FrameLights lights = frameLights(state, targets);
    for (size_t i = 0; i < size_t(lights.count); ++i) {
        shadowMatrix(*scene, *lights.lights[i].node);
        cubeShadow(*scene, *lights.lights[i].node);
    }
    for (const Node *const node : qAsConst(scene->nodes())) {
        if (const Geometry *const geometry = node->geometryModel())
            buildGeometry(*geometry);
        for (const Material *const material : node->groupMaterials())
            materialUniforms(material, QVector4D(1, 1, 1, 1));
    }
    sceneFrontFace(*scene);
}

} // namespace

QByteArray exerciseScene(const QByteArray &record)
{
    Scene scene;
    {
        QDataStream stream(record);
        scene.load(stream);
    }
    drawFrame(&scene);
    scene.dump();
    QByteArray written;
    QDataStream stream(&written, QIODevice::WriteOnly);
    scene.save(stream);
    return written;
}

} // namespace Quorvel
