#include "ColladaLoader.h"
#include "EndSignals.h"
#include "ExitStatus.h"
#include "FatalExplanation.h"
#include "Gles2.h"
#include "LightMap.h"
#include "OutputFile.h"
#include "PictureFile.h"
#include "Rendering.h"
#include "Scene.h"
#include "SceneCache.h"
#include "SceneProcesses.h"
#include "StandardInput.h"

#include <QApplication>
#include <QDir>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLoggingCategory>

#include <cstdio>
#include <future>
#include <optional>
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

void reportFrames(const RenderOptions &options, const RenderJob &job, const QVector<double> &frameTimes)
{
    // What goes to the standard output is either the picture or the figures.
    FILE *const stream = isStandardOutput(job.output) ? stderr : stdout;
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

/// What a person may want to know about a picture that is drawn.
void remark(const RenderOptions &options, const RenderJob &job, const RenderResult &result)
{
    if (result.isLightMapped && !options.quiet)
        fprintf(stderr, "quorvel-render: %s: lit by its light map %s\n", qPrintable(job.scene),
                qPrintable(LightMap::fileName(job.scene)));
    if (!result.blankReason.isEmpty())
        fprintf(stderr, "quorvel-render: %s: warning: the picture is of one colour: %s\n",
                qPrintable(job.scene), qPrintable(result.blankReason));
}

int renderScene(const RenderOptions &options, const RenderJob &job, std::future<SourceText> source)
{
    std::optional<OffscreenContext> context(std::in_place, bufferSize(options), options.api);
    if (context->isSizeRefused())
        context.emplace(options.size, options.api);
    if (!context->isValid())
        return noContext(options, *context);

    Scene scene;
    {
        // Gone before the frame, with the text of the file that it holds.
        const ColladaLoader loader(&scene, job.scene, std::move(source));
    }

    if (!options.camera.isEmpty()) {
        Node *camera = findCamera(scene, options.camera);
        if (!camera)
            return fail(ExitStatus::InvalidInput,
                        QStringLiteral("%1: no camera \"%2\"").arg(job.scene, options.camera));
        scene.setActiveCameraNode(camera);
    }
    if (!options.orbit.isNull())
        orbit(&scene, options.orbit);

    const RenderResult result = render(&scene, options, &*context);
    remark(options, job, result);
    QString error;
    if (!writePicture(result.picture, job.output, &error))
        return fail(ExitStatus::CannotWrite, QStringLiteral("%1: %2").arg(job.output, error));
    if (options.timeFrames)
        reportFrames(options, job, result.frameTimes);
    return int(ExitStatus::Done);
}

/// Draws one scene, or answers --diagnose. The only one in this process: the application cannot be made
/// twice.
int runOnce(int argc, char **argv, const RenderOptions &options, RenderJob job)
{
    const bool diagnosing = options.request == RenderOptions::Request::Diagnose;
    QString error;
    if (isStandardInput(job.scene) && !holdStandardInput(&job.scene, &error))
        return fail(ExitStatus::InvalidInput, QStringLiteral("standard input: ") + error);
    if (!diagnosing && !QFileInfo::exists(job.scene))
        return fail(ExitStatus::InvalidInput, job.scene + QStringLiteral(": no such file"));
    if (!diagnosing && !canWriteOutput(job.output, &error))
        return fail(ExitStatus::CannotWrite, QStringLiteral("%1: %2").arg(job.output, error));
    // A large file takes longer to read than the application and its context take to come up.
    std::future<SourceText> source;
    if (!diagnosing)
        source = startReading(job.scene);

    OffscreenContext::prepareApplication();
    const QApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("Quorvel"));
    return diagnosing ? diagnose(options) : renderScene(options, job, std::move(source));
}

int run(int argc, char **argv, const RenderOptions &options)
{
    const auto runJob = [argc, argv, &options](const RenderJob &job) {
        return runOnce(argc, argv, options, job);
    };
    switch (options.request) {
    case RenderOptions::Request::Text:
        print(options.text);
        return int(ExitStatus::Done);
    case RenderOptions::Request::Diagnose:
        return runJob(RenderJob());
    case RenderOptions::Request::Render:
        break;
    }
    if (options.outputFolder.isEmpty())
        return runJob(options.jobs.constFirst());
    if (!QDir().mkpath(options.outputFolder))
        return fail(ExitStatus::CannotWrite,
                    options.outputFolder + QStringLiteral(": the folder cannot be made"));
    return runEach(options.jobs, runJob);
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
    if (!options.verbose)
        QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false"));
    endOnSignals("quorvel-render: interrupted");
    const int status = run(argc, argv, options);
    if (status == int(ExitStatus::Done) && !flushStandardOutput(&error))
        return fail(ExitStatus::CannotWrite, QStringLiteral("standard output: ") + error);
    return status;
}
