#include "app/views/ModelObserver.h"

namespace tavo {

ModelObserver::ModelObserver(const std::shared_ptr<TavoAppModel>& model) : observed(model) {
    model->onChange([this](ModelChanges changes) { Q_EMIT changed(changes); });
}

} // namespace tavo
