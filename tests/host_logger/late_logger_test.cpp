// A host whose logger is in a shared library that is linked after ours.
#include <gtest/gtest.h>

#include "ConfigurationControl/IConfigurationControl.h"

extern "C" int CountMessages();

TEST(LateLogger, HearsTheService) {
    auto* const configuration = GetConfigurationControl();
    EXPECT_EQ(CountMessages(), 0);
    configuration->Initialize("");
    EXPECT_EQ(CountMessages(), 1);
    configuration->Release();
}
