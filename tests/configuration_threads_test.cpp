// The configuration service under eight threads: every kind of accessor, saves and queries about the
// file, all at the same time.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>
#include <string>

#include "ConfigurationControl/ConfigurationCtrl.h"
#include "support/RecordingLogger.h"
#include "support/ScratchDirectory.h"
#include "support/Threads.h"

namespace {

using SERVICE = CConfigurationControl;

// A text and a number that only one thread writes.
struct OWNED {
    std::string (SERVICE::*getText)();
    void (SERVICE::*setText)(std::string const&);
    int (SERVICE::*getNumber)();
    void (SERVICE::*setNumber)(int);
};
constexpr OWNED OWNED_BY[] = {
    {&SERVICE::GetLoginUserName, &SERVICE::SetLoginUserName, &SERVICE::GetLogLevel, &SERVICE::SetLogLevel},
    {&SERVICE::GetLoginPassword, &SERVICE::SetLoginPassword, &SERVICE::GetLogMode, &SERVICE::SetLogMode},
    {&SERVICE::GetLoginServer, &SERVICE::SetLoginServer, &SERVICE::GetScreenProofID, &SERVICE::SetScreenProofID},
    {&SERVICE::GetPGPrinterName, &SERVICE::SetPGPrinterName, &SERVICE::GetSelectedScreenProofID,
     &SERVICE::SetSelectedScreenProofID},
    {&SERVICE::GetPGOutputDeviceGUniqueID, &SERVICE::SetPGOutputDeviceUniqueID, &SERVICE::GetPGOutputDeviceID,
     &SERVICE::SetPGOutputDeviceID},
    {&SERVICE::GetPGMediaPresetUniqueID, &SERVICE::SetPGMediaPresetUniqueID, &SERVICE::GetPGMediaPresetID,
     &SERVICE::SetPGMediaPresetID},
    {&SERVICE::GetPGWorkflowPresetUniqueID, &SERVICE::SetPGWorkflowPresetUniqueID, &SERVICE::GetPGWorkflowPresetID,
     &SERVICE::SetPGWorkflowPresetID},
    {&SERVICE::GetOEMName, nullptr, &SERVICE::GetServerManagerLaunchMode, &SERVICE::SetServerManagerLaunchMode},
};
constexpr int THREADS = std::size(OWNED_BY);

class ConfigurationThreads : public testing::Test {
 protected:
    ConfigurationThreads() { m_service->Initialize(m_file); }
    ~ConfigurationThreads() override { m_service->Release(); }

    OWNED const& Owned(int thread) const { return OWNED_BY[thread]; }
    void SetOwn(int thread, int value) {
        std::string text = Text(thread, value);
        if (Owned(thread).setText)
            (m_service->*Owned(thread).setText)(text);
        else
            m_service->SetOEMName(text);
        (m_service->*Owned(thread).setNumber)(value);
    }
    void ExpectOwn(int thread, int value) {
        EXPECT_EQ((m_service->*Owned(thread).getText)(), Text(thread, value));
        EXPECT_EQ((m_service->*Owned(thread).getNumber)(), value);
    }
    static std::string Text(int thread, int value) {
        return "text " + std::to_string(value) + " of thread " + std::to_string(thread);
    }

    // Writes what all threads share: a group of four numbers, always equal, and flags and folders of any value.
    void UseShared(int value) {
        m_service->SetJEDimensions(value, value, value, value);
        int x = -1, y = -1, width = -1, height = -1;
        m_service->GetJEDimensions(x, y, width, height);
        EXPECT_TRUE(x == y && y == width && width == height) << x << ' ' << y << ' ' << width << ' ' << height;
        m_service->SetLocalMeasureUnit(value % 5);
        EXPECT_THAT(m_service->GetCurrentMeasure(),
                    testing::AnyOf("Millimeters", "Centimeters", "Inches", "Meters", "Feet"));
        m_service->SetProductVersion(value % 2 ? 1.5 : 2.5);
        EXPECT_THAT(m_service->GetProductVersion(), testing::AnyOf(1.0, 2.0, 7.0));
        std::string const folder(static_cast<std::size_t>(1 + value % 60), static_cast<char>('a' + value % 26));
        m_service->SetbackupFolderLocation(folder);
        std::string const found = m_service->GetbackupFolderLocation();
        EXPECT_EQ(found, std::string(found.size(), found[0]));
        m_service->SetPGUseLocalSettingsStatus(value % 2, value % 3);
        m_service->GetPGUseLocalSettingsStatus(value % 3);
    }
    void UseService(int value) {
        EXPECT_TRUE(m_service->Flush(value % 2));
        EXPECT_TRUE(m_service->IsConfigFileAvailable());
        EXPECT_TRUE(m_service->Initialize(m_file));
        EXPECT_EQ(m_service->GetConfigInstance(true), m_ticket);
        EXPECT_EQ(GetConfigurationControl(), m_service);
        m_service->SetConfigFileDefaults(value);
        EXPECT_EQ(m_service->GetProductName(), "OKT_Vireo_ZR");
    }

    RECORDING_LOGGER m_logger;
    SCRATCH_DIRECTORY m_scratch;
    std::string const m_file = m_scratch.Path("settings.xml");
    CConfigurationControl* m_service = CConfigurationControl::GetInstance();
    STICKET_ACCESS* m_ticket = nullptr;
};

}  // namespace

TEST_F(ConfigurationThreads, EachThreadReadsWhatItWroteAndTheFileHoldsTheLastOfEach) {
    constexpr int ROUNDS = 200;
    m_ticket = m_service->GetConfigInstance(true);
    m_service->SetLogLevel(0);
    m_service->Flush(true);
    Together(THREADS, [&](int thread) {
        std::mt19937 random(static_cast<unsigned int>(thread));
        for (int value = 1; value <= ROUNDS; ++value) {
            SetOwn(thread, value);
            if (random() % 2) UseShared(static_cast<int>(random() % 1000));
            if (random() % 16 == 0) UseService(value);
            ExpectOwn(thread, value);
        }
    });
    EXPECT_TRUE(m_service->UnInitialize());
    EXPECT_TRUE(m_service->Initialize(m_file));
    for (int thread = 0; thread < THREADS; ++thread) ExpectOwn(thread, ROUNDS);
}
