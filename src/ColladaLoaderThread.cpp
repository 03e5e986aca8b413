#include "ColladaLoaderThread.h"

#include "ColladaLoader.h"

namespace Quorvel
{

ColladaLoaderThread::ColladaLoaderThread()
{
    qRegisterMetaType<Quorvel::Scene *>("Scene*");
}

ColladaLoaderThread::~ColladaLoaderThread()
{
    wait();
}

void ColladaLoaderThread::load(const QString &path)
{
    Q_ASSERT(!isRunning());
    m_path = path;
    start(QThread::InheritPriority);
}

void ColladaLoaderThread::run()
{
    auto *scene = new Scene;
    const ColladaLoader loader(scene, m_path);
    emit completed(scene);
}

} // namespace Quorvel
