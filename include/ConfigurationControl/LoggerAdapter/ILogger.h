/** @file
 * The interface of the host's logging service.
 */
#ifndef CONFIGURATIONCONTROL_LOGGERADAPTER_ILOGGER_H
#define CONFIGURATIONCONTROL_LOGGERADAPTER_ILOGGER_H

#include "ConfigurationControl/CxxOnly.h"

#include "ConfigurationControl/Export.h"

/** The host's logging service. */
namespace LoggerAdapter {

/**
 * Implemented by the host; the order of the operations is the binary interface. The library calls IsLogLevelEnabled
 * and, only if that returns true, LogMessage, on the thread that uses the service, mostly with the service's mutex
 * held. Both must be safe from any thread and must not call the service. Keep the logger while the service is used.
 */
class CONFIGURATIONCONTROL_API ILogger {
 public:
    /** Never called by this library; holds a place in the order of the operations. */
    virtual void Reserved() {}
    /** Whether messages of this level are wanted. The library uses 1 (failures) and 6 (settings changed). */
    virtual bool IsLogLevelEnabled(int level) = 0;
    /** Writes a message; `format` and what follows are those of printf. All pointers are valid during the call. */
    virtual void LogMessage(int level, char const* fileName, int line, char const* format, ...) = 0;

    /**
     * Defined by the host: returns the logger, which the host keeps, or null for none. The library has a weak
     * definition, a fallback logger with all levels disabled. The host's definition, in the program or in a shared
     * library, takes precedence if the dynamic linker can see it: link a program that loads the library with `dlopen`
     * with -rdynamic, and name the symbol to the linker (`-u`) if its definition lies in a static library.
     */
    static ILogger* getInstance();

 protected:
    ~ILogger() = default;
};

}  // namespace LoggerAdapter

#endif
