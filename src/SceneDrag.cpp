#include "SceneDrag.h"

#include <QDropEvent>
#include <QFileInfo>
#include <QMimeData>
#include <QUrl>

namespace Quorvel
{

QString SceneDrag::filename(const QMimeData *data)
{
    const QList<QUrl> urls = data->urls();
    for (const QUrl &url : urls) {
        const QFileInfo file(url.toLocalFile());
        const QString suffix = file.suffix().toLower();
        if ((suffix == QLatin1String("dae") || suffix == QLatin1String("xml")) && file.isFile())
            return file.filePath();
    }
    return {};
}

void SceneDrag::acceptCopy(QDropEvent *event)
{
    event->setDropAction(Qt::CopyAction);
    event->accept();
}

} // namespace Quorvel
