#include "PictureFile.h"

#include "OutputFile.h"

#include <QBuffer>
#include <QFileInfo>
#include <QImageWriter>

namespace Quorvel
{

bool writePicture(const QImage &picture, const QString &path, QString *error)
{
    QBuffer coded;
    QImageWriter writer(&coded, "png");
    if (!writer.write(picture)) {
        *error = writer.errorString();
        return false;
    }
    return writeOutput(path, coded.data(), error);
}

QString refusedExtension(const QString &path)
{
    const QString extension = QFileInfo(path).suffix();
    if (extension.isEmpty() || extension.compare(QLatin1String("png"), Qt::CaseInsensitive) == 0 ||
        !isFileOutput(path))
        return QString();
    return QStringLiteral("%1: pictures are PNG files, and their names end in .png").arg(path);
}

} // namespace Quorvel
