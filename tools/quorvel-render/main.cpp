#include "ColladaLoader.h"
#include "EndSignals.h"
#include "ExitStatus.h"
#include "FatalExplanation.h"
#include "Gles2.h"
#include "OutputFile.h"
#include "PictureFile.h"
#include "Rendering.h"
#include "Scene.h"
#include "SceneCache.h"
#include "StandardInput.h"

#include <QApplication>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLoggingCategory>

#include <cstdio>
#include <future>
#include <utility>

using namespace Quorvel;

namespace
{

int fail(ExitStatus status, const QString &message)
{
    fprintf(stderr, "quorvel-render: %s\n", qPrintable(message));
    return int(status);
}

void print(const QString &text, FILE *stream = stdout)
{
    fputs(qPrintable(text), stream);
}

int noContext(const RenderOptions &options, const OffscreenContext &context)
{
    if (context.isSizeRefused())
        return fail(ExitStatus::Usage, QStringLiteral("--size: ") + context.errorString());
    const bool es = options.api == OffscreenContext::Api::Es2;
    return fail(ExitStatus::NoGl,
                QStringLiteral("no %1 context: %2")
                    .arg(es ? QStringLiteral("OpenGL ES 2.0") : QStringLiteral("desktop OpenGL"),
                         context.errorString()));
}

QString glString(GLenum name)
{
    return QString::fromLatin1(reinterpret_cast<const char *>(glGetString(name)));
}

int diagnose(const RenderOptions &options)
{
    const OffscreenContext context(QSize(16, 16), options.api);
    if (!context.isValid())
        return noContext(options, context);
    const SceneCache cache = SceneCache::standard();
    const QVector<QPair<QString, QString>> facts = {
        {QStringLiteral("quorvel"), QStringLiteral(QUORVEL_VERSION)},
        {QStringLiteral("toolkit"), QString::fromLatin1(qVersion())},
        {QStringLiteral("context"),
         context.isEs() ? QStringLiteral("OpenGL ES") : QStringLiteral("desktop OpenGL")},
        {QStringLiteral("gl_version"), glString(GL_VERSION)},
        {QStringLiteral("glsl_version"), glString(GL_SHADING_LANGUAGE_VERSION)},
        {QStringLiteral("gl_vendor"), glString(GL_VENDOR)},
        {QStringLiteral("gl_renderer"), glString(GL_RENDERER)},
        {QStringLiteral("global_cache"), cache.globalDirectory()},
        {QStringLiteral("local_cache"), cache.localDirectory()},
    };
    QJsonObject document = {{QStringLiteral("schema"), 1}};
    for (const auto &[name, value] : facts) {
        document.insert(name, value);
        if (!options.json)
            print(QStringLiteral("%1 %2\n").arg(name + QLatin1Char(':'), -14).arg(value));
    }
    if (options.json)
        print(QString::fromUtf8(QJsonDocument(document).toJson()));
    return int(ExitStatus::Done);
}

void reportFrames(const RenderOptions &options, const QVector<double> &frameTimes)
{
    // What goes to the standard output is either the picture or the figures.
    FILE *const stream = isStandardOutput(options.output) ? stderr : stdout;
    if (options.json) {
        const QJsonObject document = {{QStringLiteral("schema"), 1},
                                      {QStringLiteral("frames"), frameTimes.size()},
                                      {QStringLiteral("median_ms"), median(frameTimes)}};
        print(QString::fromUtf8(QJsonDocument(document).toJson()), stream);
    } else {
        print(QStringLiteral("median frame time: %1 ms (%2 frames)\n")
                  .arg(median(frameTimes), 0, 'f', 3)
                  .arg(frameTimes.size()),
              stream);
    }
}

int renderScene(const RenderOptions &options, std::future<SourceText> source)
{
    OffscreenContext context(options.size, options.api);
    if (!context.isValid())
        return noContext(options, context);

    Scene scene;
    {
        // Gone before the frame, with the text of the file that it holds.
        const ColladaLoader loader(&scene, options.scene, std::move(source));
    }

    if (!options.camera.isEmpty()) {
        Node *camera = findCamera(scene, options.camera);
        if (!camera)
            return fail(ExitStatus::InvalidInput,
                        QStringLiteral("%1: no camera \"%2\"").arg(options.scene, options.camera));
        scene.setActiveCameraNode(camera);
    }
    if (!options.orbit.isNull())
        orbit(&scene, options.orbit);

    const RenderResult result = render(&scene, options, &context);
    QString error;
    if (!writePicture(result.picture, options.output, &error))
        return fail(ExitStatus::CannotWrite, QStringLiteral("%1: %2").arg(options.output, error));
    if (options.timeFrames)
        reportFrames(options, result.frameTimes);
    return int(ExitStatus::Done);
}

/// The help text asks the application object for the program's name, and the one for drawing cannot be made
/// yet.
bool parseArguments(int argc, char **argv, RenderOptions *options, QString *error)
{
    const QCoreApplication application(argc, argv);
    return parseRenderOptions(QCoreApplication::arguments().mid(1), options, error);
}

} // namespace

int main(int argc, char **argv)
{
    installDiagnostics();
    RenderOptions options;
    QString error;
    if (!parseArguments(argc, argv, &options, &error))
        return fail(ExitStatus::Usage, error + QStringLiteral(" (see quorvel-render --help)"));
    if (options.request == RenderOptions::Request::Text) {
        print(options.text);
        return int(ExitStatus::Done);
    }
    if (options.quiet)
        QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false"));

    endOnSignals("quorvel-render: interrupted");

    if (isStandardInput(options.scene) && !holdStandardInput(&options.scene, &error))
        return fail(ExitStatus::InvalidInput, QStringLiteral("standard input: ") + error);
    // A large file takes longer to read than the application and its context take to come up.
    std::future<SourceText> source;
    if (options.request == RenderOptions::Request::Render) {
        if (!QFileInfo::exists(options.scene))
            return fail(ExitStatus::InvalidInput, options.scene + QStringLiteral(": no such file"));
        source = startReading(options.scene);
    }

    OffscreenContext::prepareApplication();
    const QApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("Quorvel"));
    return options.request == RenderOptions::Request::Diagnose ? diagnose(options)
                                                               : renderScene(options, std::move(source));
}
