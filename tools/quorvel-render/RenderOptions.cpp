#include "RenderOptions.h"

#include "LightMap.h"
#include "OptionReader.h"
#include "OutputFile.h"
#include "PictureFile.h"
#include "StandardInput.h"
#include "WorkMark.h"

#include <QDir>
#include <QFileInfo>
#include <QHash>
#include <QRegularExpression>

#include <cmath>

namespace Quorvel
{

namespace
{

constexpr WholeNumber Frames = {1, 1000000};
constexpr WholeNumber Samples = {1, 256};

bool parseSize(const QString &text, QSize *size)
{
    static const QRegularExpression pattern(QStringLiteral("^(\\d{1,5})x(\\d{1,5})$"));
    const QRegularExpressionMatch match = pattern.match(text);
    *size = QSize(match.captured(1).toInt(), match.captured(2).toInt());
    return match.hasMatch() && !size->isEmpty();
}

bool parseOrbit(const QString &text, QPointF *orbit)
{
    const QStringList angles = text.split(QLatin1Char(','));
    if (angles.size() != 2)
        return false;
    bool horizontalOk = false;
    bool verticalOk = false;
    *orbit = QPointF(angles.at(0).toDouble(&horizontalOk), angles.at(1).toDouble(&verticalOk));
    return horizontalOk && verticalOk && std::isfinite(orbit->x()) && std::isfinite(orbit->y());
}

bool parseSamples(const QString &text, int *samples)
{
    return Samples(text, samples) && (*samples & (*samples - 1)) == 0;
}

bool parseApi(const QString &text, OffscreenContext::Api *api)
{
    *api = text == QLatin1String("desktop") ? OffscreenContext::Api::Desktop : OffscreenContext::Api::Es2;
    return text == QLatin1String("desktop") || text == QLatin1String("es");
}

/// The options of the command line, by meaning.
struct CommandLine
{
    CommandLine();

    const QCommandLineOption help = {{"h", "help"}, "Print this text."};
    const QCommandLineOption version = {"version", "Print the version."};
    const QCommandLineOption diagnose = {
        "diagnose", "Print toolkit and GL versions, the kind of context and the cache folders."};
    const QCommandLineOption size = {
        "size",
        "Size of the picture in pixels (default 640x480); graphics drivers set a limit, often 4096x4096.",
        "WxH"};
    const QCommandLineOption outputFolder = {
        "output-dir", "Draw any number of scenes, each into a PNG file of its name in this folder.", "DIR"};
    const QCommandLineOption force = {
        "force", "Write the picture even where it would be taken for a scene's light map."};
    const QCommandLineOption samples = {
        "samples",
        "Smooth edges: each pixel is the mean of N places in it (a power of two up to 256; default 1).", "N"};
    const QCommandLineOption noLightMap = {"no-light-map",
                                           "Draw with the scene's own lights where it has a light map, too."};
    const QCommandLineOption noShadows = {"no-shadows", "Draw without shadows."};
    const QCommandLineOption ambientOcclusion = {"ambient-occlusion", "Darken corners."};
    const QCommandLineOption outlines = {"outlines", "Draw outlines."};
    const QCommandLineOption lowQuality = {"low-quality", "Light per vertex and leave out effects."};
    const QCommandLineOption noCulling = {"no-backface-culling", "Draw both sides of every triangle."};
    const QCommandLineOption orbit = {"orbit", "Turn the camera about the scene's centre, in degrees.",
                                      "H,V"};
    const QCommandLineOption frames = {"frames", "Draw N frames and print the median frame time.", "N"};
    const QCommandLineOption camera = {
        "camera", "Look through another camera: its id, its node's id, or its number from 0.", "NAME|INDEX"};
    const QCommandLineOption gl = {"gl", "Kind of context: es (OpenGL ES 2.0, the default) or desktop.",
                                   "KIND"};
    const QCommandLineOption quiet = {{"q", "quiet"}, "Print warnings and errors only."};
    const QCommandLineOption verbose = {{"v", "verbose"}, "Print how the scene is read, too."};
    const QCommandLineOption json = {"json", "Print --frames and --diagnose results as one JSON document."};

    QCommandLineParser parser;
};

CommandLine::CommandLine()
{
    parser.setApplicationDescription(QStringLiteral(
        "Draws a scene into a PNG file, as the viewer draws it, on a machine with or without a "
        "display."));
    parser.addPositionalArgument(
        QStringLiteral("SCENE"),
        QStringLiteral("COLLADA file, a built-in path such as :/models/logo.DAE, or - for standard input."));
    parser.addPositionalArgument(QStringLiteral("OUTPUT.png"),
                                 QStringLiteral("Picture to write; - for standard output."));
    for (const QCommandLineOption *option : {&help,
                                             &version,
                                             &outputFolder,
                                             &force,
                                             &size,
                                             &samples,
                                             &orbit,
                                             &camera,
                                             &noLightMap,
                                             &noShadows,
                                             &ambientOcclusion,
                                             &outlines,
                                             &lowQuality,
                                             &noCulling,
                                             &gl,
                                             &frames,
                                             &diagnose,
                                             &json,
                                             &quiet,
                                             &verbose})
        parser.addOption(*option);
}

bool readValues(const CommandLine &line, RenderOptions *options, QString *error)
{
    options->shadows = !line.parser.isSet(line.noShadows);
    options->ambientOcclusion = line.parser.isSet(line.ambientOcclusion);
    options->outlines = line.parser.isSet(line.outlines);
    options->lowQuality = line.parser.isSet(line.lowQuality);
    options->backfaceCulling = !line.parser.isSet(line.noCulling);
    options->lightMap = !line.parser.isSet(line.noLightMap);
    options->camera = line.parser.value(line.camera);
    options->outputFolder = line.parser.value(line.outputFolder);
    options->quiet = line.parser.isSet(line.quiet);
    options->verbose = line.parser.isSet(line.verbose);
    options->json = line.parser.isSet(line.json);
    options->timeFrames = line.parser.isSet(line.frames);

    const OptionReader reader(line.parser, error);
    return reader.read(line.size, parseSize,
                       QStringLiteral("WIDTHxHEIGHT from 1x1 to 99999x99999, such as 640x480"),
                       &options->size) &&
           reader.read(line.samples, parseSamples, QStringLiteral("1, 2, 4, 8, 16, 32, 64, 128 or 256"),
                       &options->samples) &&
           reader.read(line.orbit, parseOrbit, QStringLiteral("H,V: two angles in degrees, such as 30,-10"),
                       &options->orbit) &&
           reader.read(line.frames, Frames, &options->frames) &&
           reader.read(line.gl, parseApi, QStringLiteral("es or desktop"), &options->api);
}

/// One scene and its picture.
bool placeOne(const QStringList &positional, RenderOptions *options, QString *error)
{
    if (positional.size() != 2) {
        *error = QStringLiteral("a scene and an output file are needed: quorvel-render [options] SCENE "
                                "OUTPUT.png, or for several scenes --output-dir DIR SCENE...");
        return false;
    }
    options->jobs = {{positional.at(0), positional.at(1)}};
    *error = refusedExtension(positional.at(1));
    return error->isEmpty();
}

/// Any number of scenes, and a folder for their pictures.
bool placeAll(const QStringList &scenes, RenderOptions *options, QString *error)
{
    if (scenes.isEmpty())
        *error = QStringLiteral("no scene is given: quorvel-render [options] --output-dir DIR SCENE...");
    if (options->outputFolder.isEmpty())
        *error = QStringLiteral("--output-dir: expected the name of a folder");
    if (options->timeFrames)
        *error = QStringLiteral("--frames times one scene, without --output-dir");
    QHash<QString, QString> sceneOfOutput;
    for (const QString &scene : scenes) {
        const QString output = QDir(options->outputFolder)
                                   .filePath(QFileInfo(scene).completeBaseName() + QStringLiteral(".png"));
        if (isStandardInput(scene))
            *error = QStringLiteral("a scene from the standard input has no name for its picture: give it "
                                    "one, without --output-dir");
        else if (sceneOfOutput.contains(output))
            *error = QStringLiteral("%1 and %2 would both be drawn into %3")
                         .arg(sceneOfOutput.value(output), scene, output);
        sceneOfOutput.insert(output, scene);
        options->jobs.append({scene, output});
    }
    return error->isEmpty();
}

/// The scene that would take the picture for its light map; empty if there is none.
QString sceneLitBy(const QString &output)
{
    if (!output.endsWith(QLatin1String(".png")))
        return QString();
    const QFileInfo scene(output.chopped(4));
    const QString extension = scene.suffix().toLower();
    const bool isScene = extension == QLatin1String("dae") || extension == QLatin1String("xml");
    return isScene && scene.isFile() ? scene.filePath() : QString();
}

/// That no picture replaces a scene, or is shown as the light of one the next time.
bool checkOutputs(const RenderOptions &options, bool force, QString *error)
{
    QHash<QString, QString> scenes;
    QHash<QString, QString> sceneOfLightMap;
    for (const RenderJob &job : options.jobs) {
        scenes.insert(fileIdentity(job.scene), job.scene);
        sceneOfLightMap.insert(fileIdentity(LightMap::fileName(job.scene)), job.scene);
    }
    for (const RenderJob &job : options.jobs) {
        if (!isFileOutput(job.output))
            continue;
        const QString identity = fileIdentity(job.output);
        const QString lit = sceneOfLightMap.value(identity, sceneLitBy(job.output));
        if (scenes.contains(identity))
            *error = QStringLiteral("%1: this would replace the scene itself").arg(job.output);
        else if (!force && !lit.isEmpty())
            *error =
                QStringLiteral("%1: this name is that of the light map of %2, which the picture would be "
                               "taken for: choose another one, or --force")
                    .arg(job.output, lit);
        else if (!force && isMarkedLightMap(job.output))
            *error = QStringLiteral("%1: this is a light map that quorvel-bake made: choose another name, or "
                                    "--force")
                         .arg(job.output);
    }
    return error->isEmpty();
}

} // namespace

bool parseRenderOptions(const QStringList &arguments, RenderOptions *options, QString *error)
{
    CommandLine line;
    if (!line.parser.parse(QStringList(QStringLiteral("quorvel-render")) + arguments)) {
        *error = line.parser.errorText();
        return false;
    }
    if (line.parser.isSet(line.help)) {
        options->request = RenderOptions::Request::Text;
        options->text = line.parser.helpText();
        return true;
    }
    if (line.parser.isSet(line.version)) {
        options->request = RenderOptions::Request::Text;
        options->text = QStringLiteral("quorvel-render " QUORVEL_VERSION "\n");
        return true;
    }
    if (!readValues(line, options, error))
        return false;
    if (line.parser.isSet(line.diagnose)) {
        options->request = RenderOptions::Request::Diagnose;
        return true;
    }
    const QStringList positional = line.parser.positionalArguments();
    error->clear();
    const bool placed = line.parser.isSet(line.outputFolder) ? placeAll(positional, options, error)
                                                             : placeOne(positional, options, error);
    return placed && checkOutputs(*options, line.parser.isSet(line.force), error);
}

} // namespace Quorvel
