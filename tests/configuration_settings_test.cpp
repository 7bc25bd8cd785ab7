// Every setting of the configuration service: its key, its type in the ticket and in the file, its fallbacks, its
// message. The expected values are written here independently of the library's own table.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <set>
#include <string>
#include <vector>

#include "ConfigurationControl/ConfigurationCtrl.h"
#include "src/SettingsTable.h"
#include "support/ClassicLocale.h"
#include "support/RecordingLogger.h"
#include "support/ScratchDirectory.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using SERVICE = CConfigurationControl;

// A value as one line of text, whatever its type.
std::string Show(bool value) {
    return value ? "true" : "false";
}
std::string Show(int value) {
    return std::to_string(value);
}
std::string Show(double value) {
    return ClassicText(value);
}
std::string Show(std::string const& value) {
    return "\"" + value + "\"";
}

using READ = std::function<std::string(SERVICE&)>;
using WRITE = std::function<void(SERVICE&)>;

template <typename GETTER>
READ Getter(GETTER getter) {
    return [getter](SERVICE& service) { return Show((service.*getter)()); };
}

template <typename VALUE, typename SETTER>
WRITE Setter(SETTER setter, VALUE value) {
    return [setter, value](SERVICE& service) {
        VALUE copy = value;
        (service.*setter)(copy);
        EXPECT_EQ(copy, value) << "the argument was changed";
    };
}
template <typename SETTER>
WRITE Setter(SETTER setter, char const* value) {
    return Setter(setter, std::string(value));
}

struct SETTING_CASE {
    char const* key;
    PARAM_TYPE type;
    READ get;                // null: there is no getter
    WRITE set;               // null: there is no setter
    char const* stored;      // the stored value, read through the ticket
    char const* read;        // the stored value, read through the getter
    char const* noTicket;    // the getter's result without a ticket
    char const* readFailed;  // the getter's result for an absent key
    char const* message;     // null: none
};

std::vector<SETTING_CASE> const& Settings() {
    using I = SERVICE;
    static READ const workflowUsesLocal = [](I& service) { return Show(service.GetPGUseLocalSettingsStatus(true)); };
    static READ const mediaUsesLocal = [](I& service) { return Show(service.GetPGUseLocalSettingsStatus(false)); };
    static WRITE const setWorkflowUsesLocal = [](I& service) { service.SetPGUseLocalSettingsStatus(true, true); };
    static WRITE const setMediaUsesLocal = [](I& service) { service.SetPGUseLocalSettingsStatus(false, true); };
    // clang-format off
    static std::vector<SETTING_CASE> const settings{
        {"Product/TraceErrorRequired", PARAM_INT, Getter(&I::GetTraceErrorRequired), Setter(&I::SetTraceErrorRequired, true), "1", "true", "false", "false", nullptr},
        {"Option/MediaWhitePoint", PARAM_INT, Getter(&I::GetMediaWhitePointRequired), Setter(&I::SetMediaWhitePointRequired, true), "1", "true", "false", "false", nullptr},
        {"Product/OptimizeOpenglLoading", PARAM_INT, Getter(&I::GetIsOpenglLoadingOptimizationEnabled), Setter(&I::SetOpenglLoadingOptimization, true), "1", "true", "false", "false", nullptr},
        {"Option/Screenproof", PARAM_STRING, Getter(&I::GetScreenProof), Setter(&I::SetScreenProof, "soft"), "\"soft\"", "\"soft\"", "\"\"", "\"\"", nullptr},
        {"Option/Screenproof", PARAM_INT, Getter(&I::GetScreenProofID), Setter(&I::SetScreenProofID, 11), "11", "11", "-1", "0", "Screen Proof ID is set to 11"},
        {"Option/SelectedOption", PARAM_INT, Getter(&I::GetSelectedScreenProofID), Setter(&I::SetSelectedScreenProofID, 12), "12", "12", "-1", "0", "Selected Screen Proof ID is set to 12"},
        {"Product/Name", PARAM_STRING, Getter(&I::GetProductName), Setter(&I::SetProductName, "Proof 100%d"), "\"Proof 100%d\"", "\"Proof 100%d\"", "\"\"", "\"\"", "Product name is set to Proof 100%d"},
        {"Product/OEM", PARAM_STRING, Getter(&I::GetOEMName), Setter(&I::SetOEMName, "Corvane"), "\"Corvane\"", "\"Corvane\"", "\"\"", "\"\"", "OEM name is set to Corvane"},
        {"Product/Version", PARAM_DOUBLE, Getter(&I::GetProductVersion), Setter(&I::SetProductVersion, 7.5), "7.500000", "7.000000", "-1.000000", "0.000000", "Corvane Product version is set to 7.500000"},
        {"Language/SelectedID", PARAM_INT, Getter(&I::GetLanguageSelected), Setter(&I::SetLanguageSelected, 13), "13", "13", "-1", "0", "Corvane language is set to 13"},
        {"Language/LangCode", PARAM_STRING, Getter(&I::GetCurrentLanguage), Setter(&I::SetCurrentLanguage, "de"), "\"de\"", "\"de\"", "\"\"", "\"\"", "Corvane current language is set to de"},
        {"Locale/Measure", PARAM_INT, Getter(&I::GetLocalMeasureUnit), Setter(&I::SetLocalMeasureUnit, 2), "2", "2", "-1", "-1", "Corvane Local measurement unit is set to 2"},
        {"Locale/MeasureUnit", PARAM_STRING, nullptr, Setter(&I::SetCurrentMeasure, "Inches"), "\"Inches\"", nullptr, nullptr, nullptr, "Corvane current Measurement unit is set to Inches"},
        {"SM/LaunchMode", PARAM_INT, Getter(&I::GetServerManagerLaunchMode), Setter(&I::SetServerManagerLaunchMode, 14), "14", "14", "0", "0", "Corvane Server Manager is set to 14 mode"},
        {"Log/Level", PARAM_INT, Getter(&I::GetLogLevel), Setter(&I::SetLogLevel, 15), "15", "15", "-1", "3", nullptr},
        {"Log/Mode", PARAM_INT, Getter(&I::GetLogMode), Setter(&I::SetLogMode, 16), "16", "16", "-1", "1", nullptr},
        {"Login/User", PARAM_STRING, Getter(&I::GetLoginUserName), Setter(&I::SetLoginUserName, "ada"), "\"ada\"", "\"ada\"", "\"\"", "\"\"", "Login user name is set to ada"},
        {"Login/Password", PARAM_BINSTR, Getter(&I::GetLoginPassword), Setter(&I::SetLoginPassword, "tulip"), "\"tulip\"", "\"tulip\"", "\"\"", "\"\"", "Login Passowrd is set to tulip"},
        {"Login/Server", PARAM_STRING, Getter(&I::GetLoginServer), Setter(&I::SetLoginServer, "proofs.example"), "\"proofs.example\"", "\"proofs.example\"", "\"\"", "\"\"", "Login Server is set to proofs.example"},
        {"Pressgate/PrinterName", PARAM_STRING, Getter(&I::GetPGPrinterName), Setter(&I::SetPGPrinterName, "P 1"), "\"P 1\"", "\"P 1\"", "\"\"", "\"\"", "PG Printer name is set to P 1"},
        {"Pressgate/OutputDevice/ID", PARAM_INT, Getter(&I::GetPGOutputDeviceID), Setter(&I::SetPGOutputDeviceID, 17), "17", "17", "0", "0", "PG output Device ID is set to 17"},
        {"Pressgate/Media/ID", PARAM_INT, Getter(&I::GetPGMediaPresetID), Setter(&I::SetPGMediaPresetID, 18), "18", "18", "0", "0", "PG Media Preset ID is set to 18"},
        {"Pressgate/Workflow/ID", PARAM_INT, Getter(&I::GetPGWorkflowPresetID), Setter(&I::SetPGWorkflowPresetID, 19), "19", "19", "0", "0", "PG Workflow Preset ID is set to 19"},
        {"Pressgate/OutputDevice/UniqueID", PARAM_STRING, Getter(&I::GetPGOutputDeviceGUniqueID), Setter(&I::SetPGOutputDeviceUniqueID, "u-d"), "\"u-d\"", "\"u-d\"", "\"\"", "\"\"", "PG Output Device Unique ID is set to u-d"},
        {"Pressgate/Media/UniqueID", PARAM_STRING, Getter(&I::GetPGMediaPresetUniqueID), Setter(&I::SetPGMediaPresetUniqueID, "u-m"), "\"u-m\"", "\"u-m\"", "\"\"", "\"\"", "PG Output Media Preset unique ID is set to u-m"},
        {"Pressgate/Workflow/UniqueID", PARAM_STRING, Getter(&I::GetPGWorkflowPresetUniqueID), Setter(&I::SetPGWorkflowPresetUniqueID, "u-w"), "\"u-w\"", "\"u-w\"", "\"\"", "\"\"", "PG Output Workflow Preset unique ID is set to u-w"},
        {"Pressgate/Workflow/UseLocalSettings", PARAM_INT, workflowUsesLocal, setWorkflowUsesLocal, "1", "true", "false", "false", "PG is configured to use local workflow settings"},
        {"Pressgate/Media/UseLocalSettings", PARAM_INT, mediaUsesLocal, setMediaUsesLocal, "1", "true", "false", "false", "PG is configured to use local Media settings"},
        {"SM/BackupFolderLocation", PARAM_STRING, Getter(&I::GetbackupFolderLocation), Setter(&I::SetbackupFolderLocation, "/b"), "\"/b\"", "\"/b\"", "\"\"", "\"\"", "Corvane back up folder location is set to /b"},
        {"SM/EnvironmentFolderLocation", PARAM_STRING, Getter(&I::GetEnvironmentFolderLocation), Setter(&I::SetEnvironmentFolderLocation, "/e"), "\"/e\"", "\"/e\"", "\"\"", "\"\"", "Corvane Environment folder location is set to /e"},
        {"Option/VireoVerify", PARAM_INT, Getter(&I::IsVireoVerifySupported), nullptr, nullptr, nullptr, "false", "true", nullptr},
        {"ColorEditor/LaunchQuillet", PARAM_INT, Getter(&I::IsQuilletPreferredColorEditorApp), nullptr, nullptr, nullptr, "false", "false", nullptr},
    };
    // clang-format on
    return settings;
}

// The keys passed to the fake table entries, in the order of the calls.
std::vector<std::string> g_keys;

int RecordGet(STICKET*, char const* key, PARAM_TYPE, void*, int) {
    g_keys.emplace_back(key);
    return 0;
}
int RecordSet(STICKET*, char const* key, PARAM_TYPE, void const*, int) {
    g_keys.emplace_back(key);
    return 1;
}

class ConfigurationSettings : public testing::Test {
 protected:
    void SetUp() override {
        m_service = CConfigurationControl::GetInstance();
        m_file = m_scratch.Path("settings.xml");
    }
    void TearDown() override { m_service->Release(); }

    void Open() {
        ASSERT_TRUE(m_service->Initialize(m_file));
        m_ticket = m_service->GetConfigInstance(false);
        m_logger.TakeCalls();
    }
    // Opens a ticket on a file that does not exist.
    void OpenFresh() {
        m_service->UnInitialize();
        std::filesystem::remove(m_file);
        Open();
    }
    void Reopen() {
        m_service->UnInitialize();
        Open();
    }

    void Record() {
        g_keys.clear();
        m_service->GetConfigInstance(false)->GetParameter = RecordGet;
        m_service->GetConfigInstance(false)->SetParameter = RecordSet;
    }

    int Put(char const* key, PARAM_TYPE type, void const* value, int index = SCALAR_INDEX) {
        return m_ticket->SetParameter(m_ticket->pTicket, key, type, value, index);
    }
    int PutInt(char const* key, int value) { return Put(key, PARAM_INT, &value); }
    int PutDouble(char const* key, double value) { return Put(key, PARAM_DOUBLE, &value); }
    bool Has(char const* key) {
        return m_ticket->GetParameter(m_ticket->pTicket, key, PARAM_NONE, nullptr, SCALAR_INDEX) != 0;
    }
    PARAM_TYPE StoredType(char const* key) {
        PARAM_TYPE type = PARAM_NONE;
        m_ticket->GetParameter(m_ticket->pTicket, key, PARAM_NONE, &type, SCALAR_INDEX);
        return type;
    }
    template <typename VALUE>
    VALUE Stored(char const* key, PARAM_TYPE type) {
        VALUE value{};
        EXPECT_TRUE(m_ticket->GetParameter(m_ticket->pTicket, key, type, &value, SCALAR_INDEX)) << key;
        return value;
    }
    std::string StoredText(char const* key) {
        auto const* text = Stored<char const*>(key, PARAM_STRING);
        return text ? text : "";
    }
    std::string ShowStored(char const* key, PARAM_TYPE type) {
        switch (type) {
            case PARAM_INT:
                return Show(Stored<int>(key, type));
            case PARAM_DOUBLE:
                return Show(Stored<double>(key, type));
            case PARAM_STRING:
                return Show(StoredText(key));
            default: {
                auto const bytes = Stored<BIN_STRING>(key, type);
                return Show(std::string(static_cast<char const*>(bytes.data), bytes.length));
            }
        }
    }

    SCRATCH_DIRECTORY m_scratch;
    RECORDING_LOGGER m_logger;
    CConfigurationControl* m_service = nullptr;
    STICKET_ACCESS const* m_ticket = nullptr;
    std::string m_file;
};

TEST_F(ConfigurationSettings, GettersGiveTheirFixedValueWithoutATicket) {
    for (auto const& setting : Settings()) {
        if (!setting.get) continue;
        EXPECT_EQ(setting.get(*m_service), setting.noTicket) << setting.key;
    }
    EXPECT_THAT(m_logger.TakeCalls(), IsEmpty());
}

TEST_F(ConfigurationSettings, SettersDoNothingWithoutATicket) {
    for (auto const& setting : Settings()) {
        if (setting.set) setting.set(*m_service);
    }
    m_service->SetJEDimensions(1, 2, 3, 4);
    m_service->SetSMDimensions(1, 2, 3, 4);
    EXPECT_THAT(m_logger.TakeCalls(), IsEmpty());
    Open();
    m_service->Flush(false);
    EXPECT_FALSE(m_scratch.Has("settings.xml"));
    for (auto const& setting : Settings()) {
        if (!setting.get) continue;
        EXPECT_EQ(setting.get(*m_service), setting.readFailed) << setting.key;
    }
}

TEST_F(ConfigurationSettings, GettersGiveTheirFallbackForAnAbsentKey) {
    Open();
    for (auto const& setting : Settings()) {
        if (!setting.get) continue;
        EXPECT_EQ(setting.get(*m_service), setting.readFailed) << setting.key;
    }
}

TEST_F(ConfigurationSettings, GettersGiveTheirFallbackForAKeyOfAnotherType) {
    Open();
    for (auto const& setting : Settings()) Put(setting.key, PARAM_POINTER, this);
    for (auto const& setting : Settings()) {
        if (!setting.get) continue;
        EXPECT_EQ(setting.get(*m_service), setting.readFailed) << setting.key;
    }
}

TEST_F(ConfigurationSettings, GettersGiveTheirFallbackForAVector) {
    Open();
    for (auto const& setting : Settings()) {
        Put(setting.key, PARAM_STRING, "1", APPEND_INDEX);
        Put(setting.key, PARAM_STRING, "2", APPEND_INDEX);
    }
    for (auto const& setting : Settings()) {
        if (!setting.get) continue;
        EXPECT_EQ(setting.get(*m_service), setting.readFailed) << setting.key;
    }
}

TEST_F(ConfigurationSettings, SettersStoreUnderTheirKeyWithTheirType) {
    for (auto const& setting : Settings()) {
        if (!setting.set) continue;
        SCOPED_TRACE(setting.key);
        OpenFresh();
        setting.set(*m_service);
        ASSERT_TRUE(Has(setting.key));
        EXPECT_EQ(StoredType(setting.key), setting.type == PARAM_INT ? PARAM_DOUBLE : setting.type);
        EXPECT_EQ(ShowStored(setting.key, setting.type), setting.stored);
        if (setting.get) {
            EXPECT_EQ(setting.get(*m_service), setting.read);
        }
        unsigned int count = 0;
        m_ticket->Operation(m_ticket->pTicket, STICKET_OP_COUNT, &count);
        EXPECT_EQ(count, strcmp(setting.key, "Locale/Measure") == 0 ? 2u : 1u) << "other keys were written too";
    }
}

TEST_F(ConfigurationSettings, SettersReplaceAWholeVector) {
    Open();
    for (auto const& setting : Settings()) {
        if (!setting.set) continue;
        SCOPED_TRACE(setting.key);
        for (int const element : {1, 2}) Put(setting.key, PARAM_INT, &element, APPEND_INDEX);
        setting.set(*m_service);
        EXPECT_EQ(ShowStored(setting.key, setting.type), setting.stored);
    }
}

TEST_F(ConfigurationSettings, SettersReportTheirValueAtTheInformationalLevelOrNotAtAll) {
    Open();
    for (auto const& setting : Settings()) {
        if (!setting.set) continue;
        SCOPED_TRACE(setting.key);
        setting.set(*m_service);
        auto const calls = m_logger.TakeCalls();
        if (setting.message) {
            EXPECT_THAT(calls, ElementsAre("enabled? 6", std::string("6 ") + setting.message));
        } else {
            EXPECT_THAT(calls, IsEmpty());
        }
    }
}

TEST_F(ConfigurationSettings, SettersMakeTheServiceSaveOnFlush) {
    for (auto const& setting : Settings()) {
        if (!setting.set) continue;
        m_service->Release();
        m_service = CConfigurationControl::GetInstance();
        std::filesystem::remove(m_file);
        Open();
        m_service->Flush(false);
        EXPECT_FALSE(m_scratch.Has("settings.xml")) << setting.key;
        setting.set(*m_service);
        m_service->Flush(false);
        EXPECT_TRUE(m_scratch.Has("settings.xml")) << setting.key;
    }
}

TEST_F(ConfigurationSettings, ComeBackFromTheFileAsTheyWereSet) {
    for (auto const& setting : Settings()) {
        if (!setting.set || !setting.get) continue;
        OpenFresh();
        setting.set(*m_service);
        Reopen();
        EXPECT_EQ(setting.get(*m_service), setting.read) << setting.key;
    }
}

TEST_F(ConfigurationSettings, OfEveryKindMakeTheFileByteForByte) {
    Open();
    for (auto const& setting : Settings()) {
        if (setting.set) setting.set(*m_service);
    }
    m_service->SetJEDimensions(-10, 20, 800, 600);
    m_service->SetSMDimensions(30, -40, 1024, 768);
    std::string awkward = "two  blanks, <tag> & \"quotes\"\n\\ \xC3\xA9";
    m_service->SetOEMName(awkward);
    m_service->SetLoginPassword(std::string("nul\0byte", 8));
    m_service->SetLoginUserName("");
    m_service->Flush(false);
    EXPECT_EQ(FileContent(m_file), FileContent(std::string(TEST_DATA) + "/golden/configuration_settings.xml"));
}

TEST_F(ConfigurationSettings, StandInTheTableAsInTheseTests) {
    std::set<std::string> inTable, inTests;
    for (auto const& row : SETTINGS)
        inTable.insert(row.key + std::string(" ") + std::to_string(ParameterType(row.kind)));
    for (auto const& setting : Settings()) {
        inTests.insert(setting.key + std::string(" ") + std::to_string(setting.type));
    }
    for (char const* key : {"JE/X", "JE/Y", "JE/Width", "JE/Height", "SM/X", "SM/Y", "SM/Width", "SM/Height"}) {
        inTests.insert(key + std::string(" 2"));
    }
    inTests.insert("Locale/Measure_Values 4");
    EXPECT_EQ(inTable, inTests);
}

TEST_F(ConfigurationSettings, KeepTextUpToItsFirstNul) {
    Open();
    m_service->SetLoginServer(std::string("host\0hidden", 11));
    EXPECT_EQ(m_service->GetLoginServer(), "host");
}

TEST_F(ConfigurationSettings, ReadTextThatWasJustHandedOutByTheTicketItself) {
    Open();
    m_service->SetLoginServer("first");
    auto const* borrowed = Stored<char const*>("Login/Server", PARAM_STRING);
    m_service->SetPGPrinterName(borrowed);
    EXPECT_EQ(m_service->GetPGPrinterName(), "first");
}

TEST_F(ConfigurationSettings, FlagIsTrueForEveryNumberButZero) {
    Open();
    struct {
        double stored;
        bool flag;
    } const cases[] = {{0, false}, {1, true}, {-1, true}, {0.4, false}, {0.5, true}};
    for (auto const& [stored, flag] : cases) {
        PutDouble("Product/TraceErrorRequired", stored);
        EXPECT_EQ(m_service->GetTraceErrorRequired(), flag) << stored;
    }
}

TEST_F(ConfigurationSettings, FlagIsStoredAsZeroWhenItIsOff) {
    Open();
    m_service->SetMediaWhitePointRequired(true);
    m_service->SetMediaWhitePointRequired(false);
    EXPECT_TRUE(Has("Option/MediaWhitePoint"));
    EXPECT_EQ(Stored<int>("Option/MediaWhitePoint", PARAM_INT), 0);
    EXPECT_FALSE(m_service->GetMediaWhitePointRequired());
}

TEST_F(ConfigurationSettings, VireoVerifyIsSupportedUnlessTheFileSaysZero) {
    Open();
    EXPECT_TRUE(m_service->IsVireoVerifySupported());
    PutInt("Option/VireoVerify", 0);
    EXPECT_FALSE(m_service->IsVireoVerifySupported());
    PutInt("Option/VireoVerify", 5);
    EXPECT_TRUE(m_service->IsVireoVerifySupported());
}

TEST_F(ConfigurationSettings, QuilletIsPreferredOnlyIfTheFileSaysSo) {
    Open();
    EXPECT_FALSE(m_service->IsQuilletPreferredColorEditorApp());
    PutInt("ColorEditor/LaunchQuillet", 1);
    EXPECT_TRUE(m_service->IsQuilletPreferredColorEditorApp());
}

TEST_F(ConfigurationSettings, ProductVersionReadsBackWithoutItsFraction) {
    Open();
    constexpr double MOST = std::numeric_limits<int>::max();
    constexpr double LEAST = std::numeric_limits<int>::min();
    constexpr double INFINITE = std::numeric_limits<double>::infinity();
    struct {
        double written;
        double read;
    } const cases[] = {
        {7.5, 7.0},   {7.0, 7.0},     {7.999, 7.0},     {0.9, 0.0},         {-7.5, -7.0},       {-0.5, 0.0},
        {1e12, MOST}, {-1e12, LEAST}, {INFINITE, MOST}, {-INFINITE, LEAST}, {MOST + 0.5, MOST}, {NAN, LEAST},
    };
    for (auto const& [written, read] : cases) {
        m_service->SetProductVersion(written);
        EXPECT_EQ(m_service->GetProductVersion(), read) << written;
        EXPECT_EQ(std::signbit(m_service->GetProductVersion()), read < 0) << written;
    }
}

TEST_F(ConfigurationSettings, ProductVersionIsStoredWithItsFraction) {
    Open();
    m_service->SetProductVersion(7.5);
    EXPECT_EQ(Stored<double>("Product/Version", PARAM_DOUBLE), 7.5);
    Reopen();
    EXPECT_EQ(Stored<double>("Product/Version", PARAM_DOUBLE), 7.5);
    EXPECT_EQ(m_service->GetProductVersion(), 7.0);
}

TEST_F(ConfigurationSettings, ProductVersionOfALargeIntegerSaturates) {
    Open();
    int64_t const large = 9007199254740993;
    Put("Product/Version", PARAM_INT64, &large);
    EXPECT_EQ(m_service->GetProductVersion(), std::numeric_limits<int>::max());
}

TEST_F(ConfigurationSettings, ScreenProofHoldsTextOrNumberByWhoeverWroteLast) {
    Open();
    std::string text = "abc";
    m_service->SetScreenProof(text);
    // A ticket never converts text to a number: the getter returns the same value as for an absent key.
    int converted = 99;
    EXPECT_EQ(m_ticket->GetParameter(m_ticket->pTicket, "Option/Screenproof", PARAM_INT, &converted, SCALAR_INDEX), 0);
    EXPECT_EQ(m_service->GetScreenProofID(), converted);
    EXPECT_EQ(m_service->GetScreenProof(), "abc");

    m_service->SetScreenProofID(5);
    EXPECT_EQ(m_service->GetScreenProofID(), 5);
    EXPECT_EQ(m_service->GetScreenProof(), "");

    m_service->SetScreenProof(text);
    EXPECT_EQ(StoredType("Option/Screenproof"), PARAM_STRING);
}

TEST_F(ConfigurationSettings, LocalMeasureUnitExplainsItselfInTheFile) {
    Open();
    m_service->SetLocalMeasureUnit(3);
    EXPECT_EQ(StoredText("Locale/Measure_Values"),
              "Possible Values are :-0 for mm,1 for cm,2 for Inches,3 for Meter,4 for Foot");
    EXPECT_EQ(Stored<int>("Locale/Measure", PARAM_INT), 3);
    EXPECT_THAT(m_logger.TakeTexts(), ElementsAre("6 Corvane Local measurement unit is set to 3"));
}

TEST_F(ConfigurationSettings, LocalMeasureUnitIsWrittenAfterItsExplanation) {
    Open();
    Record();
    m_service->SetLocalMeasureUnit(3);
    EXPECT_THAT(g_keys, ElementsAre("Locale/Measure_Values", "Locale/Measure"));
}

TEST_F(ConfigurationSettings, MeasureUnitNamesFallBackToMillimeters) {
    struct {
        int unit;
        char const* name;
    } const cases[] = {{0, "Millimeters"},
                       {1, "Centimeters"},
                       {2, "Inches"},
                       {3, "Meters"},
                       {4, "Feet"},
                       {5, "Millimeters"},
                       {-1, "Millimeters"},
                       {std::numeric_limits<int>::min(), "Millimeters"},
                       {std::numeric_limits<int>::max(), "Millimeters"}};
    Open();
    for (auto const& [unit, name] : cases) {
        EXPECT_EQ(m_service->GetMeasureUnitName(unit), name) << unit;
        m_service->SetLocalMeasureUnit(unit);
        EXPECT_EQ(m_service->GetCurrentMeasure(), name) << unit;
    }
}

TEST_F(ConfigurationSettings, CurrentMeasureNamesTheLocalUnitAndIgnoresWhatItsSetterWrote) {
    EXPECT_EQ(m_service->GetCurrentMeasure(), "Millimeters") << "without a ticket";
    Open();
    EXPECT_EQ(m_service->GetLocalMeasureUnit(), -1);
    EXPECT_EQ(m_service->GetCurrentMeasure(), "Millimeters");
    std::string unit = "Inches";
    m_service->SetCurrentMeasure(unit);
    EXPECT_EQ(m_service->GetCurrentMeasure(), "Millimeters");
    m_service->SetLocalMeasureUnit(4);
    EXPECT_EQ(m_service->GetCurrentMeasure(), "Feet");
}

TEST_F(ConfigurationSettings, PasswordKeepsEveryByte) {
    Open();
    std::string password;
    for (int byte = 0; byte < 256; ++byte) password += static_cast<char>(byte);
    m_service->SetLoginPassword(password);
    EXPECT_EQ(m_service->GetLoginPassword(), password);
    Reopen();
    EXPECT_EQ(m_service->GetLoginPassword(), password);
    m_service->SetLoginPassword("");
    EXPECT_EQ(m_service->GetLoginPassword(), "");
    EXPECT_EQ(StoredType("Login/Password"), PARAM_BINSTR);
}

TEST_F(ConfigurationSettings, PasswordMayStandInTheFileAsText) {
    m_scratch.Write("settings.xml", "<ticket><Login><Password type=\"string\">by hand</Password></Login></ticket>");
    Open();
    EXPECT_EQ(m_service->GetLoginPassword(), "by hand");
}

TEST_F(ConfigurationSettings, UseLocalSettingsReportsTheSameWhateverTheValue) {
    Open();
    m_service->SetPGUseLocalSettingsStatus(true, true);
    EXPECT_TRUE(m_service->GetPGUseLocalSettingsStatus(true));
    EXPECT_FALSE(m_service->GetPGUseLocalSettingsStatus(false));
    m_service->SetPGUseLocalSettingsStatus(true, false);
    EXPECT_FALSE(m_service->GetPGUseLocalSettingsStatus(true));
    m_service->SetPGUseLocalSettingsStatus(false, false);
    EXPECT_THAT(m_logger.TakeTexts(), ElementsAre("6 PG is configured to use local workflow settings",
                                                  "6 PG is configured to use local workflow settings",
                                                  "6 PG is configured to use local Media settings"));
}

struct WINDOW {
    int x, y, width, height;
    bool operator==(WINDOW const& other) const {
        return x == other.x && y == other.y && width == other.width && height == other.height;
    }
};
std::ostream& operator<<(std::ostream& stream, WINDOW const& window) {
    return stream << window.x << ", " << window.y << ", " << window.width << ", " << window.height;
}

class WindowSettings : public ConfigurationSettings, public testing::WithParamInterface<bool> {
 protected:
    // Reads the geometry of the job editor's window or of the server manager's.
    WINDOW Get(WINDOW window = {91, 92, 93, 94}) {
        (m_service->*(GetParam() ? &CConfigurationControl::GetJEDimensions : &CConfigurationControl::GetSMDimensions))(
            window.x, window.y, window.width, window.height);
        return window;
    }
    void Set(WINDOW const& window) {
        (m_service->*(GetParam() ? &CConfigurationControl::SetJEDimensions : &CConfigurationControl::SetSMDimensions))(
            window.x, window.y, window.width, window.height);
    }
    std::string Key(char const* name) const { return (GetParam() ? "JE/" : "SM/") + std::string(name); }
};

INSTANTIATE_TEST_SUITE_P(, WindowSettings, testing::Bool(),
                         [](auto const& test) { return test.param ? "JobEditor" : "ServerManager"; });

TEST_P(WindowSettings, WithoutATicketHaveNoSizeAndLeaveThePlaceUntouched) {
    Set({1, 2, 3, 4});
    EXPECT_EQ(Get({91, 92, 93, 94}), (WINDOW{91, 92, 0, 0}));
}

TEST_P(WindowSettings, AreZeroEachWhileAbsent) {
    Open();
    EXPECT_EQ(Get(), (WINDOW{0, 0, 0, 0}));
    PutInt(Key("Y").c_str(), 7);
    EXPECT_EQ(Get(), (WINDOW{0, 7, 0, 0}));
}

TEST_P(WindowSettings, ComeBackAndAreStoredWithoutAMessage) {
    Open();
    Set({1, 2, 3, 4});
    EXPECT_EQ(Get(), (WINDOW{1, 2, 3, 4}));
    EXPECT_THAT(m_logger.TakeCalls(), IsEmpty());
    EXPECT_EQ(Stored<int>(Key("X").c_str(), PARAM_INT), 1);
    EXPECT_EQ(Stored<int>(Key("Y").c_str(), PARAM_INT), 2);
    EXPECT_EQ(Stored<int>(Key("Width").c_str(), PARAM_INT), 3);
    EXPECT_EQ(Stored<int>(Key("Height").c_str(), PARAM_INT), 4);
}

TEST_P(WindowSettings, AreWrittenAndReadPlaceFirst) {
    Open();
    Record();
    Set({1, 2, 3, 4});
    EXPECT_THAT(g_keys, ElementsAre(Key("X"), Key("Y"), Key("Width"), Key("Height")));
    g_keys.clear();
    Get();
    EXPECT_THAT(g_keys, ElementsAre(Key("X"), Key("Y"), Key("Width"), Key("Height")));
}

TEST_P(WindowSettings, ReadANegativeSizeAsZeroAndKeepANegativePlace) {
    Open();
    Set({-1, -2, -5, 600});
    EXPECT_EQ(Get(), (WINDOW{-1, -2, 0, 600}));
    EXPECT_EQ(Stored<int>(Key("Width").c_str(), PARAM_INT), -5);
    Set({-1, -2, 800, -5});
    EXPECT_EQ(Get(), (WINDOW{-1, -2, 800, 0}));
}

TEST_P(WindowSettings, MarkTheServiceForSaving) {
    Open();
    Set({1, 2, 3, 4});
    m_service->Flush(false);
    EXPECT_TRUE(m_scratch.Has("settings.xml"));
}

}  // namespace
