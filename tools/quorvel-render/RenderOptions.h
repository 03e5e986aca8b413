#pragma once

#include "OffscreenContext.h"

#include <QPointF>
#include <QSize>
#include <QString>
#include <QStringList>

namespace Quorvel
{

/// What one call of quorvel-render asks for.
struct RenderOptions
{
    /// Answers that need no scene; the text is for stdout.
    enum class Request { Render, Diagnose, Text };

    Request request = Request::Render;
    QString text;

    QString scene;
    QString output;
    QSize size = QSize(640, 480);
    bool shadows = true;
    bool ambientOcclusion = false;
    bool outlines = false;
    bool lowQuality = false;
    bool backfaceCulling = true;
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
    bool json = false;
};

/// Reads a command line, without the program's name. False with one sentence in `error` when it makes no
/// sense.
bool parseRenderOptions(const QStringList &arguments, RenderOptions *options, QString *error);

} // namespace Quorvel
