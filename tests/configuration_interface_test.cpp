// The binary interface of the configuration object: hosts that were built separately call its operations by their index
// in the virtual table. The indexes are stated here as numbers and compared with the layout that this compiler gives
// the header.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <memory>
#include <new>
#include <type_traits>

#include "ConfigurationControl/ConfigurationCtrl.h"
#include "support/RecordingLogger.h"
#include "support/ScratchDirectory.h"

namespace {

using I = IConfigurationControl;

static_assert(sizeof(I) == sizeof(void*), "the interface holds no data");
static_assert(std::is_abstract_v<I> && std::has_virtual_destructor_v<I>);
static_assert(sizeof(LoggerAdapter::ILogger) == sizeof(void*));

// The platform's representation of a pointer to a member function: the byte offset in the virtual table and the
// adjustment of the object's address. A bit in one of the two marks virtual functions.
struct MEMBER_POINTER {
    ptrdiff_t slotBytes;
    ptrdiff_t adjustment;
};
#ifdef __aarch64__  // where functions may begin at odd addresses by the rules of its 32-bit predecessor
constexpr MEMBER_POINTER VIRTUAL_BIT{0, 1};
#else
constexpr MEMBER_POINTER VIRTUAL_BIT{1, 0};
#endif

template <typename CLASS, typename FUNCTION>
ptrdiff_t SlotOf(FUNCTION CLASS::*operation) {
    MEMBER_POINTER pointer;
    static_assert(sizeof pointer == sizeof operation);
    memcpy(&pointer, &operation, sizeof pointer);
    EXPECT_EQ(pointer.adjustment, VIRTUAL_BIT.adjustment);
    return (pointer.slotBytes - VIRTUAL_BIT.slotBytes) / static_cast<ptrdiff_t>(sizeof(void*));
}

// An operation with its index in the virtual table. It is named with its type, so the compiler checks the signature.
struct OPERATION {
    char const* name;
    ptrdiff_t slot;
};
template <typename FUNCTION>
OPERATION Operation(char const* name, FUNCTION I::*operation) {
    return {name, SlotOf(operation)};
}

TEST(ConfigurationInterface, KeepsNamesSignaturesAndOrderOfItsOperations) {
    using TEXT_IN = void(std::string const&);
    using TEXT_REFERENCE = void(std::string&);
    using WINDOW_OUT = void(int&, int&, int&, int&);
    using WINDOW_IN = void(int const&, int const&, int const&, int const&);
    OPERATION const operations[] = {
        Operation<bool(std::string)>("Initialize", &I::Initialize),
        Operation<bool()>("UnInitialize", &I::UnInitialize),
        Operation<bool(bool)>("Flush", &I::Flush),
        Operation<void(IConfigNotification*)>("AddConfigNotification", &I::AddConfigNotification),
        Operation<bool()>("IsConfigFileAvailable", &I::IsConfigFileAvailable),
        Operation<void(int)>("SetConfigFileDefaults", &I::SetConfigFileDefaults),
        Operation<bool()>("GetTraceErrorRequired", &I::GetTraceErrorRequired),
        Operation<void(bool)>("SetTraceErrorRequired", &I::SetTraceErrorRequired),
        Operation<bool()>("GetMediaWhitePointRequired", &I::GetMediaWhitePointRequired),
        Operation<void(bool)>("SetMediaWhitePointRequired", &I::SetMediaWhitePointRequired),
        Operation<bool()>("GetIsOpenglLoadingOptimizationEnabled", &I::GetIsOpenglLoadingOptimizationEnabled),
        Operation<void(bool)>("SetOpenglLoadingOptimization", &I::SetOpenglLoadingOptimization),
        Operation<std::string()>("GetScreenProof", &I::GetScreenProof),
        Operation<TEXT_REFERENCE>("SetScreenProof", &I::SetScreenProof),
        Operation<int()>("GetScreenProofID", &I::GetScreenProofID),
        Operation<void(int)>("SetScreenProofID", &I::SetScreenProofID),
        Operation<int()>("GetSelectedScreenProofID", &I::GetSelectedScreenProofID),
        Operation<void(int)>("SetSelectedScreenProofID", &I::SetSelectedScreenProofID),
        Operation<std::string()>("GetProductName", &I::GetProductName),
        Operation<TEXT_REFERENCE>("SetProductName", &I::SetProductName),
        Operation<std::string()>("GetOEMName", &I::GetOEMName),
        Operation<TEXT_REFERENCE>("SetOEMName", &I::SetOEMName),
        Operation<double()>("GetProductVersion", &I::GetProductVersion),
        Operation<void(double)>("SetProductVersion", &I::SetProductVersion),
        Operation<int()>("GetLanguageSelected", &I::GetLanguageSelected),
        Operation<void(int)>("SetLanguageSelected", &I::SetLanguageSelected),
        Operation<std::string()>("GetCurrentLanguage", &I::GetCurrentLanguage),
        Operation<TEXT_REFERENCE>("SetCurrentLanguage", &I::SetCurrentLanguage),
        Operation<int()>("GetLocalMeasureUnit", &I::GetLocalMeasureUnit),
        Operation<void(int)>("SetLocalMeasureUnit", &I::SetLocalMeasureUnit),
        Operation<int()>("GetServerManagerLaunchMode", &I::GetServerManagerLaunchMode),
        Operation<void(int)>("SetServerManagerLaunchMode", &I::SetServerManagerLaunchMode),
        Operation<std::string()>("GetCurrentMeasure", &I::GetCurrentMeasure),
        Operation<TEXT_REFERENCE>("SetCurrentMeasure", &I::SetCurrentMeasure),
        Operation<WINDOW_OUT>("GetJEDimensions", &I::GetJEDimensions),
        Operation<WINDOW_IN>("SetJEDimensions", &I::SetJEDimensions),
        Operation<WINDOW_OUT>("GetSMDimensions", &I::GetSMDimensions),
        Operation<WINDOW_IN>("SetSMDimensions", &I::SetSMDimensions),
        Operation<int()>("GetLogLevel", &I::GetLogLevel),
        Operation<void(int)>("SetLogLevel", &I::SetLogLevel),
        Operation<int()>("GetLogMode", &I::GetLogMode),
        Operation<void(int)>("SetLogMode", &I::SetLogMode),
        Operation<std::string()>("GetLoginUserName", &I::GetLoginUserName),
        Operation<TEXT_IN>("SetLoginUserName", &I::SetLoginUserName),
        Operation<std::string()>("GetLoginPassword", &I::GetLoginPassword),
        Operation<TEXT_IN>("SetLoginPassword", &I::SetLoginPassword),
        Operation<std::string()>("GetLoginServer", &I::GetLoginServer),
        Operation<TEXT_IN>("SetLoginServer", &I::SetLoginServer),
        Operation<std::string()>("GetPGPrinterName", &I::GetPGPrinterName),
        Operation<TEXT_IN>("SetPGPrinterName", &I::SetPGPrinterName),
        Operation<void(int)>("SetPGOutputDeviceID", &I::SetPGOutputDeviceID),
        Operation<int()>("GetPGOutputDeviceID", &I::GetPGOutputDeviceID),
        Operation<void(int)>("SetPGMediaPresetID", &I::SetPGMediaPresetID),
        Operation<int()>("GetPGMediaPresetID", &I::GetPGMediaPresetID),
        Operation<void(int)>("SetPGWorkflowPresetID", &I::SetPGWorkflowPresetID),
        Operation<int()>("GetPGWorkflowPresetID", &I::GetPGWorkflowPresetID),
        Operation<TEXT_IN>("SetbackupFolderLocation", &I::SetbackupFolderLocation),
        Operation<std::string() const>("GetbackupFolderLocation", &I::GetbackupFolderLocation),
        Operation<TEXT_IN>("SetEnvironmentFolderLocation", &I::SetEnvironmentFolderLocation),
        Operation<std::string() const>("GetEnvironmentFolderLocation", &I::GetEnvironmentFolderLocation),
        Operation<TEXT_IN>("SetPGOutputDeviceUniqueID", &I::SetPGOutputDeviceUniqueID),
        Operation<std::string()>("GetPGOutputDeviceGUniqueID", &I::GetPGOutputDeviceGUniqueID),
        Operation<TEXT_IN>("SetPGMediaPresetUniqueID", &I::SetPGMediaPresetUniqueID),
        Operation<std::string()>("GetPGMediaPresetUniqueID", &I::GetPGMediaPresetUniqueID),
        Operation<TEXT_IN>("SetPGWorkflowPresetUniqueID", &I::SetPGWorkflowPresetUniqueID),
        Operation<std::string()>("GetPGWorkflowPresetUniqueID", &I::GetPGWorkflowPresetUniqueID),
        Operation<void(bool const&, bool const&)>("SetPGUseLocalSettingsStatus", &I::SetPGUseLocalSettingsStatus),
        Operation<bool(bool const&)>("GetPGUseLocalSettingsStatus", &I::GetPGUseLocalSettingsStatus),
        Operation<bool()>("IsQuilletPreferredColorEditorApp", &I::IsQuilletPreferredColorEditorApp),
        Operation<bool()>("IsVireoVerifySupported", &I::IsVireoVerifySupported),
        Operation<void()>("Release", &I::Release),
    };
    ASSERT_EQ(std::size(operations), 71u);
    for (size_t i = 0; i < std::size(operations); ++i) {
        EXPECT_EQ(operations[i].slot, static_cast<ptrdiff_t>(i)) << operations[i].name;
    }
}

TEST(LoggerInterface, KeepsTheOrderOfItsOperations) {
    using LOGGER = LoggerAdapter::ILogger;
    EXPECT_EQ(SlotOf(&LOGGER::IsLogLevelEnabled), 1);
    EXPECT_EQ(SlotOf(&LOGGER::LogMessage), 2);
    static_assert(std::is_same_v<decltype(&LOGGER::IsLogLevelEnabled), bool (LOGGER::*)(int)>);
    static_assert(
        std::is_same_v<decltype(&LOGGER::LogMessage), void (LOGGER::*)(int, char const*, int, char const*, ...)>);
    static_assert(std::is_same_v<decltype(&LOGGER::getInstance), LOGGER* (*)()>);
}

// Calls the operation at a position (from 1) of the object's virtual table, as a host does that knows only its
// signature.
template <typename FUNCTION, typename... ARGUMENTS>
decltype(auto) CallAt(I& object, int position, ARGUMENTS&&... arguments) {
    MEMBER_POINTER const pointer{VIRTUAL_BIT.slotBytes + (position - 1) * static_cast<ptrdiff_t>(sizeof(void*)),
                                 VIRTUAL_BIT.adjustment};
    FUNCTION I::*operation;
    static_assert(sizeof pointer == sizeof operation);
    memcpy(&operation, &pointer, sizeof pointer);
    return (object.*operation)(std::forward<ARGUMENTS>(arguments)...);
}

// Calls one of the two destructors, which follow the operations.
void DestroyAt(CConfigurationControl* object, int position) {
    void (**table)(void*);
    memcpy(&table, static_cast<void*>(object), sizeof table);
    table[position - 1](object);
}

class RawSlots : public testing::Test {
 protected:
    void SetUp() override {
        m_object = GetConfigurationControl();
        ASSERT_TRUE(CallAt<bool(std::string)>(*m_object, 1, m_scratch.Path("settings.xml")));
        m_ticket = static_cast<CConfigurationControl*>(m_object)->GetConfigInstance(false);
    }
    void TearDown() override {
        if (m_object) m_object->Release();
    }

    template <typename VALUE>
    VALUE Stored(std::string const& key, PARAM_TYPE type) const {
        VALUE value{};
        EXPECT_TRUE(m_ticket->GetParameter(m_ticket->pTicket, key.c_str(), type, &value, SCALAR_INDEX)) << key;
        return value;
    }
    int StoredInt(std::string const& key) const { return Stored<int>(key, PARAM_INT); }
    std::string StoredText(std::string const& key) const {
        auto const bytes = Stored<BIN_STRING>(key, PARAM_BINSTR);
        return {static_cast<char const*>(bytes.data), bytes.length};
    }
    void PutInt(char const* key, int value) const {
        m_ticket->SetParameter(m_ticket->pTicket, key, PARAM_INT, &value, SCALAR_INDEX);
    }

    SCRATCH_DIRECTORY m_scratch;
    RECORDING_LOGGER m_logger;
    I* m_object = nullptr;
    STICKET_ACCESS const* m_ticket = nullptr;
};

TEST_F(RawSlots, OfFlagsReachTheirKeys) {
    struct {
        int getter;
        int setter;
        char const* key;
    } const flags[] = {{7, 8, "Product/TraceErrorRequired"},
                       {9, 10, "Option/MediaWhitePoint"},
                       {11, 12, "Product/OptimizeOpenglLoading"}};
    for (auto const& [getter, setter, key] : flags) {
        CallAt<void(bool)>(*m_object, setter, true);
        EXPECT_EQ(StoredInt(key), 1) << key;
        EXPECT_TRUE(CallAt<bool()>(*m_object, getter)) << key;
        CallAt<void(bool)>(*m_object, setter, false);
        EXPECT_EQ(StoredInt(key), 0) << key;
        EXPECT_FALSE(CallAt<bool()>(*m_object, getter)) << key;
    }
    PutInt("ColorEditor/LaunchQuillet", 1);
    EXPECT_TRUE(CallAt<bool()>(*m_object, 69));
    EXPECT_TRUE(CallAt<bool()>(*m_object, 70));
    PutInt("Option/VireoVerify", 0);
    EXPECT_FALSE(CallAt<bool()>(*m_object, 70));
}

TEST_F(RawSlots, OfUseLocalSettingsReachTheirKeys) {
    using SET = void(bool const&, bool const&);
    CallAt<SET>(*m_object, 67, true, true);
    CallAt<SET>(*m_object, 67, false, false);
    EXPECT_EQ(StoredInt("Pressgate/Workflow/UseLocalSettings"), 1);
    EXPECT_EQ(StoredInt("Pressgate/Media/UseLocalSettings"), 0);
    EXPECT_TRUE(CallAt<bool(bool const&)>(*m_object, 68, true));
    EXPECT_FALSE(CallAt<bool(bool const&)>(*m_object, 68, false));
}

TEST_F(RawSlots, OfIntegersReachTheirKeys) {
    struct {
        int getter;
        int setter;
        char const* key;
    } const integers[] = {
        {15, 16, "Option/Screenproof"},
        {17, 18, "Option/SelectedOption"},
        {25, 26, "Language/SelectedID"},
        {29, 30, "Locale/Measure"},
        {31, 32, "SM/LaunchMode"},
        {39, 40, "Log/Level"},
        {41, 42, "Log/Mode"},
        {52, 51, "Pressgate/OutputDevice/ID"},
        {54, 53, "Pressgate/Media/ID"},
        {56, 55, "Pressgate/Workflow/ID"},
    };
    for (auto const& [getter, setter, key] : integers) {
        CallAt<void(int)>(*m_object, setter, 100 + setter);
        EXPECT_EQ(StoredInt(key), 100 + setter) << key;
        EXPECT_EQ(CallAt<int()>(*m_object, getter), 100 + setter) << key;
    }
}

TEST_F(RawSlots, OfTextReachTheirKeys) {
    struct {
        int getter;  // 0: none
        int setter;
        char const* key;
    } const byReference[] = {{13, 14, "Option/Screenproof"},
                             {19, 20, "Product/Name"},
                             {21, 22, "Product/OEM"},
                             {27, 28, "Language/LangCode"},
                             {0, 34, "Locale/MeasureUnit"}},
            byConstReference[] = {{43, 44, "Login/User"},
                                  {45, 46, "Login/Password"},
                                  {47, 48, "Login/Server"},
                                  {49, 50, "Pressgate/PrinterName"},
                                  {62, 61, "Pressgate/OutputDevice/UniqueID"},
                                  {64, 63, "Pressgate/Media/UniqueID"},
                                  {66, 65, "Pressgate/Workflow/UniqueID"},
                                  {58, 57, "SM/BackupFolderLocation"},
                                  {60, 59, "SM/EnvironmentFolderLocation"}};
    auto const text = [](int setter) { return "text number " + std::to_string(setter); };
    for (auto const& [getter, setter, key] : byReference) {
        std::string value = text(setter);
        CallAt<void(std::string&)>(*m_object, setter, value);
        EXPECT_EQ(StoredText(key), text(setter));
        if (getter == 0) continue;
        EXPECT_EQ(CallAt<std::string()>(*m_object, getter), text(setter)) << key;
    }
    for (auto const& [getter, setter, key] : byConstReference) {
        CallAt<void(std::string const&)>(*m_object, setter, text(setter));
        EXPECT_EQ(StoredText(key), text(setter));
        EXPECT_EQ(CallAt<std::string()>(*m_object, getter), text(setter)) << key;
    }
    CallAt<void(int)>(*m_object, 30, 4);
    EXPECT_EQ(CallAt<std::string()>(*m_object, 33), "Feet");
}

TEST_F(RawSlots, OfTheVersionReachItsKey) {
    CallAt<void(double)>(*m_object, 24, 7.5);
    EXPECT_EQ(Stored<double>("Product/Version", PARAM_DOUBLE), 7.5);
    EXPECT_EQ(CallAt<double()>(*m_object, 23), 7.0);
}

TEST_F(RawSlots, OfWindowsReachTheirKeys) {
    struct {
        int getter;
        int setter;
        std::string prefix;
    } const windows[] = {{35, 36, "JE/"}, {37, 38, "SM/"}};
    for (auto const& [getter, setter, prefix] : windows) {
        using SET = void(int const&, int const&, int const&, int const&);
        CallAt<SET>(*m_object, setter, setter + 1, setter + 2, setter + 3, setter + 4);
        int x = 0, y = 0, width = 0, height = 0;
        CallAt<void(int&, int&, int&, int&)>(*m_object, getter, x, y, width, height);
        EXPECT_EQ(StoredInt(prefix + "X"), x);
        EXPECT_EQ(StoredInt(prefix + "Y"), y);
        EXPECT_EQ(StoredInt(prefix + "Width"), width);
        EXPECT_EQ(StoredInt(prefix + "Height"), height);
        EXPECT_EQ(x * 1000 + height, (setter + 1) * 1000 + setter + 4);
    }
}

TEST_F(RawSlots, OfTheServiceOpenSaveAndClose) {
    auto& service = *static_cast<CConfigurationControl*>(m_object);
    CallAt<void(int)>(*m_object, 6, 21);
    EXPECT_EQ(StoredInt("Language/SelectedID"), 21);
    EXPECT_EQ(StoredText("Product/Name"), "OKT_Vireo_ZR");
    CallAt<void(IConfigNotification*)>(*m_object, 4, nullptr);
    EXPECT_FALSE(CallAt<bool()>(*m_object, 5));
    EXPECT_TRUE(CallAt<bool(bool)>(*m_object, 3, false));
    EXPECT_TRUE(CallAt<bool()>(*m_object, 5));
    EXPECT_TRUE(CallAt<bool()>(*m_object, 2));
    EXPECT_EQ(service.GetConfigInstance(false), nullptr);
}

TEST_F(RawSlots, OfReleaseEndsTheObject) {
    CallAt<void(int)>(*m_object, 40, 5);
    CallAt<void()>(*m_object, 71);
    m_object = GetConfigurationControl();
    EXPECT_EQ(m_object->GetLogLevel(), -1);
    EXPECT_TRUE(m_scratch.Has("settings.xml"));
}

TEST_F(RawSlots, OfTheDestructorsStandBehindTheOperations) {
    m_object->Release();
    m_object = nullptr;
    {
        alignas(CConfigurationControl) unsigned char storage[sizeof(CConfigurationControl)];
        auto* const complete = new (storage) CConfigurationControl;
        complete->Initialize(m_scratch.Path("complete.xml"));
        complete->SetLogLevel(5);
        DestroyAt(complete, 72);  // the complete-object destructor frees no memory
        EXPECT_TRUE(m_scratch.Has("complete.xml"));
    }
    auto* const deleted = new CConfigurationControl;
    deleted->Initialize(m_scratch.Path("deleted.xml"));
    deleted->SetLogLevel(5);
    DestroyAt(deleted, 73);  // if this freed nothing, the leak check would report it
    EXPECT_TRUE(m_scratch.Has("deleted.xml"));
}

}  // namespace
