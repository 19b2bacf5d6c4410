#pragma once

#include <QString>

class frmMDIMain;

// Start-up: splash and disclaimer, the frame with its image lists and toolbar,
// then two simulation windows side by side. From there on the event loop runs
// the program.
namespace basMain {

// The steps of start-up. Returns the frame (owned by the caller), or null when
// the user refused the disclaimer: then no window is left behind.
frmMDIMain *Main();

// Sets the help location and fills the image lists and the toolbar.
void SetupHelpAndToolbar(frmMDIMain *frame);
QString LoadImageList(frmMDIMain *frame);
QString LoadToolbarButtons(frmMDIMain *frame);

// Starts the start-up clock; main() calls it first thing.
void markProcessStart();

// Milliseconds from process start (markProcessStart) to both first graphs
// drawn, measured by Main without the time spent waiting for the user at the
// splash and without the fixed pause; -1 until Main has run.
double startupMilliseconds();

// Lets tests and benchmarks run start-up without waiting for a user at the
// splash window: the disclaimer is then taken as accepted.
void setSplashAutoAccept(bool accept);

} // namespace basMain
