// Times settings of the configuration service beside the table calls that they make, with a logger that disables all
// levels.
#include <benchmark/benchmark.h>

#include <memory>

#include "ConfigurationControl/ConfigurationControl.h"
#include "Fixture.h"

using benchmark::State;

namespace {

int g_messages = 0;

class SILENT_LOGGER final : public LoggerAdapter::ILogger {
 public:
    bool IsLogLevelEnabled(int) override { return false; }
    void LogMessage(int, char const*, int, char const*, ...) override { ++g_messages; }
};

// The service and, beside it, a ticket of its own with the same content.
class SETTINGS {
 public:
    SETTINGS() {
        service.Initialize(WorkDirectory() + "/service");
        std::string name = "OKT_Vireo_ZR";
        service.SetProductName(name);
        service.SetLanguageSelected(3);
        service.SetJEDimensions(1, 2, 3, 4);
        service.SetCurrentMeasure(name);
        service.Flush(true);
        m_table = STICKET::Create((WorkDirectory() + "/service").c_str());
    }
    ~SETTINGS() { STICKET::Destroy(m_table); }
    SETTINGS(SETTINGS const&) = delete;
    SETTINGS& operator=(SETTINGS const&) = delete;

    int Get(char const* key, PARAM_TYPE type, void* value) const {
        return m_table->GetParameter(m_table->pTicket, key, type, value, SCALAR_INDEX);
    }
    int Set(char const* key, PARAM_TYPE type, void const* value) const {
        return m_table->SetParameter(m_table->pTicket, key, type, value, SCALAR_INDEX);
    }

    CConfigurationControl service;

 private:
    STICKET_ACCESS const* m_table;
};

template <typename OPERATION>
void Register(char const* name, std::shared_ptr<SETTINGS> const& settings, OPERATION operation) {
    benchmark::RegisterBenchmark(name, [settings, operation](State& state) {
        for (auto _ : state) operation(*settings);
        state.counters["messages"] = g_messages;
    });
}

}  // namespace

LoggerAdapter::ILogger* LoggerAdapter::ILogger::getInstance() {
    static SILENT_LOGGER logger;
    return &logger;
}

void RegisterServiceBenchmarks() {
    auto const settings = std::make_shared<SETTINGS>();
    static std::string const text = "OKT_Vireo_ZR";
    Register("get_int/service/setting", settings, [](SETTINGS& all) {
        benchmark::DoNotOptimize(static_cast<IConfigurationControl&>(all.service).GetLanguageSelected());
    });
    Register("get_int/table/setting", settings, [](SETTINGS& all) {
        int value = 0;
        all.Get("Language/SelectedID", PARAM_INT, &value);
        benchmark::DoNotOptimize(value);
    });
    Register("get_string/service/setting", settings, [](SETTINGS& all) {
        benchmark::DoNotOptimize(static_cast<IConfigurationControl&>(all.service).GetProductName());
    });
    Register("get_string/table/setting", settings, [](SETTINGS& all) {
        char const* value = nullptr;
        all.Get("Product/Name", PARAM_STRING, &value);
        benchmark::DoNotOptimize(value);
    });
    Register("set_int/service/setting", settings,
             [](SETTINGS& all) { static_cast<IConfigurationControl&>(all.service).SetLanguageSelected(4); });
    Register("set_int/table/setting", settings, [](SETTINGS& all) {
        int const value = 4;
        all.Set("Language/SelectedID", PARAM_INT, &value);
    });
    Register("set_string/service/setting", settings, [](SETTINGS& all) {
        static_cast<IConfigurationControl&>(all.service).SetProductName(const_cast<std::string&>(text));
    });
    Register("set_string/table/setting", settings,
             [](SETTINGS& all) { all.Set("Product/Name", PARAM_STRING, text.c_str()); });
}
