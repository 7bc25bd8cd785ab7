// Every setting of the configuration service: its key in the file, its type, what its getter returns when there is
// nothing to read, and what its setter logs. A new setting is one name and one row here, and its accessors.
#pragma once

#include "ConfigurationControl/TicketRecords.h"

enum class SETTING_KIND {
    FLAG,     // bool, kept as the int 0 or 1
    INTEGER,  // int
    VERSION,  // written as double, read as its whole part
    TEXT,     // string; nothing to read gives ""
    SECRET    // byte string; the tool hides it, the log message of its setter shows it; nothing to read gives ""
};

constexpr PARAM_TYPE ParameterType(SETTING_KIND kind) {
    switch (kind) {
        case SETTING_KIND::VERSION:
            return PARAM_DOUBLE;
        case SETTING_KIND::TEXT:
            return PARAM_STRING;
        case SETTING_KIND::SECRET:
            return PARAM_BINSTR;
        default:
            return PARAM_INT;
    }
}

enum CONFIGURATION_SETTING : int {
    TRACE_ERROR_REQUIRED,
    MEDIA_WHITE_POINT,
    OPENGL_LOADING_OPTIMIZATION,
    SCREEN_PROOF,
    SCREEN_PROOF_ID,
    SELECTED_SCREEN_PROOF_ID,
    PRODUCT_NAME,
    OEM_NAME,
    PRODUCT_VERSION,
    LANGUAGE_SELECTED,
    CURRENT_LANGUAGE,
    LOCAL_MEASURE_UNIT,
    CURRENT_MEASURE,
    MEASURE_VALUES,
    SERVER_MANAGER_LAUNCH_MODE,
    JE_X,
    JE_Y,
    JE_WIDTH,
    JE_HEIGHT,
    SM_X,
    SM_Y,
    SM_WIDTH,
    SM_HEIGHT,
    LOG_LEVEL,
    LOG_MODE,
    LOGIN_USER_NAME,
    LOGIN_PASSWORD,
    LOGIN_SERVER,
    PG_PRINTER_NAME,
    PG_OUTPUT_DEVICE_ID,
    PG_MEDIA_PRESET_ID,
    PG_WORKFLOW_PRESET_ID,
    BACKUP_FOLDER_LOCATION,
    ENVIRONMENT_FOLDER_LOCATION,
    PG_OUTPUT_DEVICE_UNIQUE_ID,
    PG_MEDIA_PRESET_UNIQUE_ID,
    PG_WORKFLOW_PRESET_UNIQUE_ID,
    PG_WORKFLOW_USE_LOCAL_SETTINGS,
    PG_MEDIA_USE_LOCAL_SETTINGS,
    QUILLET_PREFERRED_COLOR_EDITOR_APP,
    VIREO_VERIFY_SUPPORTED,
    SETTING_COUNT
};

struct SETTING_ROW {
    CONFIGURATION_SETTING setting;
    char const* key;  // the files of users hold these: they stay as they are, also where two rows share one
    SETTING_KIND kind;
    int noTicket;         // the getter's result without a ticket (FLAG, INTEGER, VERSION)
    int readFailed;       // and when the key is absent or of another type
    char const* logText;  // printf format of the setter's message, with one conversion for the value unless the row is
                          // a FLAG; null: no message
    char const* getter;   // the accessors' names; null: there is none
    char const* setter;
};

// clang-format off
inline constexpr SETTING_ROW SETTINGS[] = {
    {TRACE_ERROR_REQUIRED, "Product/TraceErrorRequired", SETTING_KIND::FLAG, 0, 0, nullptr, "GetTraceErrorRequired", "SetTraceErrorRequired"},
    {MEDIA_WHITE_POINT, "Option/MediaWhitePoint", SETTING_KIND::FLAG, 0, 0, nullptr, "GetMediaWhitePointRequired", "SetMediaWhitePointRequired"},
    {OPENGL_LOADING_OPTIMIZATION, "Product/OptimizeOpenglLoading", SETTING_KIND::FLAG, 0, 0, nullptr, "GetIsOpenglLoadingOptimizationEnabled", "SetOpenglLoadingOptimization"},
    {SCREEN_PROOF, "Option/Screenproof", SETTING_KIND::TEXT, 0, 0, nullptr, "GetScreenProof", "SetScreenProof"},
    {SCREEN_PROOF_ID, "Option/Screenproof", SETTING_KIND::INTEGER, -1, 0, "Screen Proof ID is set to %d", "GetScreenProofID", "SetScreenProofID"},
    {SELECTED_SCREEN_PROOF_ID, "Option/SelectedOption", SETTING_KIND::INTEGER, -1, 0, "Selected Screen Proof ID is set to %d", "GetSelectedScreenProofID", "SetSelectedScreenProofID"},
    {PRODUCT_NAME, "Product/Name", SETTING_KIND::TEXT, 0, 0, "Product name is set to %s", "GetProductName", "SetProductName"},
    {OEM_NAME, "Product/OEM", SETTING_KIND::TEXT, 0, 0, "OEM name is set to %s", "GetOEMName", "SetOEMName"},
    {PRODUCT_VERSION, "Product/Version", SETTING_KIND::VERSION, -1, 0, "Corvane Product version is set to %f", "GetProductVersion", "SetProductVersion"},
    {LANGUAGE_SELECTED, "Language/SelectedID", SETTING_KIND::INTEGER, -1, 0, "Corvane language is set to %d", "GetLanguageSelected", "SetLanguageSelected"},
    {CURRENT_LANGUAGE, "Language/LangCode", SETTING_KIND::TEXT, 0, 0, "Corvane current language is set to %s", "GetCurrentLanguage", "SetCurrentLanguage"},
    {LOCAL_MEASURE_UNIT, "Locale/Measure", SETTING_KIND::INTEGER, -1, -1, "Corvane Local measurement unit is set to %d", "GetLocalMeasureUnit", "SetLocalMeasureUnit"},
    {CURRENT_MEASURE, "Locale/MeasureUnit", SETTING_KIND::TEXT, 0, 0, "Corvane current Measurement unit is set to %s", nullptr, "SetCurrentMeasure"},
    {MEASURE_VALUES, "Locale/Measure_Values", SETTING_KIND::TEXT, 0, 0, nullptr, nullptr, "SetLocalMeasureUnit"},
    {SERVER_MANAGER_LAUNCH_MODE, "SM/LaunchMode", SETTING_KIND::INTEGER, 0, 0, "Corvane Server Manager is set to %d mode", "GetServerManagerLaunchMode", "SetServerManagerLaunchMode"},
    {JE_X, "JE/X", SETTING_KIND::INTEGER, 0, 0, nullptr, "GetJEDimensions", "SetJEDimensions"},
    {JE_Y, "JE/Y", SETTING_KIND::INTEGER, 0, 0, nullptr, "GetJEDimensions", "SetJEDimensions"},
    {JE_WIDTH, "JE/Width", SETTING_KIND::INTEGER, 0, 0, nullptr, "GetJEDimensions", "SetJEDimensions"},
    {JE_HEIGHT, "JE/Height", SETTING_KIND::INTEGER, 0, 0, nullptr, "GetJEDimensions", "SetJEDimensions"},
    {SM_X, "SM/X", SETTING_KIND::INTEGER, 0, 0, nullptr, "GetSMDimensions", "SetSMDimensions"},
    {SM_Y, "SM/Y", SETTING_KIND::INTEGER, 0, 0, nullptr, "GetSMDimensions", "SetSMDimensions"},
    {SM_WIDTH, "SM/Width", SETTING_KIND::INTEGER, 0, 0, nullptr, "GetSMDimensions", "SetSMDimensions"},
    {SM_HEIGHT, "SM/Height", SETTING_KIND::INTEGER, 0, 0, nullptr, "GetSMDimensions", "SetSMDimensions"},
    {LOG_LEVEL, "Log/Level", SETTING_KIND::INTEGER, -1, 3, nullptr, "GetLogLevel", "SetLogLevel"},
    {LOG_MODE, "Log/Mode", SETTING_KIND::INTEGER, -1, 1, nullptr, "GetLogMode", "SetLogMode"},
    {LOGIN_USER_NAME, "Login/User", SETTING_KIND::TEXT, 0, 0, "Login user name is set to %s", "GetLoginUserName", "SetLoginUserName"},
    {LOGIN_PASSWORD, "Login/Password", SETTING_KIND::SECRET, 0, 0, "Login Passowrd is set to %s", "GetLoginPassword", "SetLoginPassword"},
    {LOGIN_SERVER, "Login/Server", SETTING_KIND::TEXT, 0, 0, "Login Server is set to %s", "GetLoginServer", "SetLoginServer"},
    {PG_PRINTER_NAME, "Pressgate/PrinterName", SETTING_KIND::TEXT, 0, 0, "PG Printer name is set to %s", "GetPGPrinterName", "SetPGPrinterName"},
    {PG_OUTPUT_DEVICE_ID, "Pressgate/OutputDevice/ID", SETTING_KIND::INTEGER, 0, 0, "PG output Device ID is set to %d", "GetPGOutputDeviceID", "SetPGOutputDeviceID"},
    {PG_MEDIA_PRESET_ID, "Pressgate/Media/ID", SETTING_KIND::INTEGER, 0, 0, "PG Media Preset ID is set to %d", "GetPGMediaPresetID", "SetPGMediaPresetID"},
    {PG_WORKFLOW_PRESET_ID, "Pressgate/Workflow/ID", SETTING_KIND::INTEGER, 0, 0, "PG Workflow Preset ID is set to %d", "GetPGWorkflowPresetID", "SetPGWorkflowPresetID"},
    {BACKUP_FOLDER_LOCATION, "SM/BackupFolderLocation", SETTING_KIND::TEXT, 0, 0, "Corvane back up folder location is set to %s", "GetbackupFolderLocation", "SetbackupFolderLocation"},
    {ENVIRONMENT_FOLDER_LOCATION, "SM/EnvironmentFolderLocation", SETTING_KIND::TEXT, 0, 0, "Corvane Environment folder location is set to %s", "GetEnvironmentFolderLocation", "SetEnvironmentFolderLocation"},
    {PG_OUTPUT_DEVICE_UNIQUE_ID, "Pressgate/OutputDevice/UniqueID", SETTING_KIND::TEXT, 0, 0, "PG Output Device Unique ID is set to %s", "GetPGOutputDeviceGUniqueID", "SetPGOutputDeviceUniqueID"},
    {PG_MEDIA_PRESET_UNIQUE_ID, "Pressgate/Media/UniqueID", SETTING_KIND::TEXT, 0, 0, "PG Output Media Preset unique ID is set to %s", "GetPGMediaPresetUniqueID", "SetPGMediaPresetUniqueID"},
    {PG_WORKFLOW_PRESET_UNIQUE_ID, "Pressgate/Workflow/UniqueID", SETTING_KIND::TEXT, 0, 0, "PG Output Workflow Preset unique ID is set to %s", "GetPGWorkflowPresetUniqueID", "SetPGWorkflowPresetUniqueID"},
    {PG_WORKFLOW_USE_LOCAL_SETTINGS, "Pressgate/Workflow/UseLocalSettings", SETTING_KIND::FLAG, 0, 0, "PG is configured to use local workflow settings", "GetPGUseLocalSettingsStatus", "SetPGUseLocalSettingsStatus"},
    {PG_MEDIA_USE_LOCAL_SETTINGS, "Pressgate/Media/UseLocalSettings", SETTING_KIND::FLAG, 0, 0, "PG is configured to use local Media settings", "GetPGUseLocalSettingsStatus", "SetPGUseLocalSettingsStatus"},
    {QUILLET_PREFERRED_COLOR_EDITOR_APP, "ColorEditor/LaunchQuillet", SETTING_KIND::FLAG, 0, 0, nullptr, "IsQuilletPreferredColorEditorApp", nullptr},
    {VIREO_VERIFY_SUPPORTED, "Option/VireoVerify", SETTING_KIND::FLAG, 0, 1, nullptr, "IsVireoVerifySupported", nullptr},
};
// clang-format on

constexpr bool RowsStandInTheirPlaces() {
    int place = 0;
    for (auto const& row : SETTINGS) {
        if (row.setting != place++) return false;
    }
    return place == SETTING_COUNT;
}
static_assert(RowsStandInTheirPlaces(), "SETTINGS is indexed by CONFIGURATION_SETTING");
