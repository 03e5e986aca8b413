#include "WorkMark.h"

#include <QFile>
#include <QImageReader>

#include <algorithm>

namespace Quorvel
{

namespace
{

const QString markKey = QStringLiteral("Software");
const QString programName = QStringLiteral("quorvel-bake ");
const char *const sceneMarkBegin = "<!-- made by quorvel-bake ";

} // namespace

void markLightMap(QImage *image)
{
    image->setText(markKey, programName + QStringLiteral(QUORVEL_VERSION));
}

bool isMarkedLightMap(const QString &path)
{
    return QImageReader(path, "png").text(markKey).startsWith(programName);
}

QByteArray sceneMark()
{
    return sceneMarkBegin + QByteArray(QUORVEL_VERSION " -->\n");
}

bool isMarkedScene(const QString &path)
{
    constexpr qint64 end = 128;
    QFile file(path);
    return file.open(QIODevice::ReadOnly) && file.seek(std::max<qint64>(0, file.size() - end)) &&
           file.readAll().contains(sceneMarkBegin);
}

} // namespace Quorvel
