#pragma once

#include <sys/types.h>

namespace Quorvel
{

/// From now on SIGINT, SIGTERM and SIGHUP (unless that is ignored, as by nohup) end the process with 128 and
/// the signal's number, which is what shells report, after deleting the files that are registered and telling
/// `message` on stderr; null for no message. The text must stay where it is. Writing to a pipe that nobody
/// reads any more becomes an error of that write.
void endOnSignals(const char *message);

/// Hands the signal on to a child, and waits for its end, before the process ends; 0 for none.
void passEndSignalsTo(pid_t child);

/// A file that is deleted when a signal ends the process. Register its name before making it, and forget it
/// once it is no more.
void registerUnfinishedFile(const char *path);
void forgetUnfinishedFile(const char *path);

} // namespace Quorvel
