// A host's logger in a shared library of its own. It counts the library's messages.
#include "ConfigurationControl/LoggerAdapter/ILogger.h"

namespace {

int g_messages = 0;

class COUNTING_LOGGER : public LoggerAdapter::ILogger {
 public:
    bool IsLogLevelEnabled(int) override { return true; }
    void LogMessage(int, char const*, int, char const*, ...) override { ++g_messages; }
};

}  // namespace

LoggerAdapter::ILogger* LoggerAdapter::ILogger::getInstance() {
    static COUNTING_LOGGER logger;
    return &logger;
}

extern "C" CONFIGURATIONCONTROL_API int CountMessages() {
    return g_messages;
}
