#include "BakeOptions.h"

#include "OptionReader.h"
#include "OutputFile.h"
#include "PictureFile.h"
#include "StandardInput.h"

#include <QFileInfo>

#include <cmath>
#include <limits>

namespace Quorvel
{

namespace
{

constexpr WholeNumber Size = {BakeSettings::SmallestSize, BakeSettings::LargestSize};
constexpr WholeNumber Samples = {1, 65536};
constexpr WholeNumber Bounces = {0, 64};
constexpr WholeNumber Padding = {2, 256};
constexpr WholeNumber Threads = {1, 1024};

bool parseSeed(const QString &text, quint32 *seed)
{
    bool ok = false;
    *seed = text.toUInt(&ok);
    return ok;
}

bool parseNumber(const QString &text, float *value)
{
    bool ok = false;
    *value = text.toFloat(&ok);
    return ok && std::isfinite(*value);
}

bool parseNotNegative(const QString &text, float *value)
{
    return parseNumber(text, value) && *value >= 0.0f;
}

bool parsePositive(const QString &text, float *value)
{
    return parseNumber(text, value) && *value > 0.0f;
}

bool parseSunAngle(const QString &text, float *value)
{
    return parseNotNegative(text, value) && *value <= 90.0f;
}

bool parseExposure(const QString &text, float *value)
{
    return parseNumber(text, value) && std::abs(*value) <= 32.0f;
}

bool parseAtlas(const QString &text, BakeOptions::Atlas *atlas)
{
    *atlas = text == QLatin1String("new") ? BakeOptions::Atlas::New : BakeOptions::Atlas::Keep;
    return text == QLatin1String("new") || text == QLatin1String("keep");
}

/// The options of the command line, by meaning.
struct CommandLine
{
    CommandLine();

    const QCommandLineOption help = {{"h", "help"}, "Print this text."};
    const QCommandLineOption version = {"version", "Print the version."};
    const QCommandLineOption output = {
        {"o", "output"},
        "Light map to write (default: SCENE.png, where the viewer looks for it).",
        "FILE.png"};
    const QCommandLineOption size = {"size", "Width and height in texels, 16 to 8192 (default 1024).", "N"};
    const QCommandLineOption samples = {"samples", "Paths per texel (default 64).", "N"};
    const QCommandLineOption bounces = {
        "bounces", "Surfaces that reflect light on its way to the one that is seen (default 3).", "N"};
    const QCommandLineOption padding = {"padding",
                                        "Texels by which charts are widened, at least 2 (default 8).", "N"};
    const QCommandLineOption seed = {"seed", "Another pattern of noise (default 1).", "N"};
    const QCommandLineOption threads = {"threads", "Threads to work with (default: one per processor).", "N"};
    const QCommandLineOption denoise = {"denoise", "Smooth what noise is left."};
    const QCommandLineOption atlas = {
        "atlas",
        "Use the scene's texture coordinates (keep, the default), or write a copy of the scene with fresh "
        "ones that do not overlap (new) and light that.",
        "keep|new"};
    const QCommandLineOption lightRadius = {
        "light-radius",
        "Radius of point and spot lights in scene units; larger, softer shadows (default: 1/100 of the "
        "scene's radius).",
        "R"};
    const QCommandLineOption sunAngle = {
        "sun-angle", "Angle in degrees under which directional lights are seen (default 1).", "DEGREES"};
    const QCommandLineOption halfDistance = {
        "half-distance",
        "Let point and spot lights fade: at this distance half of the light is left (default: no fading, as "
        "in the viewer).",
        "D"};
    const QCommandLineOption glow = {
        "glow",
        "Factor on the light of materials whose ambient colour is brighter than their diffuse one "
        "(default 1).",
        "F"};
    const QCommandLineOption exposure = {
        "exposure", "Make the picture brighter by this many powers of two (default 0).", "STOPS"};
    const QCommandLineOption softHighlights = {"soft-highlights", "Roll off what is too bright."};
    const QCommandLineOption json = {"json", "Print what was done as a JSON document."};
    const QCommandLineOption quiet = {{"q", "quiet"}, "Print warnings and errors only."};
    const QCommandLineOption verbose = {{"v", "verbose"}, "Print how the scene is read, too."};
    const QCommandLineOption force = {
        "force", "Replace an image or a copy of the scene, too, that quorvel-bake did not make."};

    QCommandLineParser parser;
};

CommandLine::CommandLine()
{
    parser.setApplicationDescription(QStringLiteral(
        "Computes the light of a scene, shadows and reflections between its surfaces included, into an image "
        "that the viewer shows instead of lighting the scene itself."));
    parser.addPositionalArgument(QStringLiteral("SCENE"), QStringLiteral("COLLADA file."));
    for (const QCommandLineOption *option :
         {&help, &version,  &output,         &size,  &samples,     &bounces,  &padding,
          &seed, &threads,  &denoise,        &atlas, &lightRadius, &sunAngle, &halfDistance,
          &glow, &exposure, &softHighlights, &json,  &quiet,       &verbose,  &force})
        parser.addOption(*option);
}

bool readValues(const CommandLine &line, BakeOptions *options, QString *error)
{
    const OptionReader reader(line.parser, error);
    BakeSettings *settings = &options->settings;
    settings->denoise = line.parser.isSet(line.denoise);
    settings->softHighlights = line.parser.isSet(line.softHighlights);
    options->json = line.parser.isSet(line.json);
    options->quiet = line.parser.isSet(line.quiet);
    options->verbose = line.parser.isSet(line.verbose);
    options->force = line.parser.isSet(line.force);
    const QString notNegative = QStringLiteral("a number that is not negative");
    return reader.read(line.size, Size, &settings->size) &&
           reader.read(line.samples, Samples, &settings->samples) &&
           reader.read(line.bounces, Bounces, &settings->bounces) &&
           reader.read(line.padding, Padding, &settings->padding) &&
           reader.read(line.seed, parseSeed, QStringLiteral("a whole number from 0 to 4294967295"),
                       &settings->seed) &&
           reader.read(line.threads, Threads, &settings->threads) &&
           reader.read(line.atlas, parseAtlas, QStringLiteral("keep or new"), &options->atlas) &&
           reader.read(line.lightRadius, parseNotNegative, notNegative, &settings->lightRadius) &&
           reader.read(line.sunAngle, parseSunAngle, QStringLiteral("a number from 0 to 90"),
                       &settings->sunAngle) &&
           reader.read(line.halfDistance, parsePositive, QStringLiteral("a number above 0"),
                       &settings->halfDistance) &&
           reader.read(line.glow, parseNotNegative, notNegative, &settings->glow) &&
           reader.read(line.exposure, parseExposure, QStringLiteral("a number from -32 to 32"),
                       &settings->exposure);
}

/// The scene's path with "-lit" before its suffix.
QString litName(const QString &scene)
{
    const QFileInfo info(scene);
    const QString name = info.suffix().isEmpty()
                             ? info.fileName() + QStringLiteral("-lit")
                             : info.completeBaseName() + QStringLiteral("-lit.") + info.suffix();
    return scene.left(scene.size() - info.fileName().size()) + name;
}

/// Names the files to write.
bool placeOutput(const QString &output, BakeOptions *options, QString *error)
{
    static const QString suffix = QStringLiteral(".png");
    options->output = output;
    if (output.isEmpty() && isStandardInput(options->scene)) {
        *error = QStringLiteral("a scene from the standard input needs a name for its light map: --output "
                                "FILE.png");
        return false;
    }
    if (output.isEmpty()) {
        options->output =
            (options->atlas == BakeOptions::Atlas::New ? litName(options->scene) : options->scene) + suffix;
    }
    *error = refusedExtension(options->output);
    if (!error->isEmpty())
        return false;
    if (options->atlas == BakeOptions::Atlas::New) {
        options->copy = options->output.left(options->output.size() - suffix.size());
        if (!options->output.endsWith(suffix) || QFileInfo(options->copy).fileName().isEmpty()) {
            *error = QStringLiteral("--output %1: with --atlas new the name must end in .png; without it, it "
                                    "is the name of the scene's copy")
                         .arg(output);
            return false;
        }
    }
    for (const QString &written : {options->output, options->copy}) {
        if (!written.isEmpty() && isFileOutput(written) &&
            fileIdentity(written) == fileIdentity(options->scene)) {
            *error = QStringLiteral("--output %1: this would replace the scene itself").arg(output);
            return false;
        }
    }
    return true;
}

} // namespace

bool parseBakeOptions(const QStringList &arguments, BakeOptions *options, QString *error)
{
    CommandLine line;
    if (!line.parser.parse(QStringList(QStringLiteral("quorvel-bake")) + arguments)) {
        *error = line.parser.errorText();
        return false;
    }
    if (line.parser.isSet(line.help) || line.parser.isSet(line.version)) {
        options->request = BakeOptions::Request::Text;
        options->text = line.parser.isSet(line.help) ? line.parser.helpText()
                                                     : QStringLiteral("quorvel-bake " QUORVEL_VERSION "\n");
        return true;
    }
    if (!readValues(line, options, error))
        return false;
    const QStringList positional = line.parser.positionalArguments();
    if (positional.size() != 1) {
        *error = QStringLiteral("one scene is needed: quorvel-bake [options] SCENE");
        return false;
    }
    options->scene = positional.at(0);
    return placeOutput(line.parser.value(line.output), options, error);
}

} // namespace Quorvel
