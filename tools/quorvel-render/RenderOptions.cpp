#include "RenderOptions.h"

#include "OptionReader.h"

#include <QRegularExpression>

#include <cmath>

namespace Quorvel
{

namespace
{

constexpr WholeNumber Frames = {1, 1000000};

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
        QStringLiteral("COLLADA file, or a built-in path such as :/models/logo.DAE."));
    parser.addPositionalArgument(QStringLiteral("OUTPUT.png"), QStringLiteral("Picture to write."));
    for (const QCommandLineOption *option :
         {&help, &version, &diagnose, &size, &noShadows, &ambientOcclusion, &outlines, &lowQuality,
          &noCulling, &orbit, &frames, &camera, &gl, &quiet, &json})
        parser.addOption(*option);
}

bool readValues(const CommandLine &line, RenderOptions *options, QString *error)
{
    options->shadows = !line.parser.isSet(line.noShadows);
    options->ambientOcclusion = line.parser.isSet(line.ambientOcclusion);
    options->outlines = line.parser.isSet(line.outlines);
    options->lowQuality = line.parser.isSet(line.lowQuality);
    options->backfaceCulling = !line.parser.isSet(line.noCulling);
    options->camera = line.parser.value(line.camera);
    options->quiet = line.parser.isSet(line.quiet);
    options->json = line.parser.isSet(line.json);
    options->timeFrames = line.parser.isSet(line.frames);

    const OptionReader reader(line.parser, error);
    return reader.read(line.size, parseSize,
                       QStringLiteral("WIDTHxHEIGHT from 1x1 to 99999x99999, such as 640x480"),
                       &options->size) &&
           reader.read(line.orbit, parseOrbit, QStringLiteral("H,V: two angles in degrees, such as 30,-10"),
                       &options->orbit) &&
           reader.read(line.frames, Frames, &options->frames) &&
           reader.read(line.gl, parseApi, QStringLiteral("es or desktop"), &options->api);
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
    if (positional.size() != 2) {
        *error = QStringLiteral(
            "a scene and an output file are needed: quorvel-render [options] SCENE OUTPUT.png");
        return false;
    }
    options->scene = positional.at(0);
    options->output = positional.at(1);
    return true;
}

} // namespace Quorvel
