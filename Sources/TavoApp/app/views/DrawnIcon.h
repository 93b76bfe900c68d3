#pragma once

#include <QIcon>
#include <QPixmap>
#include <QString>
#include <functional>
#include <vector>

namespace tavo {

/// An icon whose pictures are drawn when they are asked for: a tray shows one size of many, and a start that draws all of
/// them takes longer and keeps more memory. The pictures are kept until the program has nothing else to do.
///
/// @param sides  of the pictures, ascending; other sizes are scaled from the next larger one.
/// @param draw   makes the picture with this side, in pixels.
/// @param name   in icon themes; none when empty.
QIcon drawnIcon(std::vector<int> sides, std::function<QPixmap(int side)> draw, const QString& name = {});

} // namespace tavo
