#pragma once

#include "RenderOptions.h"

#include <functional>

namespace Quorvel
{

/// Runs each job in a process of its own, one after the other, so that a scene that ends its process does not
/// take the rest along. Returns the exit status of the first that failed, or of success; where a job's
/// status says that the others would fare no better, they are left out. Says at the end which scenes are not
/// drawn. No other thread may run.
int runEach(const QVector<RenderJob> &jobs, const std::function<int(const RenderJob &)> &run);

} // namespace Quorvel
