// A host in one page: it opens the configuration, writes and reads settings, saves, and shows the file. It needs only
// the public headers and the shared library.
//
// Usage: host [FILE], by default a file in a new temporary directory.
#include <ConfigurationControl/IConfigurationControl.h>
#include <ConfigurationControl/LoggerAdapter/ILogger.h>
#include <stdlib.h>

#include <cstdarg>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <string>

//! [logger]
// The library asks for the host's logger by this one function. Hosts that define none hear nothing.
class CONSOLE_LOGGER : public LoggerAdapter::ILogger {
 public:
    bool IsLogLevelEnabled(int level) override { return level <= 6; }

    void LogMessage(int level, char const* /*fileName*/, int /*line*/, char const* format, ...) override {
        std::printf("  log %d: ", level);
        va_list values;
        va_start(values, format);
        std::vprintf(format, values);
        va_end(values);
        std::printf("\n");
    }
};

LoggerAdapter::ILogger* LoggerAdapter::ILogger::getInstance() {
    static CONSOLE_LOGGER logger;
    return &logger;
}
//! [logger]

namespace {

std::string NewTemporaryFile() {
    std::string directory = std::filesystem::temp_directory_path() / "configuration_XXXXXX";
    if (!mkdtemp(directory.data())) throw std::runtime_error("cannot make a temporary directory");
    return directory + "/demo-settings.xml";
}

void ShowFallbacks(IConfigurationControl& configuration) {
    // Getters never fail: each returns a fixed value for a setting that the file does not hold.
    std::printf("product name \"%s\", log level %d, verification %s\n", configuration.GetProductName().c_str(),
                configuration.GetLogLevel(), configuration.IsVireoVerifySupported() ? "on" : "off");
}

void WriteSettings(IConfigurationControl& configuration) {
    //! [write]
    configuration.SetConfigFileDefaults(2);

    std::string maker = "Example Press";
    configuration.SetOEMName(maker);
    configuration.SetProductVersion(7.5);
    configuration.SetLocalMeasureUnit(1);
    configuration.SetMediaWhitePointRequired(true);
    configuration.SetJEDimensions(40, 30, 1280, 800);
    configuration.SetPGUseLocalSettingsStatus(true, true);

    configuration.SetLoginServer("proofs.example");
    configuration.SetLoginUserName("ada");
    // CAUTION: passwords are in clear text in the file, and in the message below. To protect them, encrypt them first
    // and discard messages of level 6.
    configuration.SetLoginPassword("not a secret");
    //! [write]
}

void ReadSettings(IConfigurationControl& configuration) {
    int x = 0, y = 0, width = 0, height = 0;
    configuration.GetJEDimensions(x, y, width, height);
    std::printf("product    %s by %s\n", configuration.GetProductName().c_str(), configuration.GetOEMName().c_str());
    std::printf("version    %.1f, the whole part of what is stored\n", configuration.GetProductVersion());
    std::printf("unit       %s\n", configuration.GetCurrentMeasure().c_str());
    std::printf("window     %d x %d at %d, %d\n", width, height, x, y);
    std::printf("login      %s at %s, a password of %zu bytes\n", configuration.GetLoginUserName().c_str(),
                configuration.GetLoginServer().c_str(), configuration.GetLoginPassword().size());
}

int Run(std::string const& file) {
    std::printf("Opening\n");
    //! [open]
    IConfigurationControl* const configuration = GetConfigurationControl();
    if (!configuration->Initialize(file)) return EXIT_FAILURE;
    //! [open]
    std::printf("the file is %s\n", configuration->IsConfigFileAvailable() ? "there already" : "not there yet");
    ShowFallbacks(*configuration);

    std::printf("\nWriting\n");
    WriteSettings(*configuration);
    std::printf("\nReading\n");
    ReadSettings(*configuration);

    //! [save]
    configuration->Flush(false);  // TicketGetSaveOutcome tells what became of it
    //! [save]
    std::ifstream saved(file);
    if (!saved) throw std::runtime_error(file + " was not saved");
    std::printf("\nSaved\n");
    std::fflush(stdout);
    std::cout << saved.rdbuf() << std::flush;

    //! [close]
    configuration->Release();  // saves once more, closes the file and ends the object
    //! [close]
    return EXIT_SUCCESS;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return Run(argc > 1 ? argv[1] : NewTemporaryFile());
    } catch (std::exception const& problem) {
        std::fprintf(stderr, "host: %s\n", problem.what());
        return EXIT_FAILURE;
    }
}
