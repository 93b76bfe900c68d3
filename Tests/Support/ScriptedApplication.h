#pragma once

#include "app/ApplicationControlling.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace tavo {

/// A program that records the model's requests, and shows nothing.
class ScriptedApplication final : public ApplicationControlling {
public:
    void orderOutKeyWindow() override { asked.emplace_back("order out the key window"); }

    std::unique_ptr<SettingsWindowControlling> makeSettingsWindow(TavoAppModel&) override {
        asked.emplace_back("make the settings window");
        return hasWindows ? std::make_unique<Window>(asked) : nullptr;
    }

    void terminate() override {
        asked.emplace_back("terminate");
        if (whenTerminated) {
            whenTerminated();
        }
    }

    std::vector<std::string> asked;
    std::function<void()> whenTerminated;
    bool hasWindows = true;

private:
    class Window final : public SettingsWindowControlling {
    public:
        explicit Window(std::vector<std::string>& asked) : asked(asked) {}
        void showWindow() override { asked.emplace_back("show the settings window"); }
        void bringToFront() override { asked.emplace_back("bring it to the front"); }

    private:
        std::vector<std::string>& asked;
    };
};

} // namespace tavo
