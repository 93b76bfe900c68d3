#pragma once

#include <QColor>
#include <QPixmap>
#include <QString>

namespace tavo {

/// One of the system's own symbols; null where the system has none, or none of that name.
QPixmap systemSymbol(const QString& name, int pixels, const QColor& colour);

} // namespace tavo
