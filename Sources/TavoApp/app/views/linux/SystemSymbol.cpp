#include "app/views/SystemSymbol.h"

namespace tavo {

QPixmap systemSymbol(const QString&, int, const QColor&) {
    return {};
}

} // namespace tavo
