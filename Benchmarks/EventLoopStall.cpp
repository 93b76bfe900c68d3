#include "Crowd.h"
#include "Support/ScriptedApplication.h"
#include "Support/TemporaryDirectory.h"
#include "app/Platform.h"
#include "app/views/ModelObserver.h"
#include "app/views/QtMainLoop.h"
#include "app/views/TavoSettingsWindowController.h"
#include "system/ProgramLocation.h"

#include <fmt/format.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QTimer>
#include <algorithm>

namespace {

constexpr int processes = 5000;
constexpr int evaluations = 30;

} // namespace

/// Measures the longest time for which the window does not answer while Tavo examines 5,000 processes, and while it
/// does nothing.
int main(int count, char** values) {
    const tavo::Crowd crowd(processes);
    QApplication application(count, values);
    const tavo::TemporaryDirectory folder;
    const auto store = std::make_shared<tavo::TavoStore>(tavo::TavoPaths{folder.path()});
    tavo::AppConfig config;
    config.isEnabled = true;
    config.trigger = {.mode = tavo::TriggerMode::process, .query = "a program that nobody has"};
    store->saveConfig(config);
    const auto loop = std::make_shared<tavo::QtMainLoop>();
    tavo::ScriptedApplication program;
    const auto model = tavo::TavoAppModel::make(
        loop, store, tavo::makePlatform(tavo::runningProgram(values[0]), store->paths()), program);
    tavo::ModelObserver observer(model);
    tavo::TavoSettingsWindowController window(observer, "computer", true);
    window.showWindow();

    const auto maxGap = [&](bool evaluates) {
        QElapsedTimer clock;
        clock.start();
        qint64 last = clock.nsecsElapsed();
        qint64 maxStall = 0;
        int left = evaluations;
        QTimer heartbeat;
        QTimer work;
        QObject::connect(&heartbeat, &QTimer::timeout, [&] {
            const auto now = clock.nsecsElapsed();
            maxStall = std::max(maxStall, now - last);
            last = now;
        });
        QObject::connect(&work, &QTimer::timeout, [&] {
            if (evaluates) {
                model->evaluateNow();
            }
            if (--left == 0) {
                QCoreApplication::quit();
            }
        });
        heartbeat.start(1);
        work.start(50);
        QCoreApplication::exec();
        return static_cast<double>(maxStall) / 1e6;
    };
    const double idle = maxGap(false);
    const double evaluating = maxGap(true);
    fmt::print("longest stall of the event loop: {:.1f} ms while evaluating {} processes, {:.1f} ms otherwise\n",
               evaluating, processes, idle);
    return 0;
}
