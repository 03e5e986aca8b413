#include "AtlasScene.h"
#include "BakeOptions.h"
#include "ColladaLoader.h"
#include "ExitStatus.h"
#include "FatalExplanation.h"
#include "LightMapBake.h"
#include "ProgressLine.h"
#include "Scene.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QImageWriter>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLoggingCategory>
#include <QSaveFile>
#include <QTemporaryFile>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <unistd.h>

using namespace Quorvel;

namespace
{

std::atomic<bool> interrupted = {false};

/// Ends the bake at the next texel, so that nothing half-written is left.
void interrupt(int)
{
    interrupted = true;
}

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
        fputs(QJsonDocument(document).toJson().constData(), stdout);
    }
    if (!options.quiet)
        fprintf(stderr, "%s: %d texels in %d charts, %.1f s, %.0f million rays, noise %.4f\n",
                qPrintable(options.output), statistics.texels, statistics.charts, statistics.seconds,
                double(statistics.rays) / 1e6, statistics.noise);
}

bool saveImage(const QImage &image, const QString &path, QString *error)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        *error = file.errorString();
        return false;
    }
    QImageWriter writer(&file, "png");
    if (!writer.write(image)) {
        *error = writer.errorString();
        return false;
    }
    if (!file.commit()) {
        *error = file.errorString();
        return false;
    }
    return true;
}

/// Whether a file can be made where the output shall lie, before minutes go into it.
bool canWrite(const QString &path, QString *error)
{
    const QFileInfo info(path);
    if (info.isDir()) {
        *error = QStringLiteral("is a folder");
        return false;
    }
    QTemporaryFile probe(info.absolutePath() + QStringLiteral("/quorvel-bake-XXXXXX"));
    if (probe.open())
        return true;
    *error = probe.errorString();
    return false;
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
    BakeWatch watch;
    watch.progress = [&line](double part) { line.show(part); };
    watch.interrupted = &interrupted;
    BakeResult result;
    const bool finished = bakeLightMap(baked, options.settings, watch, &result);
    line.clear();
    if (!finished || interrupted)
        return fail(ExitStatus::Interrupted, QStringLiteral("interrupted; nothing was written"));
    *image = result.image;
    *statistics = result.statistics;
    return int(ExitStatus::Done);
}

/// Puts the finished copy in its place, replacing what is there, with the rights that a new file has.
bool commitCopy(QTemporaryFile *copy, const BakeOptions &options)
{
    QFile::setPermissions(copy->fileName(), QFile::permissions(options.output));
    if (rename(QFile::encodeName(copy->fileName()).constData(),
               QFile::encodeName(options.copy).constData()) != 0)
        return false;
    copy->setAutoRemove(false);
    return true;
}

int bakeScene(const BakeOptions &options)
{
    const QFileInfo input(options.scene);
    if (!input.exists())
        return fail(ExitStatus::InvalidInput, options.scene + QStringLiteral(": no such file"));
    if (input.isDir() || !input.isReadable())
        return fail(ExitStatus::InvalidInput, options.scene + QStringLiteral(": cannot be read"));
    QString error;
    if (!canWrite(options.output, &error))
        return fail(ExitStatus::CannotWrite, QStringLiteral("%1: %2").arg(options.output, error));

    const bool fresh = options.atlas == BakeOptions::Atlas::New;
    QTemporaryFile copy(options.copy + QStringLiteral(".XXXXXX"));
    if (fresh) {
        if (!copy.open())
            return fail(ExitStatus::CannotWrite,
                        QStringLiteral("%1: %2").arg(options.copy, copy.errorString()));
        copy.close();
        const AtlasOptions atlas = {options.settings.size, options.settings.padding};
        if (!writeAtlasScene(options.scene, copy.fileName(), atlas, &error))
            return fail(ExitStatus::Failed, QStringLiteral("%1: %2").arg(options.scene, error));
    }

    QImage image;
    BakeStatistics statistics;
    const int status = bake(options, fresh ? copy.fileName() : options.scene, &image, &statistics);
    if (status != int(ExitStatus::Done))
        return status;
    warnAbout(options, statistics);
    if (!saveImage(image, options.output, &error))
        return fail(ExitStatus::CannotWrite, QStringLiteral("%1: %2").arg(options.output, error));
    if (fresh && !commitCopy(&copy, options))
        return fail(ExitStatus::CannotWrite,
                    QStringLiteral("%1: %2").arg(options.copy, QString::fromLocal8Bit(strerror(errno))));
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
    if (options.request == BakeOptions::Request::Text) {
        fputs(qPrintable(options.text), stdout);
        return int(ExitStatus::Done);
    }
    if (!options.verbose)
        QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false"));
    for (const int request : {SIGINT, SIGTERM, SIGHUP})
        std::signal(request, interrupt);
    return bakeScene(options);
}
