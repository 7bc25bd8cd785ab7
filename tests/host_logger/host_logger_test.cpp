// A host whose logger the service must find.
#include <gtest/gtest.h>

#include "ConfigurationControl/IConfigurationControl.h"

extern "C" int CountMessages();

TEST(HostLogger, HearsTheService) {
    auto* const configuration = GetConfigurationControl();
    EXPECT_EQ(CountMessages(), 0);
    configuration->Initialize("");
    EXPECT_EQ(CountMessages(), 1);
    configuration->Release();
}
