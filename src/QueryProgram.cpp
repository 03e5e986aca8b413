#include "QueryProgram.h"

#include <QFile>

namespace Quorvel
{

namespace QueryProgram
{

namespace
{

const char *const path = ":/xquery/collada.xq";

} // namespace

QUrl url()
{
    return QUrl::fromLocalFile(QLatin1String(path));
}

QByteArray text()
{
    QFile file(QString::fromLatin1(path));
    if (!file.open(QIODevice::ReadOnly))
        qFatal("%s is missing: this program was linked without its resources", path);
    return file.readAll();
}

QByteArray textForFlatGeometries()
{
    // An external variable could not be left without a value.
    const QByteArray asked = "$areGeometriesFlat as xs:boolean := false();";
    const QByteArray known = "$areGeometriesFlat as xs:boolean := true();";
    QByteArray program = text();
    Q_ASSERT(program.count(asked) == 1);
    return program.replace(asked, known);
}

} // namespace QueryProgram

} // namespace Quorvel
