#include "Screenshots/Pictures.h"
#include "app/SettingsBindings.h"
#include "app/views/PanelWindow.h"
#include "app/views/TavoMenuBarView.h"
#include "app/views/TavoSettingsWindowController.h"
#include "app/views/Theme.h"
#include "base/WakeControlError.h"
#include "views/Stage.h"

#include <fmt/format.h>

#include <QApplication>
#include <QDir>
#include <QFontDatabase>
#include <QPainter>
#include <QScrollArea>
#include <QScrollBar>
#include <cstdio>
#include <stdexcept>

namespace tavo {
namespace {

using Prepare = std::function<void(Stage&)>;

AppConfig enabled(TriggerPreset preset = TriggerPreset::always) {
    AppConfig config;
    config.isEnabled = true;
    config.trigger = defaultRule(preset);
    return config;
}

/// A state of the app that is worth seeing.
struct Scene {
    QString name;
    AppConfig config;

    /// Before the model starts.
    Prepare before = [](Stage&) {};

    /// Once it runs.
    Prepare after = [](Stage&) {};
    bool showsWelcome = false;
    bool showsEnd = false;
};

std::vector<Scene> windowScenes() {
    std::vector<Scene> scenes;
    scenes.push_back({.name = "welcome-paused", .config = {}, .showsWelcome = true});
    scenes.push_back({.name = "welcome-on", .config = enabled(), .showsWelcome = true});
    scenes.push_back({.name = "settings-paused", .config = {}});
    for (const auto preset : allCases<TriggerPreset>()) {
        const auto name = std::string(rawValue(preset));
        scenes.push_back({.name = QString::fromStdString("settings-" + name), .config = enabled(preset)});
    }
    scenes.push_back(
        {.name = "settings-codex-running", .config = enabled(TriggerPreset::codex), .before = [](Stage& stage) {
             stage.table->processes = {{.pid = 7, .executableName = "codex", .commandLine = "codex"}};
         }});
    scenes.push_back({.name = "settings-custom", .config = enabled(), .after = [](Stage& stage) {
                          stage.edit([](AppConfig& draft) { draft = withPresetChoice(draft, "custom"); });
                          stage.model->saveDraft();
                      }});
    scenes.push_back({.name = "settings-unsaved", .config = enabled(TriggerPreset::codex), .after = [](Stage& stage) {
                          stage.edit([](AppConfig& draft) {
                              draft = withPresetChoice(draft, "custom");
                              draft = withClosedLid(draft, true);
                              draft = withBattery(draft, false);
                          });
                      }});
    scenes.push_back({.name = "settings-refused",
                      .config = {},
                      .after =
                          [](Stage& stage) {
                              stage.edit([](AppConfig& draft) { draft.batteryCutoffPercent = 0; });
                              stage.model->saveDraft();
                          },
                      .showsEnd = false});
    auto closed = enabled();
    closed.watchMode = WatchMode::both;
    scenes.push_back({.name = "settings-closed-lid-error", .config = closed});
    scenes.push_back(
        {.name = "settings-waiting-for-ac",
         .config =
             [] {
                 auto config = enabled();
                 config.powerSourcePolicy = PowerSourcePolicy::acOnly;
                 config.launchAtLoginEnabled = true;
                 return config;
             }(),
         .before =
             [](Stage& stage) { stage.power->status = {.source = CurrentPowerSource::battery, .batteryPercent = 80}; },
         .showsEnd = true});
    scenes.push_back({.name = "settings-low-battery", .config = enabled(), .before = [](Stage& stage) {
                          stage.power->status = {.source = CurrentPowerSource::battery, .batteryPercent = 12};
                      }});
    scenes.push_back({.name = "settings-broken-file", .config = enabled(), .after = [](Stage& stage) {
                          stage.folder.write("config.json", R"({"isEnabled": 1})");
                          stage.model->evaluateNow();
                      }});
    scenes.push_back({.name = "settings-less-held", .config = enabled(), .after = [](Stage& stage) {
                          stage.assertionStatus->record(
                              stage.assertionStatus->open(),
                              {.service = AssertionService::logind,
                               .what = "idle",
                               .notice = "sleep was refused, so others may "
                                         "still put the computer to sleep; sudo tavoctl run holds it too."});
                          stage.loop->runPosted();
                      }});
    scenes.push_back({.name = "permission-not-granted", .config = {}, .showsEnd = true});
    scenes.push_back({.name = "permission-granted",
                      .config = {},
                      .before = [](Stage& stage) { stage.installHelper(); },
                      .showsEnd = true});
    scenes.push_back({.name = "permission-other-build",
                      .config = {},
                      .before = [](Stage& stage) { stage.installHelper("another"); },
                      .showsEnd = true});
    scenes.push_back({.name = "permission-unreachable",
                      .config = {},
                      .before =
                          [](Stage& stage) {
                              stage.installHelper();
                              stage.helper->otherwise = PrivilegedHelperResponse::ok();
                          },
                      .showsEnd = true});
    scenes.push_back({.name = "permission-working",
                      .config = {},
                      .after = [](Stage& stage) { stage.model->installHelper(); },
                      .showsEnd = true});
    return scenes;
}

std::vector<Scene> panelScenes() {
    auto closed = enabled();
    closed.watchMode = WatchMode::both;
    return {{.name = "panel-paused", .config = {}},
            {.name = "panel-on", .config = enabled()},
            {.name = "panel-waiting", .config = enabled(TriggerPreset::claudeCode)},
            {.name = "panel-warning",
             .config = closed,
             .before =
                 [](Stage& stage) {
                     // The configuration covers a closed lid, and the helper that this needs has gone since.
                     stage.installHelper();
                 },
             .after =
                 [](Stage& stage) {
                     stage.removeHelper();
                     stage.model->refresh();
                 }},
            {.name = "panel-paused-warning", .config = [] {
                 AppConfig config;
                 config.watchMode = WatchMode::closed;
                 return config;
             }()}};
}

/// Behind the window, so that its edges can be seen.
QImage onGround(const QPixmap& picture, const QColor& ground) {
    constexpr int margin = 16;
    const double ratio = picture.devicePixelRatio();
    QImage image(picture.size() + QSize(2, 2) * static_cast<int>(margin * ratio), QImage::Format_RGB32);
    image.fill(ground);
    image.setDevicePixelRatio(ratio);
    QPainter(&image).drawPixmap(margin, margin, picture);
    return image;
}

class Photographer {
public:
    explicit Photographer(QDir folder) : folder(std::move(folder)) {}

    void takeAll(const Theme& theme) {
        QApplication::setPalette(theme.palette());
        const QString suffix = theme.isDark ? "-dark" : "-light";
        const QColor ground = theme.isDark ? QColor(0x4A, 0x2B, 0x4A) : QColor(0xC9, 0xC6, 0xEC);
        for (const auto& scene : windowScenes()) {
            Stage stage;
            prepare(stage, scene);
            TavoSettingsWindowController window(*stage.observer, "mac", !scene.showsWelcome);
            window.showWindow();
            QApplication::processEvents();
            if (scene.showsEnd) {
                auto* bar = window.window().findChild<QScrollArea*>()->verticalScrollBar();
                bar->setValue(bar->maximum());
                QApplication::processEvents();
            }
            save(window.window().grab(), ground, scene.name + suffix);
        }
        for (const auto& scene : panelScenes()) {
            Stage stage;
            prepare(stage, scene);
            PanelWindow panel(Qt::Popup | Qt::FramelessWindowHint, [] { return true; });
            panel.setPanel(*new TavoMenuBarView(
                *stage.observer, [] {}, &panel));
            panel.prepareToShow();
            panel.show();
            QApplication::processEvents();
            save(panel.grab(), ground, scene.name + suffix);
        }
    }

    int count() const { return taken; }

private:
    static void prepare(Stage& stage, const Scene& scene) {
        stage.machineNoun = "mac";
        stage.power->status = {.source = CurrentPowerSource::ac, .batteryPercent = 80, .isCharging = true};
        scene.before(stage);
        stage.begin(scene.config);
        scene.after(stage);
    }

    void save(const QPixmap& picture, const QColor& ground, const QString& name) {
        const auto file = folder.filePath(name + ".png");
        if (!onGround(picture, ground).save(file)) {
            throw std::runtime_error("could not write " + file.toStdString());
        }
        ++taken;
    }

    QDir folder;
    int taken = 0;
};

} // namespace
} // namespace tavo

/// Usage: tavo-screenshots [--pictures] FOLDER. Draws every state of the app that is worth seeing, in light and in dark;
/// with --pictures, those that the README and the metainfo show.
int main(int count, char** values) {
    QApplication application(count, values);
    const auto arguments = QApplication::arguments().mid(1);
    const bool arePictures = arguments.size() == 2 && arguments.front() == QLatin1String("--pictures");
    if ((arguments.size() != 1 && !arePictures) || !QDir().mkpath(arguments.back())) {
        fmt::print(stderr, "tavo-screenshots: name a folder to write to.\n");
        return 64;
    }
    const QDir folder(arguments.back());
    QFont font(QStringLiteral("Inter"));
    font.setPixelSize(13);
    QApplication::setFont(font);
    try {
        int taken = 0;
        if (arePictures) {
            taken = tavo::drawPictures(folder);
        } else {
            tavo::Photographer photographer(folder);
            photographer.takeAll(tavo::Theme::light());
            photographer.takeAll(tavo::Theme::dark());
            taken = photographer.count();
        }
        fmt::print("{} pictures in {}\n", taken, folder.path().toStdString());
        return 0;
    } catch (const std::exception& error) {
        fmt::print(stderr, "tavo-screenshots: {}\n", error.what());
        return 1;
    }
}
