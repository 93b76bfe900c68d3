#include "app/views/TavoSystemSettings.h"

#include "app/views/SettingsSection.h"

#include <QVBoxLayout>

namespace tavo {

TavoSystemSettings::TavoSystemSettings(ModelObserver& observer, QWidget* parent)
    : QWidget(parent), observer(observer),
      loginRow(new SettingsToggleRow(QStringLiteral("power"), QStringLiteral("launch at login"),
                                     [this](bool isOn) {
                                         auto draft = this->observer.model().draftConfig();
                                         draft.launchAtLoginEnabled = isOn;
                                         this->observer.model().editDraft(draft);
                                     })),
      permissionRow(new SettingsActionValueRow(QStringLiteral("lock.shield"), QStringLiteral("closed-lid permission"),
                                               [this] { act(); })) {
    auto* section = new SettingsSection(QStringLiteral("system"), this);
    section->addRow(loginRow);
    section->addRow(permissionRow);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(section);
    connect(&observer, &ModelObserver::changed, this, &TavoSystemSettings::showModel);
    showModel();
}

/// This build's own helper can remove itself without asking the user; any other one is reinstalled.
bool TavoSystemSettings::offersReset() const {
    const auto& model = observer.model();
    return model.helperInstallState() == PrivilegedHelperInstallState::ready && model.supportsSilentHelperReset();
}

void TavoSystemSettings::act() {
    auto& model = observer.model();
    if (offersReset()) {
        model.resetHelper();
    } else {
        model.installHelper();
    }
}

void TavoSystemSettings::showModel() {
    const auto& model = observer.model();
    const auto state = model.helperInstallState();
    loginRow->setOn(model.draftConfig().launchAtLoginEnabled);
    permissionRow->setDetail(QString::fromStdString(model.helperStatusDetail()));
    permissionRow->setValue(QString::fromStdString(model.helperStatusTitle()));
    permissionRow->setShowsLabelCheckmark(state == PrivilegedHelperInstallState::ready);
    if (state == PrivilegedHelperInstallState::notInstalled) {
        permissionRow->setPrimaryAction(QStringLiteral("grant"), QStringLiteral("lock.open.fill"));
    } else if (offersReset()) {
        permissionRow->setPrimaryAction(QStringLiteral("reset"), QStringLiteral("arrow.uturn.backward"));
    } else {
        permissionRow->setPrimaryAction(QStringLiteral("refresh"), QStringLiteral("arrow.clockwise"));
    }
    permissionRow->setWorking(model.isInstallingHelper());
    permissionRow->button()->setEnabled(!model.isInstallingHelper() && (offersReset() || model.canInstallHelper()));
}

} // namespace tavo
