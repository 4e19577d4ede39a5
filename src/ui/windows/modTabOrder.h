// The keyboard order that every window applies: row by row, left to right, however the controls were made.
#pragma once

#include <QWidget>

namespace ods {

/// Orders the controls of a window that the Tab key reaches by their positions on the window: by the top, then by the
/// left. Controls are known by their object names; one without a name, such as a part of a control, is passed over. A
/// pixel of difference in the top makes another row, so a layout aligns the tops of a row's controls. Positions are
/// those of the layout also while the window is not shown yet.
void SetTabOrder(QWidget& window);

}  // namespace ods
