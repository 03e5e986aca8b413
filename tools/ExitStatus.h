#pragma once

namespace Quorvel
{

/// Exit statuses, the same for all companion programs. One that a signal ends has 128 and the signal's
/// number, as shells give it.
enum class ExitStatus {
    Done = 0,
    Failed = 1,
    Usage = 2,
    InvalidInput = 3,
    CannotWrite = 4,
    NoGl = 5,
    /// By SIGINT.
    Interrupted = 130
};

} // namespace Quorvel
