// bench_floor FILE: the least that reading a scene file can cost: its bytes, its markup and its numbers once,
// with nothing made of them. Prints one JSON line: seconds, peak resident memory, how many numbers.

#include "MarkupScanner.h"
#include "NumberReader.h"

#include <QByteArray>
#include <QElapsedTimer>
#include <QFile>

#include <cstdio>

#include <sys/resource.h>

using namespace Quorvel;

int main(int argc, char **argv)
{
    QFile file(QString::fromLocal8Bit(argc == 2 ? argv[1] : ""));
    QElapsedTimer timer;
    timer.start();
    if (!file.open(QIODevice::ReadOnly)) {
        fputs("usage: bench_floor FILE\n", stderr);
        return 2;
    }
    const QByteArray bytes = file.readAll();
    const std::string_view text(bytes.constData(), size_t(bytes.size()));
    qint64 numbers = 0;
    MarkupScanner markup(text);
    for (size_t begin = 0; markup.next(); begin = markup.end()) {
        const std::string_view list = text.substr(begin, markup.begin() - begin);
        if (list.size() < 20)
            continue;
        // Coordinates have points, indices have none.
        if (list.find('.') != std::string_view::npos)
            numbers += 3 * NumberReader::readVectors3(list).size();
        else
            numbers += NumberReader::readIndices(list, 1, 1).size();
    }
    const double seconds = double(timer.nsecsElapsed()) / 1e9;

    rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    printf("{\"seconds\": %.3f, \"peak_mib\": %.1f, \"numbers\": %lld}\n", seconds,
           double(usage.ru_maxrss) / 1024.0, numbers);
    return 0;
}
