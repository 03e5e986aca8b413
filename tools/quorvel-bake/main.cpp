#include "AtlasScene.h"
#include "BakeOptions.h"
#include "ColladaLoader.h"
#include "EndSignals.h"
#include "ExitStatus.h"
#include "FatalExplanation.h"
#include "LightMapBake.h"
#include "OutputFile.h"
#include "PictureFile.h"
#include "ProgressLine.h"
#include "Scene.h"
#include "StandardInput.h"
#include "WorkMark.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLoggingCategory>

#include <cstdio>

#include <unistd.h>

using namespace Quorvel;

namespace
{

int fail(ExitStatus status, const QString &message)
{
    fprintf(stderr, "quorvel-bake: %s\n", qPrintable(message));
    return int(status);
}

void warn(const QString &scene, const QString &message)
{
    fprintf(stderr, "quorvel-bake: %s: warning: %s\n", qPrintable(scene), qPrintable(message));
}

QString percent(int part, int whole)
{
    return QString::number(100.0 * part / qMax(whole, 1), 'f', 1) + QStringLiteral(" %");
}

void warnAbout(const BakeOptions &options, const BakeStatistics &statistics)
{
    const bool fresh = options.atlas == BakeOptions::Atlas::New;
    const QString advice = fresh ? QString() : QStringLiteral("; --atlas new makes room for each");
    if (statistics.overlappingTexels > 0)
        warn(options.scene, QStringLiteral("triangles overlap in %1 of the light map's area and show each "
                                           "other's light there%2")
                                .arg(percent(statistics.overlappingTexels, statistics.texels), advice));
    if (statistics.outsideTriangles > 0)
        warn(options.scene, QStringLiteral("%1 of %2 triangles have texture coordinates outside 0 to 1 and "
                                           "show the light map's border%3")
                                .arg(statistics.outsideTriangles)
                                .arg(statistics.triangles)
                                .arg(advice));
    if (statistics.thinTriangles > 0)
        warn(options.scene, QStringLiteral("%1 of %2 triangles have no area in the light map and show the "
                                           "light of a line or a point%3")
                                .arg(statistics.thinTriangles)
                                .arg(statistics.triangles)
                                .arg(fresh ? QStringLiteral(": they have none in the scene either, or too "
                                                            "little for this --size")
                                           : advice));
}

void report(const BakeOptions &options, const BakeStatistics &statistics)
{
    if (options.json) {
        QJsonObject document = {
            {QStringLiteral("schema"), 1},
            {QStringLiteral("scene"), options.scene},
            {QStringLiteral("light_map"), options.output},
            {QStringLiteral("size"), options.settings.size},
            {QStringLiteral("samples"), options.settings.samples},
            {QStringLiteral("bounces"), options.settings.bounces},
            {QStringLiteral("seed"), double(options.settings.seed)},
            {QStringLiteral("denoised"), options.settings.denoise},
            {QStringLiteral("triangles"), statistics.triangles},
            {QStringLiteral("charts"), statistics.charts},
            {QStringLiteral("texels"), statistics.texels},
            {QStringLiteral("overlapping_texels"), statistics.overlappingTexels},
            {QStringLiteral("buried_texels"), statistics.buriedTexels},
            {QStringLiteral("outside_triangles"), statistics.outsideTriangles},
            {QStringLiteral("thin_triangles"), statistics.thinTriangles},
            {QStringLiteral("rays"), double(statistics.rays)},
            {QStringLiteral("noise"), statistics.noise},
            {QStringLiteral("seconds"), statistics.seconds},
        };
        if (!options.copy.isEmpty())
            document.insert(QStringLiteral("copy"), options.copy);
        // What goes to the standard output is either the picture or the document.
        FILE *const stream = isStandardOutput(options.output) ? stderr : stdout;
        fputs(QJsonDocument(document).toJson().constData(), stream);
    }
    if (!options.quiet)
        fprintf(stderr, "%s: %d texels in %d charts, %.1f s, %.0f million rays, noise %.4f\n",
                qPrintable(options.output), statistics.texels, statistics.charts, statistics.seconds,
                double(statistics.rays) / 1e6, statistics.noise);
}

int bake(const BakeOptions &options, const QString &litPath, QImage *image, BakeStatistics *statistics)
{
    Scene scene;
    {
        // Gone before the bake, with the text of the file that it holds.
        const ColladaLoader loader(&scene, litPath);
    }
    BakeScene baked;
    QString error;
    if (!buildBakeScene(scene, options.settings, &baked, &error))
        return fail(ExitStatus::InvalidInput, QStringLiteral("%1: %2").arg(options.scene, error));
    if (!hasTextureArea(baked))
        return fail(ExitStatus::InvalidInput,
                    QStringLiteral("%1: the scene has no texture coordinates that a light map could be laid "
                                   "out by: use --atlas new")
                        .arg(options.scene));

    ProgressLine line(!options.quiet && isatty(STDERR_FILENO));
    const BakeResult result =
        bakeLightMap(baked, options.settings, [&line](double part) { line.show(part); });
    line.clear();
    *image = result.image;
    markLightMap(image);
    *statistics = result.statistics;
    return int(ExitStatus::Done);
}

/// The path under which the scene can be opened; the standard input is read to its end for that.
bool findScene(const BakeOptions &options, QString *path, QString *error)
{
    *path = options.scene;
    const QFileInfo input(options.scene);
    if (isStandardInput(options.scene))
        return holdStandardInput(path, error);
    if (!input.exists())
        *error = QStringLiteral("no such file");
    else if (input.isDir() || !input.isReadable())
        *error = QStringLiteral("cannot be read");
    return error->isEmpty();
}

/// Before minutes go into the light map.
bool canWriteOutputs(const BakeOptions &options, QString *complaint)
{
    QString error;
    if (!canWriteOutput(options.output, &error)) {
        *complaint = QStringLiteral("%1: %2").arg(options.output, error);
        return false;
    }
    if (!options.copy.isEmpty() && !isFileOutput(options.copy)) {
        *complaint = QStringLiteral("%1: the scene's copy can only be a file").arg(options.copy);
        return false;
    }
    return true;
}

/// What stands where a file is to be written and may be a person's own work; empty when nothing is lost.
QString foreignFile(const BakeOptions &options)
{
    const auto holdsSomething = [](const QString &path) {
        return !path.isEmpty() && isFileOutput(path) && QFileInfo(path).size() > 0;
    };
    if (holdsSomething(options.output) && !isMarkedLightMap(options.output))
        return options.output;
    if (holdsSomething(options.copy) && !isMarkedScene(options.copy))
        return options.copy;
    return QString();
}

int bakeScene(const BakeOptions &options)
{
    QString error;
    QString scenePath;
    if (!findScene(options, &scenePath, &error))
        return fail(ExitStatus::InvalidInput, QStringLiteral("%1: %2").arg(options.scene, error));
    if (!canWriteOutputs(options, &error))
        return fail(ExitStatus::CannotWrite, error);

    const QString foreign = options.force ? QString() : foreignFile(options);
    if (!foreign.isEmpty())
        return fail(ExitStatus::Usage,
                    QStringLiteral("%1: this file is there already and not known to be quorvel-bake's work; "
                                   "--force replaces it")
                        .arg(foreign));

    const bool fresh = options.atlas == BakeOptions::Atlas::New;
    UnfinishedFile copy;
    if (fresh) {
        if (!copy.open(options.copy))
            return fail(ExitStatus::CannotWrite,
                        QStringLiteral("%1: %2").arg(options.copy, copy.errorString()));
        const AtlasOptions atlas = {options.settings.size, options.settings.padding};
        if (!writeAtlasScene(scenePath, copy.path(), atlas, &error))
            return fail(ExitStatus::Failed, QStringLiteral("%1: %2").arg(options.scene, error));
    }

    QImage image;
    BakeStatistics statistics;
    const int status = bake(options, fresh ? copy.path() : scenePath, &image, &statistics);
    if (status != int(ExitStatus::Done))
        return status;
    warnAbout(options, statistics);
    if (!writePicture(image, options.output, &error))
        return fail(ExitStatus::CannotWrite, QStringLiteral("%1: %2").arg(options.output, error));
    if (fresh && !copy.commit())
        return fail(ExitStatus::CannotWrite, QStringLiteral("%1: %2").arg(options.copy, copy.errorString()));
    report(options, statistics);
    return int(ExitStatus::Done);
}

} // namespace

int main(int argc, char **argv)
{
    installDiagnostics();
    const QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("Quorvel"));

    BakeOptions options;
    QString error;
    if (!parseBakeOptions(QCoreApplication::arguments().mid(1), &options, &error))
        return fail(ExitStatus::Usage, error + QStringLiteral(" (see quorvel-bake --help)"));
    if (!options.verbose)
        QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false"));
    endOnSignals("quorvel-bake: interrupted; nothing was written");
    int status = int(ExitStatus::Done);
    if (options.request == BakeOptions::Request::Text)
        fputs(qPrintable(options.text), stdout);
    else
        status = bakeScene(options);
    if (status == int(ExitStatus::Done) && !flushStandardOutput(&error))
        return fail(ExitStatus::CannotWrite, QStringLiteral("standard output: ") + error);
    return status;
}
