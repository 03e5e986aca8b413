#pragma once

#include <QString>

namespace Quorvel
{

/// Sends all diagnostics but the toolkit's idle remarks to stderr, one line each, and lets a fatal message be
/// followed by the explanation that explainFatal() left on the failing thread. Every program of the project
/// calls this first.
void installDiagnostics();

/// Leaves a sentence for people (what is wrong with their file and what to do about it) that is printed if
/// the next assertion on this thread fails. An empty sentence takes it back.
void explainFatal(const QString &sentence);

/// Puts an explanation in force for a scope, for checks that the toolkit makes and that cannot be explained
/// at the spot. Restores the one before.
class FatalExplanation
{
public:
    explicit FatalExplanation(const QString &sentence);
    ~FatalExplanation();
    FatalExplanation(const FatalExplanation &) = delete;
    FatalExplanation &operator=(const FatalExplanation &) = delete;

private:
    QString m_previous;
};

/// For a scope in which a fatal message is nobody's programming error: in place of the message the sentence
/// is printed, and the program ends with the status rather than by a signal. One at a time.
class FatalExit
{
public:
    FatalExit(const QString &sentence, int status);
    ~FatalExit();
    FatalExit(const FatalExit &) = delete;
    FatalExit &operator=(const FatalExit &) = delete;

    [[noreturn]] void end() const;

private:
    const QString m_sentence;
    const int m_status;
};

} // namespace Quorvel
