// The shared library, opened at run time by name. The program is not linked with it.
#pragma once

#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>

#include "ConfigurationControl/IConfigurationControl.h"
#include "ConfigurationControl/TicketRecords.h"

class LIBRARY {
 public:
    LIBRARY() : m_handle(dlopen(TICKET_LIBRARY, RTLD_NOW | RTLD_LOCAL)) {
        if (!m_handle) Fail(dlerror());
    }
    ~LIBRARY() {
        if (dlclose(m_handle) != 0) Fail(dlerror());
    }
    LIBRARY(LIBRARY const&) = delete;
    LIBRARY& operator=(LIBRARY const&) = delete;

    // Whether the library is still loaded in this process.
    static bool IsLoaded() {
        void* const handle = dlopen(TICKET_LIBRARY, RTLD_NOW | RTLD_NOLOAD);
        if (handle) dlclose(handle);
        return handle != nullptr;
    }

    STICKET_INSTANCE const& Tickets() const {
        return **static_cast<STICKET_INSTANCE const* const*>(Symbol("hSTicketInstance"));
    }
    IConfigurationControl& Service() const {
        return *reinterpret_cast<IConfigurationControl* (*)()>(Symbol("_Z23GetConfigurationControlv"))();
    }

 private:
    [[noreturn]] static void Fail(char const* reason) {
        std::fprintf(stderr, "%s\n", reason);
        std::_Exit(2);
    }
    void* Symbol(char const* name) const {
        void* const found = dlsym(m_handle, name);
        if (!found) Fail(dlerror());
        return found;
    }

    void* m_handle;
};
