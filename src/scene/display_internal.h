// Steps that making, opening, resizing and changing displays share.
#pragma once

#include <string>

#include "base/error.h"
#include "scene/display.h"

namespace quillmere {

struct SceneState;

/// The size of a screen or window as messages show it.
[[nodiscard]] std::string SizeText(std::int32_t width, std::int32_t height);

/// The screen that windows open on, and the part of it that they may take.
[[nodiscard]] Rectangle ScreenArea(SceneState& scene);
[[nodiscard]] Rectangle UsableArea(SceneState& scene);

/// `CannotChangeDisplaySize` with the size when a window of that inner size does not fit the
/// screen.
[[nodiscard]] Status RequireFit(SceneState& scene, const qmDisplay& display, std::int32_t width,
                                std::int32_t height);

/// The inner size of a window that takes all the room that there is; the backdrop may take that of
/// the title bar too.
[[nodiscard]] Rectangle LargestInner(SceneState& scene, const DisplaySettings& settings,
                                     bool isBackdrop);

/// Works out the scale size and the margins of a window `width` by `height` for a scale engine.
/// With kept proportions the picture is fitted into the box, which may be smaller than the window.
void FitPicture(DisplaySettings& settings, const qmBGPic& bgpic, std::int32_t boxWidth,
                std::int32_t boxHeight);

/// Makes canvas and scratch anew at the picture's output size.
Status MakeBuffers(qmDisplay& display);

/// Brings planes, factors and buffers in line with the display's scale sizes.
Status ApplyScaling(SceneState& scene, qmDisplay& display, bool smooth);

/// The outline of a shaped window at its present size: `shapeMask` and `shapeAlpha`.
Status UpdateShape(SceneState& scene, qmDisplay& display);

/// Works out the regions by which a borderless window is dragged and resized.
void UpdateRegions(qmDisplay& display);

/// Makes the buffers of a new display, and fits its window when it has a scale engine.
Status PrepareBuffers(SceneState& scene, qmDisplay& display);

/// Lets go of a picture that is no longer shown: it goes back to its own size.
void ReleaseBGPic(SceneState& scene, qmDisplay& display, qmBGPic& bgpic);

/// Resets the margins of text, also in what a selection has parked.
void ResetTextMargins(qmDisplay& display);

/// The refusal of commands that do not work while a video is recorded.
[[nodiscard]] Status RequireNotRecording(const SceneState& scene);

/// The refusal to free the current display or one with asynchronous draw objects.
[[nodiscard]] Status RequireFreeable(const SceneState& scene, const qmDisplay& display);

/// Closes and opens a window in its present state.
Status ReopenDisplayWindow(SceneState& scene, qmDisplay& display);

/// Ends double buffering: the back picture becomes the permanent one.
void EndDoubleBuffering(SceneState& scene, qmDisplay& display);

/// Builds the backdrop from the start-up settings, when they ask for one.
Status BuildBackdrop(VmState& state);

/// Frees the backdrop with its picture.
void FreeBackdrop(SceneState& scene);

}  // namespace quillmere
