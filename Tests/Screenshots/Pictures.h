#pragma once

#include <QDir>

namespace tavo {

/// Draws the pictures of the app for the README and for software centres: its panel and its settings on a desktop, in
/// light and in dark. The window's frame, which is the desktop's, is a plain one.
/// @return how many there are. @throws std::runtime_error when one cannot be written.
int drawPictures(const QDir& folder);

} // namespace tavo
