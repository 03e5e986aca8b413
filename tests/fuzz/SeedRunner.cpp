#include <QDir>
#include <QFile>

#include <cstdio>

extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, size_t size);

/// Runs the fuzz target once over every file of its folder of seeds. A finding ends the process, as it ends
/// the fuzzer.
int main()
{
    const QDir seeds(QStringLiteral(QUORVEL_SEEDS));
    const QStringList names = seeds.entryList(QDir::Files, QDir::Name);
    for (const QString &name : names) {
        std::fprintf(stderr, "%s\n", qPrintable(name));
        QFile file(seeds.filePath(name));
        if (!file.open(QIODevice::ReadOnly)) {
            std::fprintf(stderr, "cannot be read\n");
            return 1;
        }
        const QByteArray bytes = file.readAll();
        LLVMFuzzerTestOneInput(reinterpret_cast<const unsigned char *>(bytes.constData()),
                               size_t(bytes.size()));
    }
    if (names.size() < 5)
        std::fprintf(stderr, "only %d seeds in %s\n", names.size(), qPrintable(seeds.path()));
    return names.size() < 5 ? 1 : 0;
}
