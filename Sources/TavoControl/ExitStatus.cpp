#include "TavoControl/ExitStatus.h"

#include "TavoControl/Settings.h"
#include "base/ErrorText.h"
#include "base/TrustedPath.h"
#include "base/WakeControlError.h"
#include "config/TavoValidationError.h"

#include <fmt/format.h>

namespace tavo {

ExitStatus exitStatusOf(const std::exception_ptr& failure) {
    try {
        std::rethrow_exception(failure);
    } catch (const WakeControlError& error) {
        return error.kind() == WakeControlError::Kind::systemUnavailable ? ExitStatus::systemUnavailable
                                                                         : ExitStatus::failure;
    } catch (const ConfigurationError&) {
        return ExitStatus::invalidConfiguration;
    } catch (const SettingError&) {
        return ExitStatus::wrongUsage;
    } catch (const UntrustedPathError&) {
        return ExitStatus::invalidConfiguration;
    } catch (const TavoValidationError&) {
        return ExitStatus::invalidConfiguration;
    } catch (...) {
        return ExitStatus::failure;
    }
}

std::string adviceFor(const std::exception_ptr& failure) {
    try {
        std::rethrow_exception(failure);
    } catch (const WakeControlError& error) {
        if (error.kind() == WakeControlError::Kind::closedLidRequiresPrivilege) {
            return " tavoctl helper install grants it.";
        }
    } catch (...) {
        return ""; // speaks for itself
    }
    return "";
}

AppConfig loadConfigOrExplain(const TavoStoring& store) {
    try {
        return store.loadConfig();
    } catch (const std::exception& error) {
        throw ConfigurationError(fmt::format("the configuration {} cannot be used: {}; fix it, or move the file away "
                                             "to start from the defaults.",
                                             store.paths().configURL().string(), errorClause(error)));
    }
}

} // namespace tavo
