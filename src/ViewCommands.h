#pragma once

namespace Quorvel
{

class MainView;

/// What a person can tell the main window to do, other than with the pointer in the view and single keys.
/// Everything made here is a child of the view and wired to its slots.
namespace ViewCommands
{

/// The actions, and the menu bar with those of them that stand in it.
void addActions(MainView *view, bool lowQualityInteraction);

/// The buttons at the right of the status bar: back, open, test animation, full screen.
void addStatusButtons(MainView *view);

} // namespace ViewCommands

} // namespace Quorvel
