#include <gtest/gtest.h>
#include "TicketImpSBase.h"
#include "ConfigurationControl/MultiPar.h"
#include "ConfigurationControl/MultiParList.h"
#include "ConfigurationControl/StringConversion.h"
#include "ConfigurationControl/LoggerAdapter/ILogger.h"
TEST(Placeholder, HeadersCompile) { EXPECT_EQ(sizeof(STICKET_ACCESS), 576u); }
