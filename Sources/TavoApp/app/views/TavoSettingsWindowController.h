#pragma once

#include "app/ApplicationControlling.h"
#include "app/views/ModelObserver.h"
#include "app/views/TavoSettingsView.h"

#include <QSize>
#include <QWidget>
#include <memory>

namespace tavo {

/// The size of the settings window's content: scaled with the fonts, as far as the screen allows. The rest is scrolled.
/// @param scale      of the fonts.
/// @param available  of the screen; empty when unknown.
QSize settingsContentSize(double scale, const QSize& available);

/// The settings window: made once, and kept when it is closed.
class TavoSettingsWindowController final : public SettingsWindowControlling {
public:
    /// @param startsWithSettings  skips the welcome view.
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
