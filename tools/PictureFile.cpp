#include "PictureFile.h"

#include "OutputFile.h"

#include <QBuffer>
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

} // namespace Quorvel
