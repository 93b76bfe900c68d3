#include "app/views/TrayWatch.h"

namespace tavo {

namespace {

class MenuBar final : public TrayWatch {
public:
    bool isThere() const override { return true; }
};

} // namespace

std::unique_ptr<TrayWatch> watchTray() {
    return std::make_unique<MenuBar>();
}

} // namespace tavo
