#pragma once

class QWidget;

namespace stowboard {

/// Draws a control's outline where the palette has high contrast, as styles derive the frames of
/// controls from the colours of the window, which leaves none on black. To be called at the end of
/// the control's paintEvent(); draws nothing otherwise, nor on the focused control, which styles
/// mark by the highlight. Main thread.
void paintHighContrastFrame(QWidget& control);

}  // namespace stowboard
