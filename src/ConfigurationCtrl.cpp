// The configuration service: one object, one file ticket, one mutex. It opens, saves and closes the ticket, and turns
// each accessor into a read or a write of the row that SettingsTable.h holds for it.
#include "ConfigurationControl/ConfigurationCtrl.h"

#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <exception>
#include <iterator>
#include <limits>
#include <utility>

#include "Common/Src/Cancellation.h"
#include "ConfigurationControl/LoggerAdapter/ILogger.h"
#include "ConfigurationControl/Ticket.h"
#include "ConfigurationControl/TicketServices.h"
#include "Disk/FileNames.h"
#include "Disk/SystemCalls.h"
#include "src/SettingsTable.h"

namespace {

enum LEVEL { LEVEL_FAILURE = 1, LEVEL_INFORMATION = 6 };

std::atomic<CConfigurationControl*> g_instance{nullptr};
std::mutex g_creation;

template <typename... VALUES>
void Log(LEVEL level, int line, char const* format, VALUES... values) {
    auto* const logger = LoggerAdapter::ILogger::getInstance();
    if (logger && logger->IsLogLevelEnabled(level)) logger->LogMessage(level, __FILE__, line, format, values...);
}

template <typename... VALUES>
void LogChange(CONFIGURATION_SETTING setting, int line, VALUES... values) {
    if (SETTINGS[setting].logText) Log(LEVEL_INFORMATION, line, SETTINGS[setting].logText, values...);
}

bool Get(STICKET_ACCESS const& ticket, CONFIGURATION_SETTING setting, PARAM_TYPE type, void* value) {
    return ticket.GetParameter(ticket.pTicket, SETTINGS[setting].key, type, value, SCALAR_INDEX) != 0;
}

int GetInteger(STICKET_ACCESS const& ticket, CONFIGURATION_SETTING setting) {
    int value = 0;
    return Get(ticket, setting, PARAM_INT, &value) ? value : SETTINGS[setting].readFailed;
}

// Ignores a refused write: setters report nothing.
void Put(STICKET_ACCESS const& ticket, CONFIGURATION_SETTING setting, void const* value) {
    auto const& row = SETTINGS[setting];
    ticket.SetParameter(ticket.pTicket, row.key, ParameterType(row.kind), value, SCALAR_INDEX);
}

constexpr CONFIGURATION_SETTING Following(CONFIGURATION_SETTING setting, int distance) {
    return static_cast<CONFIGURATION_SETTING>(setting + distance);
}

}  // namespace

// Life of the object

IConfigurationControl* GetConfigurationControl() {
    return CConfigurationControl::GetInstance();
}

CConfigurationControl* CConfigurationControl::GetInstance() {
    if (auto* const instance = g_instance.load(std::memory_order_acquire)) return instance;
    std::lock_guard const guard(g_creation);
    auto* instance = g_instance.load(std::memory_order_acquire);
    if (!instance) {
        instance = new CConfigurationControl;
        g_instance.store(instance, std::memory_order_release);
    }
    return instance;
}

CConfigurationControl::CConfigurationControl() = default;

CConfigurationControl::~CConfigurationControl() {
    ReleaseConfigInstance();
    g_instance.store(nullptr, std::memory_order_release);
}

void CConfigurationControl::Release() {
    UnInitialize();
    delete this;
}

// Opening, saving and closing the ticket

bool CConfigurationControl::Initialize(std::string path) {
    if (path.empty()) {
        Log(LEVEL_FAILURE, __LINE__, "Config File name for SM JE is  is empty");
    } else {
        Log(LEVEL_INFORMATION, __LINE__, "Config File name for SM JE is %s", path.c_str());
        std::lock_guard const guard(m_pathLock);
        m_configFilePath = TICKETFILE::AbsoluteName(path);
    }
    if (GetConfigInstance(true)) return true;
    Log(LEVEL_FAILURE, __LINE__, "Not able to create instance of CConfigurationControl");
    return false;
}

STICKET_ACCESS* CConfigurationControl::GetConfigInstance(bool create) {
    std::lock_guard const guard(m_lock);
    if (!m_ticket && create) {
        try {
            m_ticket = STICKET::Create(ConfigFilePath().c_str());
        } catch (...) {
            PassCancellation();  // any exception means no ticket, and the object stays usable without one
        }
    }
    return const_cast<STICKET_ACCESS*>(m_ticket);  // hosts hold it in such a pointer
}

bool CConfigurationControl::ReleaseConfigInstance() {
    std::lock_guard const guard(m_lock);
    STICKET::Destroy(m_ticket);
    return true;
}

bool CConfigurationControl::UnInitialize() {
    Flush(true);
    return ReleaseConfigInstance();
}

bool CConfigurationControl::Flush(bool force) {
    std::lock_guard const guard(m_lock);
    // The flag stays set: the ticket also knows of unsaved changes that direct users of its table made.
    if (m_ticket && (m_dirty || force)) m_ticket->Operation(m_ticket->pTicket, STICKET_OP_SAVE, nullptr);
    return true;
}

void CConfigurationControl::AddConfigNotification(IConfigNotification* observer) {
    m_observers.push_back(observer);
}

std::string CConfigurationControl::ConfigFilePath() const {
    std::lock_guard const guard(m_pathLock);
    return m_configFilePath;
}

bool CConfigurationControl::IsConfigFileAvailable() {
    return static_cast<bool>(TICKETFILE::OpenToRead(ConfigFilePath()));
}

void CConfigurationControl::SetConfigFileDefaults(int language) {
    auto* const configuration = GetConfigurationControl();
    std::string productName = "OKT_Vireo_ZR";
    configuration->SetLanguageSelected(language);
    configuration->SetProductName(productName);
    configuration->SetProductVersion(7.0);
    configuration->SetTraceErrorRequired(false);
}

// Files and paths

std::string CConfigurationControl::GetSeperator() {
    return "/";
}

void CConfigurationControl::Tokenize(std::string const& text, std::vector<std::string>& tokens,
                                     std::string const& delimiters) {
    std::vector<std::string> found;  // apart, since `tokens` may hold the arguments
    size_t start = 0;
    while (start != std::string::npos) {
        size_t const end = std::min(text.find_first_of(delimiters, start), text.size());
        found.push_back(text.substr(start, end - start));
        start = text.find_first_not_of(delimiters, end);
    }
    tokens.insert(tokens.end(), std::make_move_iterator(found.begin()), std::make_move_iterator(found.end()));
}

void CConfigurationControl::CreateSubDirectory(std::string const& path) {
    std::vector<std::string> components;
    Tokenize(path, components, GetSeperator());
    std::string prefix;
    for (auto const& component : components) {
        prefix += component + GetSeperator();
        mkdir(prefix.c_str(), 0777);  // fails for those that exist
    }
}

bool CConfigurationControl::GetModifiedFileTime(std::string& path, long& mtime) {
    auto const file = TICKETFILE::OpenToRead(path);
    if (!file) return false;
    struct stat status;
    if (fstat(file.Number(), &status) == 0 && status.st_size >= 1) mtime = status.st_mtime;
    return true;
}

// One reader and one writer for each kind of value

bool CConfigurationControl::ReadFlag(CONFIGURATION_SETTING setting) const {
    return ReadInteger(setting) != 0;
}

int CConfigurationControl::ReadInteger(CONFIGURATION_SETTING setting) const {
    std::lock_guard const guard(m_lock);
    return m_ticket ? GetInteger(*m_ticket, setting) : SETTINGS[setting].noTicket;
}

// Succeeds and fails as an integer read, but where that rounds (7.5 to 8) the fraction is cut.
double CConfigurationControl::ReadVersion(CONFIGURATION_SETTING setting) const {
    std::lock_guard const guard(m_lock);
    if (!m_ticket) return SETTINGS[setting].noTicket;
    int rounded = 0;
    if (!Get(*m_ticket, setting, PARAM_INT, &rounded)) return SETTINGS[setting].readFailed;
    double stored = 0;
    if (!Get(*m_ticket, setting, PARAM_DOUBLE, &stored) || std::isnan(stored)) return rounded;
    using RANGE = std::numeric_limits<int>;
    return std::clamp<double>(std::trunc(stored), RANGE::min(), RANGE::max()) + 0.0;  // an integer has no -0
}

std::string CConfigurationControl::ReadText(CONFIGURATION_SETTING setting) const {
    std::lock_guard const guard(m_lock);
    char const* text = nullptr;
    if (!m_ticket || !Get(*m_ticket, setting, PARAM_STRING, &text) || !text) return {};
    return text;
}

std::string CConfigurationControl::ReadSecret(CONFIGURATION_SETTING setting) const {
    std::lock_guard const guard(m_lock);
    if (!m_ticket) return {};
    struct SECRET {
        STICKET_ACCESS const& ticket;
        CONFIGURATION_SETTING setting;
        std::string copy;
        std::exception_ptr thrown;

        static void Copy(void* context) {
            auto& [ticket, setting, copy, thrown] = *static_cast<SECRET*>(context);
            try {
                BIN_STRING bytes{};
                if (Get(ticket, setting, PARAM_BINSTR, &bytes) && bytes.data)
                    copy.assign(static_cast<char const*>(bytes.data), bytes.length);
            } catch (...) {
                PassCancellation();
                thrown = std::current_exception();
            }
        }
    } secret{*m_ticket, setting, {}, {}};
    // Direct users of the table bypass m_lock, and free these bytes by changing them.
    TicketRunLocked(m_ticket, &SECRET::Copy, &secret);
    if (secret.thrown) std::rethrow_exception(secret.thrown);
    return std::move(secret.copy);
}

void CConfigurationControl::ReadWindow(CONFIGURATION_SETTING first, int& x, int& y, int& width, int& height) const {
    std::lock_guard const guard(m_lock);
    if (!m_ticket) {
        width = height = 0;
        return;
    }
    x = GetInteger(*m_ticket, first);
    y = GetInteger(*m_ticket, Following(first, 1));
    width = std::max(0, GetInteger(*m_ticket, Following(first, 2)));
    height = std::max(0, GetInteger(*m_ticket, Following(first, 3)));
}

// Does nothing without a ticket. An exception leaves the flag as it was.
template <typename CHANGE>
void CConfigurationControl::Change(CHANGE change) {
    std::lock_guard const guard(m_lock);
    if (!m_ticket) return;
    change(*m_ticket);
    m_dirty = true;
}

void CConfigurationControl::WriteFlag(CONFIGURATION_SETTING setting, bool value, int line) {
    Change([=](STICKET_ACCESS const& ticket) {
        int const number = value;
        Put(ticket, setting, &number);
        LogChange(setting, line);
    });
}

void CConfigurationControl::WriteInteger(CONFIGURATION_SETTING setting, int value, int line) {
    Change([=](STICKET_ACCESS const& ticket) {
        Put(ticket, setting, &value);
        LogChange(setting, line, value);
    });
}

void CConfigurationControl::WriteVersion(CONFIGURATION_SETTING setting, double value, int line) {
    Change([=](STICKET_ACCESS const& ticket) {
        Put(ticket, setting, &value);
        LogChange(setting, line, value);
    });
}

void CConfigurationControl::WriteText(CONFIGURATION_SETTING setting, std::string const& value, int line) {
    Change([&](STICKET_ACCESS const& ticket) {
        Put(ticket, setting, value.c_str());
        LogChange(setting, line, value.c_str());
    });
}

void CConfigurationControl::WriteSecret(CONFIGURATION_SETTING setting, std::string const& value, int line) {
    Change([&](STICKET_ACCESS const& ticket) {
        BIN_STRING const bytes{value.data(), value.size()};
        Put(ticket, setting, &bytes);
        LogChange(setting, line, value.c_str());
    });
}

void CConfigurationControl::WriteWindow(CONFIGURATION_SETTING first, int x, int y, int width, int height) {
    Change([=](STICKET_ACCESS const& ticket) {
        Put(ticket, first, &x);
        Put(ticket, Following(first, 1), &y);
        Put(ticket, Following(first, 2), &width);
        Put(ticket, Following(first, 3), &height);
    });
}

// The settings, in the order of the interface

// clang-format off
bool CConfigurationControl::GetTraceErrorRequired() { return ReadFlag(TRACE_ERROR_REQUIRED); }
void CConfigurationControl::SetTraceErrorRequired(bool required) { WriteFlag(TRACE_ERROR_REQUIRED, required); }
bool CConfigurationControl::GetMediaWhitePointRequired() { return ReadFlag(MEDIA_WHITE_POINT); }
void CConfigurationControl::SetMediaWhitePointRequired(bool required) { WriteFlag(MEDIA_WHITE_POINT, required); }
bool CConfigurationControl::GetIsOpenglLoadingOptimizationEnabled() { return ReadFlag(OPENGL_LOADING_OPTIMIZATION); }
void CConfigurationControl::SetOpenglLoadingOptimization(bool enabled) { WriteFlag(OPENGL_LOADING_OPTIMIZATION, enabled); }

std::string CConfigurationControl::GetScreenProof() { return ReadText(SCREEN_PROOF); }
void CConfigurationControl::SetScreenProof(std::string& name) { WriteText(SCREEN_PROOF, name); }
int CConfigurationControl::GetScreenProofID() { return ReadInteger(SCREEN_PROOF_ID); }
void CConfigurationControl::SetScreenProofID(int id) { WriteInteger(SCREEN_PROOF_ID, id); }
int CConfigurationControl::GetSelectedScreenProofID() { return ReadInteger(SELECTED_SCREEN_PROOF_ID); }
void CConfigurationControl::SetSelectedScreenProofID(int id) { WriteInteger(SELECTED_SCREEN_PROOF_ID, id); }

std::string CConfigurationControl::GetProductName() { return ReadText(PRODUCT_NAME); }
void CConfigurationControl::SetProductName(std::string& name) { WriteText(PRODUCT_NAME, name); }
std::string CConfigurationControl::GetOEMName() { return ReadText(OEM_NAME); }
void CConfigurationControl::SetOEMName(std::string& name) { WriteText(OEM_NAME, name); }
double CConfigurationControl::GetProductVersion() { return ReadVersion(PRODUCT_VERSION); }
void CConfigurationControl::SetProductVersion(double version) { WriteVersion(PRODUCT_VERSION, version); }

int CConfigurationControl::GetLanguageSelected() { return ReadInteger(LANGUAGE_SELECTED); }
void CConfigurationControl::SetLanguageSelected(int language) { WriteInteger(LANGUAGE_SELECTED, language); }
std::string CConfigurationControl::GetCurrentLanguage() { return ReadText(CURRENT_LANGUAGE); }
void CConfigurationControl::SetCurrentLanguage(std::string& code) { WriteText(CURRENT_LANGUAGE, code); }

int CConfigurationControl::GetLocalMeasureUnit() { return ReadInteger(LOCAL_MEASURE_UNIT); }
// clang-format on

void CConfigurationControl::SetLocalMeasureUnit(int unit) {
    Change([unit](STICKET_ACCESS const& ticket) {
        Put(ticket, MEASURE_VALUES, "Possible Values are :-0 for mm,1 for cm,2 for Inches,3 for Meter,4 for Foot");
        Put(ticket, LOCAL_MEASURE_UNIT, &unit);
        LogChange(LOCAL_MEASURE_UNIT, __LINE__, unit);
    });
}

std::string CConfigurationControl::GetMeasureUnitName(int unit) {
    static constexpr char const* NAMES[] = {"Millimeters", "Centimeters", "Inches", "Meters", "Feet"};
    return NAMES[unit >= 0 && unit < static_cast<int>(std::size(NAMES)) ? unit : 0];
}

std::string CConfigurationControl::GetCurrentMeasure() {
    return GetMeasureUnitName(GetLocalMeasureUnit());
}

// clang-format off
void CConfigurationControl::SetCurrentMeasure(std::string& unit) { WriteText(CURRENT_MEASURE, unit); }
int CConfigurationControl::GetServerManagerLaunchMode() { return ReadInteger(SERVER_MANAGER_LAUNCH_MODE); }
void CConfigurationControl::SetServerManagerLaunchMode(int mode) { WriteInteger(SERVER_MANAGER_LAUNCH_MODE, mode); }
// clang-format on

void CConfigurationControl::GetJEDimensions(int& x, int& y, int& width, int& height) {
    ReadWindow(JE_X, x, y, width, height);
}

void CConfigurationControl::SetJEDimensions(int const& x, int const& y, int const& width, int const& height) {
    WriteWindow(JE_X, x, y, width, height);
}

void CConfigurationControl::GetSMDimensions(int& x, int& y, int& width, int& height) {
    ReadWindow(SM_X, x, y, width, height);
}

void CConfigurationControl::SetSMDimensions(int const& x, int const& y, int const& width, int const& height) {
    WriteWindow(SM_X, x, y, width, height);
}

// clang-format off
int CConfigurationControl::GetLogLevel() { return ReadInteger(LOG_LEVEL); }
void CConfigurationControl::SetLogLevel(int level) { WriteInteger(LOG_LEVEL, level); }
int CConfigurationControl::GetLogMode() { return ReadInteger(LOG_MODE); }
void CConfigurationControl::SetLogMode(int mode) { WriteInteger(LOG_MODE, mode); }

std::string CConfigurationControl::GetLoginUserName() { return ReadText(LOGIN_USER_NAME); }
void CConfigurationControl::SetLoginUserName(std::string const& name) { WriteText(LOGIN_USER_NAME, name); }
std::string CConfigurationControl::GetLoginPassword() { return ReadSecret(LOGIN_PASSWORD); }
void CConfigurationControl::SetLoginPassword(std::string const& password) { WriteSecret(LOGIN_PASSWORD, password); }
std::string CConfigurationControl::GetLoginServer() { return ReadText(LOGIN_SERVER); }
void CConfigurationControl::SetLoginServer(std::string const& server) { WriteText(LOGIN_SERVER, server); }

std::string CConfigurationControl::GetPGPrinterName() { return ReadText(PG_PRINTER_NAME); }
void CConfigurationControl::SetPGPrinterName(std::string const& name) { WriteText(PG_PRINTER_NAME, name); }
void CConfigurationControl::SetPGOutputDeviceID(int id) { WriteInteger(PG_OUTPUT_DEVICE_ID, id); }
int CConfigurationControl::GetPGOutputDeviceID() { return ReadInteger(PG_OUTPUT_DEVICE_ID); }
void CConfigurationControl::SetPGMediaPresetID(int id) { WriteInteger(PG_MEDIA_PRESET_ID, id); }
int CConfigurationControl::GetPGMediaPresetID() { return ReadInteger(PG_MEDIA_PRESET_ID); }
void CConfigurationControl::SetPGWorkflowPresetID(int id) { WriteInteger(PG_WORKFLOW_PRESET_ID, id); }
int CConfigurationControl::GetPGWorkflowPresetID() { return ReadInteger(PG_WORKFLOW_PRESET_ID); }

void CConfigurationControl::SetbackupFolderLocation(std::string const& folder) { WriteText(BACKUP_FOLDER_LOCATION, folder); }
std::string CConfigurationControl::GetbackupFolderLocation() const { return ReadText(BACKUP_FOLDER_LOCATION); }
void CConfigurationControl::SetEnvironmentFolderLocation(std::string const& folder) { WriteText(ENVIRONMENT_FOLDER_LOCATION, folder); }
std::string CConfigurationControl::GetEnvironmentFolderLocation() const { return ReadText(ENVIRONMENT_FOLDER_LOCATION); }

void CConfigurationControl::SetPGOutputDeviceUniqueID(std::string const& id) { WriteText(PG_OUTPUT_DEVICE_UNIQUE_ID, id); }
std::string CConfigurationControl::GetPGOutputDeviceGUniqueID() { return ReadText(PG_OUTPUT_DEVICE_UNIQUE_ID); }
void CConfigurationControl::SetPGMediaPresetUniqueID(std::string const& id) { WriteText(PG_MEDIA_PRESET_UNIQUE_ID, id); }
std::string CConfigurationControl::GetPGMediaPresetUniqueID() { return ReadText(PG_MEDIA_PRESET_UNIQUE_ID); }
void CConfigurationControl::SetPGWorkflowPresetUniqueID(std::string const& id) { WriteText(PG_WORKFLOW_PRESET_UNIQUE_ID, id); }
std::string CConfigurationControl::GetPGWorkflowPresetUniqueID() { return ReadText(PG_WORKFLOW_PRESET_UNIQUE_ID); }
// clang-format on

void CConfigurationControl::SetPGUseLocalSettingsStatus(bool const& workflow, bool const& useLocal) {
    WriteFlag(workflow ? PG_WORKFLOW_USE_LOCAL_SETTINGS : PG_MEDIA_USE_LOCAL_SETTINGS, useLocal);
}

bool CConfigurationControl::GetPGUseLocalSettingsStatus(bool const& workflow) {
    return ReadFlag(workflow ? PG_WORKFLOW_USE_LOCAL_SETTINGS : PG_MEDIA_USE_LOCAL_SETTINGS);
}

bool CConfigurationControl::IsQuilletPreferredColorEditorApp() {
    return ReadFlag(QUILLET_PREFERRED_COLOR_EDITOR_APP);
}
bool CConfigurationControl::IsVireoVerifySupported() {
    return ReadFlag(VIREO_VERIFY_SUPPORTED);
}
