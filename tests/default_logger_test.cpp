// A host without a logger: this program does not define one.
#include <gtest/gtest.h>

#include "ConfigurationControl/IConfigurationControl.h"
#include "ConfigurationControl/LoggerAdapter/ILogger.h"
#include "support/ScratchDirectory.h"

namespace {

TEST(DefaultLogger, WantsNoMessageOfAnyLevel) {
    auto* const logger = LoggerAdapter::ILogger::getInstance();
    ASSERT_NE(logger, nullptr);
    for (int const level : {-1, 0, 1, 6, 2000}) EXPECT_FALSE(logger->IsLogLevelEnabled(level)) << level;
}

TEST(DefaultLogger, TakesAMessageAllTheSame) {
    auto* const logger = LoggerAdapter::ILogger::getInstance();
    logger->Reserved();
    logger->LogMessage(1, "file", 1, "%d", 1);
    EXPECT_EQ(LoggerAdapter::ILogger::getInstance(), logger);
}

TEST(DefaultLogger, LetsTheServiceWorkSilently) {
    SCRATCH_DIRECTORY const scratch;
    auto* const configuration = GetConfigurationControl();
    configuration->Initialize("");
    configuration->UnInitialize();
    ASSERT_TRUE(configuration->Initialize(scratch.Path("settings.xml")));
    configuration->SetLoginServer("proofs.example");
    EXPECT_EQ(configuration->GetLoginServer(), "proofs.example");
    configuration->Release();
}

}  // namespace
