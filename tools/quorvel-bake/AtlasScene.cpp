#include "AtlasScene.h"

#include "Atlas.h"
#include "AtlasMesh.h"
#include "ColladaLoader.h"
#include "Geometry.h"
#include "Node.h"
#include "OutputFile.h"
#include "Scene.h"
#include "SceneRewriter.h"
#include "Trimesh.h"
#include "WorkMark.h"

#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>

#include <cmath>

namespace Quorvel
{

namespace
{

/// Coordinates are written to within this part of a texel.
constexpr int stepsPerTexel = 100;

int decimalsFor(int size)
{
    int decimals = 0;
    for (qint64 steps = 1; steps < qint64(size) * stepsPerTexel; steps *= 10)
        ++decimals;
    return decimals;
}

/// For each node a coordinate for each corner of its geometry, corners that make no whole triangle included.
std::vector<std::vector<Point2>> dealOut(const std::vector<std::array<Point2, 3>> &places,
                                         const std::vector<const Node *> &nodes)
{
    std::vector<std::vector<Point2>> coordinates;
    size_t next = 0;
    for (const Node *node : nodes) {
        std::vector<Point2> corners;
        for (const Trimesh *group : node->geometryModel()->trimeshes()) {
            const int whole = group->indices().size() / 3;
            for (int i = 0; i < whole; ++i, ++next)
                corners.insert(corners.end(), places[next].begin(), places[next].end());
            const Point2 spare = corners.empty() ? Point2{0.5, 0.5} : corners.back();
            corners.insert(corners.end(), size_t(group->indices().size() % 3), spare);
        }
        coordinates.push_back(std::move(corners));
    }
    return coordinates;
}

} // namespace

bool writeAtlasScene(const QString &scenePath, const QString &copyPath, const AtlasOptions &options,
                     QString *error, AtlasSummary *summary)
{
    QElapsedTimer timer;
    QFile file(scenePath);
    if (!file.open(QIODevice::ReadOnly)) {
        *error = QStringLiteral("the file cannot be read (%1)").arg(file.errorString());
        return false;
    }
    Scene scene;
    const ColladaLoader loader(&scene, scenePath);
    timer.start();
    SceneRewriter rewriter(file.readAll(), scene);
    if (!rewriter.error().isEmpty()) {
        *error = QStringLiteral("the file %1").arg(rewriter.error());
        return false;
    }
    const AtlasMesh mesh(rewriter.nodes());
    const Atlas atlas(mesh, options.size, options.padding);
    if (!atlas.fits()) {
        *error =
            QStringLiteral("%1 charts do not fit into %2 x %2 texels with a padding of %3: choose a larger "
                           "size or less padding")
                .arg(atlas.chartCount())
                .arg(options.size)
                .arg(options.padding);
        return false;
    }
    const QByteArray text =
        rewriter.rewritten(dealOut(atlas.coordinates(), rewriter.nodes()), decimalsFor(options.size)) +
        sceneMark();
    if (summary) {
        summary->triangles = int(mesh.triangles().size());
        summary->charts = atlas.chartCount();
        summary->density = atlas.density();
        summary->fill = mesh.area() * std::pow(atlas.density() / options.size, 2.0);
        summary->seconds = double(timer.nsecsElapsed()) / 1e9;
    }
    QString reason;
    if (writeOutput(copyPath, text, &reason))
        return true;
    *error = QStringLiteral("the copy %1 cannot be written (%2)").arg(copyPath, reason);
    return false;
}

} // namespace Quorvel
