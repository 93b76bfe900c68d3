#include "ExitStatus.h"

#include "ConfigurationError.h"
#include "Support/TemporaryDirectory.h"
#include "base/WakeControlError.h"
#include "config/TavoValidationError.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tavo {
namespace {

TEST(ExitStatus, EachKindOfFailureHasItsStatus) {
    EXPECT_EQ(exitStatusOf(std::make_exception_ptr(WakeControlError::systemUnavailable("x"))),
              ExitStatus::systemUnavailable);
    EXPECT_EQ(exitStatusOf(std::make_exception_ptr(WakeControlError::commandFailed("x"))), ExitStatus::failure);
    EXPECT_EQ(exitStatusOf(std::make_exception_ptr(WakeControlError::closedLidRequiresPrivilege())),
              ExitStatus::failure);
    EXPECT_EQ(exitStatusOf(std::make_exception_ptr(ConfigurationError("x"))), ExitStatus::invalidConfiguration);
    EXPECT_EQ(exitStatusOf(std::make_exception_ptr(TavoValidationError::emptyTriggerQuery())),
              ExitStatus::invalidConfiguration);
    EXPECT_EQ(exitStatusOf(std::make_exception_ptr(std::runtime_error("x"))), ExitStatus::failure);
}

TEST(ConfigurationError, NamesTheFileTheReasonAndTheWayOut) {
    const TemporaryDirectory folder;
    const TavoStore store(TavoPaths{folder.path()});
    EXPECT_EQ(loadConfigOrExplain(store), AppConfig::defaultConfig());
    const auto path = folder.write("config.json", "[]");
    try {
        loadConfigOrExplain(store);
        FAIL() << "an array passed";
    } catch (const ConfigurationError& error) {
        EXPECT_EQ(error.description(),
                  "the configuration " + path.string() +
                      " cannot be used: expected an object but found an array; mend it, or move the "
                      "file away to start from the defaults.");
    }
}

} // namespace
} // namespace tavo
