// bench_convert FILE: converts a scene without any cache, neither read nor written, in a process of its own
// so that its peak memory means something. Prints one JSON line: seconds of the load, peak resident memory,
// size of the file.

#include "ColladaLoader.h"
#include "Scene.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFileInfo>

#include <cstdio>

#include <sys/resource.h>

using namespace Quorvel;

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    if (argc != 2) {
        fputs("usage: bench_convert FILE\n", stderr);
        return 2;
    }
    qInstallMessageHandler([](QtMsgType type, const QMessageLogContext &, const QString &message) {
        if (type != QtDebugMsg)
            fprintf(stderr, "%s\n", qPrintable(message));
    });
    const QString path = QString::fromLocal8Bit(argv[1]);
    Scene scene;
    QElapsedTimer timer;
    timer.start();
    // Nothing can be made below a device.
    const QString noCache = QStringLiteral("/dev/null/cache");
    ColladaLoader(&scene, path, SceneCache(noCache, noCache));
    const double seconds = double(timer.nsecsElapsed()) / 1e9;

    rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    printf("{\"seconds\": %.3f, \"peak_mib\": %.1f, \"file_mib\": %.1f}\n", seconds,
           double(usage.ru_maxrss) / 1024.0, double(QFileInfo(path).size()) / 1048576.0);
    return 0;
}
