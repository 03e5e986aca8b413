#pragma once

namespace Quorvel
{

/// Exit statuses, the same for all companion programs.
enum class ExitStatus {
    Done = 0,
    Failed = 1,
    Usage = 2,
    InvalidInput = 3,
    CannotWrite = 4,
    NoGl = 5,
    /// What shells give a program that SIGINT ended.
    Interrupted = 130
};

} // namespace Quorvel
