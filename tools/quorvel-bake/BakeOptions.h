#pragma once

#include "BakeSettings.h"

#include <QString>
#include <QStringList>

namespace Quorvel
{

/// What one call of quorvel-bake asks for.
struct BakeOptions
{
    /// Answers that need no scene; the text is for stdout.
    enum class Request { Bake, Text };
    /// Whether the scene's texture coordinates are used, or a copy of it with fresh ones.
    enum class Atlas { Keep, New };

    Request request = Request::Bake;
    QString text;

    QString scene;
    /// The light map to write.
    QString output;
    /// The copy of the scene to write; empty for Atlas::Keep. Its light map is the output.
    QString copy;
    Atlas atlas = Atlas::Keep;
    BakeSettings settings;
    bool quiet = false;
    bool verbose = false;
    bool json = false;
    /// Replace files that the program did not make.
    bool force = false;
};

/// Reads a command line, without the program's name. False with one sentence in `error` when it makes no
/// sense.
bool parseBakeOptions(const QStringList &arguments, BakeOptions *options, QString *error);

} // namespace Quorvel
