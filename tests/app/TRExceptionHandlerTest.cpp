#include "app/TRExceptionHandler.h"

#include <gtest/gtest.h>

#include <QtGlobal>
#include <stdexcept>
#include <system_error>

namespace {

// The policy acts at the throw, so even an exception the code catches
// itself ends the helper unless it is one of the expected kinds.
TEST(TRExceptionHandlerDeathTest, ExpectedKindsPassEverythingElseAborts) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto throwAndCatch = [](auto error) {
        TRExceptionHandler::install();
        try {
            throw error;
        } catch (...) {
        }
        std::exit(0);
    };
    EXPECT_EXIT(throwAndCatch(std::runtime_error("optimistic locking failure")),
                testing::ExitedWithCode(0), "");
    EXPECT_EXIT(throwAndCatch(std::system_error(
                    std::make_error_code(std::errc::device_or_resource_busy),
                    "optimistic locking failure")),
                testing::KilledBySignal(SIGABRT), "optimistic locking failure: ")
        << "only the exact reason passes";
    EXPECT_EXIT(throwAndCatch(TRAccessibilityError("no answer")), testing::ExitedWithCode(0), "");
    EXPECT_EXIT(throwAndCatch(std::out_of_range("index 3")), testing::ExitedWithCode(0), "");
    EXPECT_EXIT(throwAndCatch(std::invalid_argument("bad id")),
                testing::KilledBySignal(SIGABRT), "std::invalid_argument: bad id");
    EXPECT_EXIT(throwAndCatch(42), testing::KilledBySignal(SIGABRT), "exception int");
}

TEST(TRExceptionHandlerDeathTest, UncaughtExceptionAndFatalMessageAbort) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            TRExceptionHandler::install();
            std::terminate();
        },
        testing::KilledBySignal(SIGABRT), "uncaught exception");
    EXPECT_EXIT(
        {
            TRExceptionHandler::install();
            qFatal("store invariant broken");
        },
        testing::KilledBySignal(SIGABRT), "store invariant broken");
}

}  // namespace
