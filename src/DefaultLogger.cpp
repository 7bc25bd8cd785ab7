// The fallback logger, with all levels disabled. Weak, so that a host's own definition of the function takes its place.
#include <dlfcn.h>

#include "ConfigurationControl/LoggerAdapter/ILogger.h"

namespace {

class DISABLED_LOGGER : public LoggerAdapter::ILogger {
 public:
    bool IsLogLevelEnabled(int) override { return false; }
    void LogMessage(int, char const*, int, char const*, ...) override {}
};

DISABLED_LOGGER g_disabled;

using GET_INSTANCE = decltype(&LoggerAdapter::ILogger::getInstance);

}  // namespace

// The dynamic linker takes the first definition, weak or not. RTLD_NEXT finds one in a later shared library.
__attribute__((weak)) LoggerAdapter::ILogger* LoggerAdapter::ILogger::getInstance() {
    static auto const hosts =
        reinterpret_cast<GET_INSTANCE>(dlsym(RTLD_NEXT, "_ZN13LoggerAdapter7ILogger11getInstanceEv"));
    return hosts ? hosts() : &g_disabled;
}
