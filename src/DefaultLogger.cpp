// The logger of hosts that bring none: it wants no message of any level. Weak, so that a host's own definition of the
// same function takes its place.
#include "ConfigurationControl/LoggerAdapter/ILogger.h"

namespace {

class DISABLED_LOGGER : public LoggerAdapter::ILogger {
 public:
    bool IsLogLevelEnabled(int) override { return false; }
    void LogMessage(int, char const*, int, char const*, ...) override {}
};

DISABLED_LOGGER g_disabled;

}  // namespace

__attribute__((weak)) LoggerAdapter::ILogger* LoggerAdapter::ILogger::getInstance() {
    return &g_disabled;
}
