#pragma once

#include "FatalCase.h"
#include "GlLane.h"

namespace Quorvel::Test
{

/// FatalCases for code that needs the lane's GL context. In main:
///
///     return runWithFatalCases<TestX>(argc, argv, size, {{"name", [](OffscreenContext &context) { ... }}});
///
/// and in a test function: `const FatalEnd end = FatalCases::end("name");`.
template <typename TestObject>
int runWithFatalCases(int argc, char **argv, const QSize &size,
                      const QMap<QString, std::function<void(OffscreenContext &)>> &cases)
{
    if (argc != 3 || qstrcmp(argv[1], "--fatal-case") != 0)
        return GlLane::run<TestObject>(argc, argv, size);
    const rlimit noCoreFile{0, 0};
    setrlimit(RLIMIT_CORE, &noCoreFile);
    return GlLane::run(argc, argv, size, [&](OffscreenContext &context) {
        installDiagnostics();
        if (const auto body = cases.value(QString::fromLocal8Bit(argv[2])))
            body(context);
        return 0;
    });
}

} // namespace Quorvel::Test
