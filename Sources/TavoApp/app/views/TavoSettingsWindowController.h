#pragma once

#include "app/ApplicationControlling.h"
#include "app/views/ModelObserver.h"
#include "app/views/TavoSettingsView.h"

#include <QSize>
#include <QWidget>
#include <memory>

namespace tavo {

/// How large the content of the settings window is: grown with the fonts as far as the screen goes. What does not fit is
/// scrolled.
/// @param scale      of the fonts.
/// @param available  of the screen; empty when there is none to go by.
QSize settingsContentSize(double scale, const QSize& available);

/// The settings window: made once, and the same one after it was closed.
class TavoSettingsWindowController final : public SettingsWindowControlling {
public:
    /// @param startsWithSettings  skips the welcome view: somebody has asked for the settings.
    TavoSettingsWindowController(ModelObserver& observer, const QString& machineNoun, bool startsWithSettings);
    ~TavoSettingsWindowController() override;

    void showWindow() override;
    void bringToFront() override;

    QWidget& window() const;
    TavoSettingsView& view() const;

private:
    class Window;

    std::unique_ptr<Window> settingsWindow;
};

} // namespace tavo
