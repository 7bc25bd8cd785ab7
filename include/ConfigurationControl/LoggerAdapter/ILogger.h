/** @file
 * The host's logging service, as this library sees it.
 */
#ifndef CONFIGURATIONCONTROL_LOGGERADAPTER_ILOGGER_H
#define CONFIGURATIONCONTROL_LOGGERADAPTER_ILOGGER_H

#include "ConfigurationControl/Export.h"

/** The host's logging service. */
namespace LoggerAdapter {

/**
 * Implemented by the host; the order of the operations is the binary interface. The library calls IsLogLevelEnabled
 * and, only if that answers true, LogMessage, on whichever thread uses the service and mostly with the service's mutex
 * held: they must be safe from any thread and must not call the service back. The logger must live as long as the
 * service is used.
 */
class CONFIGURATIONCONTROL_API ILogger {
 public:
    /** Never called by this library; it keeps the other operations in their places. */
    virtual void Reserved() {}
    /** Whether messages of this level are wanted. The library uses 1 (failures) and 6 (settings changed). */
    virtual bool IsLogLevelEnabled(int level) = 0;
    /** Writes a message; `format` and what follows are as for printf. The pointers live during the call. */
    virtual void LogMessage(int level, char const* fileName, int line, char const* format, ...) = 0;

    /**
     * The host defines this function: it returns the logger, which stays the host's, or null for none. The library
     * carries a weak definition whose logger is disabled; a host's own definition wins, in the program or in a shared
     * library, if it is visible to the dynamic linker: programs that load the library with `dlopen` are linked with
     * -rdynamic, and from a static library the linker takes the definition only if it is told to (`-u`).
     */
    static ILogger* getInstance();

 protected:
    ~ILogger() = default;
};

}  // namespace LoggerAdapter

#endif
