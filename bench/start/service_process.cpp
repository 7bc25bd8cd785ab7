// The timed process: loads the library, opens a configuration file and reads one setting.
// usage: service_process LIBRARY FILE
#include <dlfcn.h>

#include <string>

#include "ConfigurationControl/IConfigurationControl.h"

int main(int count, char** arguments) {
    if (count != 3) return 1;
    void* const library = dlopen(arguments[1], RTLD_NOW);
    if (!library) return 2;
    auto const getService =
        reinterpret_cast<IConfigurationControl* (*)()>(dlsym(library, "_Z23GetConfigurationControlv"));
    if (!getService) return 3;
    IConfigurationControl* const service = getService();
    if (!service->Initialize(arguments[2])) return 4;
    return service->GetLanguageSelected() == 3 ? 0 : 5;
}
