#pragma once

#include "Scene.h"

#include <QMetaType>
#include <QString>
#include <QThread>

namespace Quorvel
{

/// Loads one scene after the other away from the GUI thread. Lives on the GUI thread.
class ColladaLoaderThread : public QThread
{
    Q_OBJECT

public:
    ColladaLoaderThread();
    /// Waits for a load that still runs; its scene is delivered only if the receiver is still there.
    ~ColladaLoaderThread() override;

    /// Starts loading. A load that still runs is a programming error, and fatal.
    void load(const QString &path);

signals:
    /// Emitted on the loading thread, which does not touch the scene any more. The receiver owns it.
    void completed(Scene *scene);

protected:
    void run() override;

private:
    QString m_path;
};

} // namespace Quorvel

Q_DECLARE_METATYPE(Quorvel::Scene *)
