#pragma once

#include "OffscreenContext.h"

#include <QPointF>
#include <QSize>
#include <QString>
#include <QStringList>
#include <QVector>

namespace Quorvel
{

/// One picture to draw.
struct RenderJob
{
    QString scene;
    QString output;
};

/// What one call of quorvel-render asks for.
struct RenderOptions
{
    /// Answers that need no scene; the text is for stdout.
    enum class Request { Render, Diagnose, Text };

    Request request = Request::Render;
    QString text;

    /// At least one, and exactly one without a folder for the pictures.
    QVector<RenderJob> jobs;
    /// The folder for pictures that are named after their scenes; empty when the picture has a name.
    QString outputFolder;
    QSize size = QSize(640, 480);
    /// Places in a pixel that its colour is the mean of; a power of two.
    int samples = 1;
    bool shadows = true;
    bool ambientOcclusion = false;
    bool outlines = false;
    bool lowQuality = false;
    bool backfaceCulling = true;
    /// Whether a light map that lies beside the scene is used.
    bool lightMap = true;
    /// Degrees about the scene's centre, horizontally and vertically.
    QPointF orbit;
    int frames = 1;
    /// --frames was given, so the median frame time is wanted.
    bool timeFrames = false;
    /// Id of a camera or of its node, or the number of a camera node in the scene; empty for the active
    /// camera.
    QString camera;
    OffscreenContext::Api api = OffscreenContext::Api::Es2;
    bool quiet = false;
    bool verbose = false;
    bool json = false;
};

/// Reads a command line, without the program's name. False with one sentence in `error` when it makes no
/// sense.
bool parseRenderOptions(const QStringList &arguments, RenderOptions *options, QString *error);

} // namespace Quorvel
