#pragma once

class QString;

namespace Quorvel
{

class MainView;

/// The scene that the program was given at its start, and when it is opened. Each is called once for a view
/// whose engine is not up, before the event loop runs.
namespace GivenScene
{

/// Loads a file while the engine comes up, and sees to it that it ends on the screen, standing still: the
/// view itself drops a scene that comes in before the engine is up, and lets the logo's spinning go on in one
/// that comes later. Reads the file a second time where the first was too early.
void openAtOnce(MainView *view, const QString &filename);

/// Opens a file as soon as the engine is up.
void openOnceUp(MainView *view, const QString &filename);

} // namespace GivenScene

} // namespace Quorvel
