#include "app/views/Symbol.h"

namespace tavo {

QPixmap systemSymbol(const QString&, int, const QColor&) {
    return {};
}

} // namespace tavo
