#include "GivenScene.h"

#include "MainView.h"
#include "Pipeline.h"

namespace Quorvel
{

void GivenScene::openAtOnce(MainView *view, const QString &filename)
{
    view->openScene(filename);
    if (!view->isLoading())
        return;
    view->whenEngineIsUp([view, filename] {
        if (!view->isLoading())
            view->openScene(filename);
        else if (view->pipeline()->state().animating())
            view->toggleTestAnimation();
    });
}

void GivenScene::openOnceUp(MainView *view, const QString &filename)
{
    view->whenEngineIsUp([view, filename] { view->openScene(filename); });
}

} // namespace Quorvel
