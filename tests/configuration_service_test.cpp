// The configuration object: lifetime, ticket, saves, messages, threads and faults.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <new>
#include <thread>

#include "ConfigurationControl/ConfigurationCtrl.h"
#include "support/FailingAllocations.h"
#include "support/Processes.h"
#include "support/RecordingLogger.h"
#include "support/ScratchDirectory.h"
#include "support/Threads.h"

// The interface as a host declares it.
class IConfigNotification {
 public:
    virtual void OnChange() { ADD_FAILURE() << "an observer was called"; }

 protected:
    virtual ~IConfigNotification() { ADD_FAILURE() << "an observer was deleted"; }
};

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// State of the fake table entries. It is global because a table entry has no context argument.
std::vector<STICKET_OP> g_operations;
int g_operationResult = 1;

int RecordOperation(STICKET*, STICKET_OP code, void* data) {
    EXPECT_EQ(data, nullptr);
    g_operations.push_back(code);
    return g_operationResult;
}
int ThrowOnGet(STICKET*, char const*, PARAM_TYPE, void*, int) {
    throw "get";
}
int ThrowOnSet(STICKET*, char const*, PARAM_TYPE, void const*, int) {
    throw "set";
}
int RefuseSet(STICKET*, char const*, PARAM_TYPE, void const*, int) {
    return 0;
}

// A fake read that lets another thread change the password, if no lock prevents it, before the reader copies the text.
constexpr char OTHER_PASSWORD[] = "another password, which no small buffer holds";
decltype(STICKET_ACCESS::GetParameter) g_get = nullptr;
decltype(STICKET_ACCESS::SetParameter) g_set = nullptr;
std::future<int> g_change;

int ChangeAfterGet(STICKET* ticket, char const* key, PARAM_TYPE type, void* value, int index) {
    int const found = g_get(ticket, key, type, value, index);
    g_change = std::async(std::launch::async, [=] {
        BIN_STRING const other{OTHER_PASSWORD, sizeof OTHER_PASSWORD - 1};
        return g_set(ticket, key, PARAM_BINSTR, &other, SCALAR_INDEX);
    });
    EXPECT_EQ(g_change.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
    return found;
}

class ConfigurationService : public testing::Test {
 protected:
    void SetUp() override {
        g_operations.clear();
        g_operationResult = 1;
        m_service = CConfigurationControl::GetInstance();
        m_file = m_scratch.Path("settings.xml");
        std::filesystem::current_path(m_scratch.Path());  // tests use relative and empty file names
    }
    void TearDown() override {
        m_service->Release();
        std::filesystem::current_path(m_directory);
    }

    void Open() {
        ASSERT_TRUE(m_service->Initialize(m_file));
        m_logger.TakeCalls();
    }
    STICKET_ACCESS* Ticket() { return m_service->GetConfigInstance(false); }
    bool Saved() const { return m_scratch.Has("settings.xml"); }

    std::filesystem::path const m_directory = std::filesystem::current_path();
    SCRATCH_DIRECTORY m_scratch;
    RECORDING_LOGGER m_logger;
    CConfigurationControl* m_service = nullptr;
    std::string m_file;
};

TEST_F(ConfigurationService, IsOneObjectHoweverItIsAskedFor) {
    EXPECT_EQ(CConfigurationControl::GetInstance(), m_service);
    EXPECT_EQ(GetConfigurationControl(), m_service);
}

TEST_F(ConfigurationService, BeginsWithoutTicketPathOrMessages) {
    EXPECT_EQ(Ticket(), nullptr);
    EXPECT_FALSE(m_service->IsConfigFileAvailable());
    EXPECT_TRUE(m_service->Flush(true));
    EXPECT_TRUE(m_service->UnInitialize());
    EXPECT_TRUE(m_service->ReleaseConfigInstance());
    EXPECT_THAT(m_logger.TakeCalls(), IsEmpty());
}

TEST_F(ConfigurationService, InitializeOpensATicketAndReportsThePath) {
    EXPECT_TRUE(m_service->Initialize(m_file));
    ASSERT_NE(Ticket(), nullptr);
    EXPECT_EQ(Ticket()->nSize, 576u);
    EXPECT_THAT(m_logger.TakeCalls(), ElementsAre("enabled? 6", "6 Config File name for SM JE is " + m_file));
}

TEST_F(ConfigurationService, InitializeReadsNothingYet) {
    m_scratch.Write("settings.xml", "<ticket><Log><Level type=\"int\">5</Level></Log></ticket>");
    Open();
    unsigned int loaded = 99;
    Ticket()->Operation(Ticket()->pTicket, STICKET_OP_COUNT_LOADED, &loaded);
    EXPECT_EQ(loaded, 0u);
    EXPECT_EQ(m_service->GetLogLevel(), 5);
}

TEST_F(ConfigurationService, InitializeWithAnEmptyPathReportsItAndOpensATicketOfTheEmptyName) {
    EXPECT_TRUE(m_service->Initialize(""));
    EXPECT_THAT(m_logger.TakeTexts(), ElementsAre("1 Config File name for SM JE is  is empty"));
    ASSERT_NE(Ticket(), nullptr);
    m_service->SetLogLevel(4);
    EXPECT_EQ(m_service->GetLogLevel(), 4);
}

TEST_F(ConfigurationService, InitializeWithAnEmptyPathKeepsThePathOfBefore) {
    Open();
    m_service->UnInitialize();
    EXPECT_TRUE(m_service->Initialize(""));
    m_service->SetLogLevel(4);
    m_service->Flush(false);
    EXPECT_TRUE(Saved());
}

TEST_F(ConfigurationService, ASecondInitializeStoresTheNewPathButKeepsTheOpenTicket) {
    Open();
    auto const* const ticket = Ticket();
    m_scratch.Write("other.xml", "<ticket><Log><Level type=\"int\">5</Level></Log></ticket>");
    EXPECT_FALSE(m_service->IsConfigFileAvailable());
    EXPECT_TRUE(m_service->Initialize(m_scratch.Path("other.xml")));
    EXPECT_EQ(Ticket(), ticket);
    EXPECT_TRUE(m_service->IsConfigFileAvailable());
    EXPECT_EQ(m_service->GetLogLevel(), 3) << "the fallback: the ticket is still that of the first file";

    m_service->UnInitialize();
    EXPECT_TRUE(m_service->Initialize(""));
    EXPECT_EQ(m_service->GetLogLevel(), 5);
}

TEST_F(ConfigurationService, StaysUsableWhenATicketCannotBeMade) {
    bool hasFailed = false;
    for (int granted = 0; granted < 100 && !hasFailed; ++granted) {
        m_logger.TakeTexts();
        std::string path = m_file;
        try {
            auto const initialize = [&] { return m_service->Initialize(std::move(path)); };
            hasFailed = !allocations::With(granted, initialize, 1);
        } catch (std::bad_alloc const&) {  // from this test's logger, which is called first
        }
    }
    ASSERT_TRUE(hasFailed);
    EXPECT_EQ(Ticket(), nullptr);
    EXPECT_THAT(m_logger.TakeTexts(), ElementsAre("6 Config File name for SM JE is " + m_file,
                                                  "1 Not able to create instance of CConfigurationControl"));
    EXPECT_EQ(m_service->GetLogLevel(), -1);
    EXPECT_TRUE(m_service->Initialize(m_file));
    EXPECT_EQ(m_service->GetLogLevel(), 3);
}

TEST_F(ConfigurationService, GetConfigInstanceFailsWithoutAMessageWhenATicketCannotBeMade) {
    EXPECT_EQ(allocations::With(0, [&] { return m_service->GetConfigInstance(true); }), nullptr);
    EXPECT_THAT(m_logger.TakeCalls(), IsEmpty());
}

TEST_F(ConfigurationService, GetConfigInstanceOpensATicketOnlyWhenAsked) {
    Open();
    m_service->UnInitialize();
    EXPECT_EQ(m_service->GetConfigInstance(false), nullptr);
    auto* const ticket = m_service->GetConfigInstance(true);
    ASSERT_NE(ticket, nullptr);
    EXPECT_EQ(m_service->GetConfigInstance(true), ticket);
    EXPECT_EQ(m_service->GetConfigInstance(false), ticket);
    EXPECT_THAT(m_logger.TakeCalls(), IsEmpty());
    m_service->SetLogLevel(4);
    m_service->Flush(false);
    EXPECT_TRUE(Saved());
}

TEST_F(ConfigurationService, UnInitializeSavesAndClosesAndInitializeOpensAgain) {
    Open();
    m_service->SetLogLevel(4);
    EXPECT_TRUE(m_service->UnInitialize());
    EXPECT_EQ(Ticket(), nullptr);
    EXPECT_TRUE(Saved());
    EXPECT_EQ(m_service->GetLogLevel(), -1);
    Open();
    EXPECT_EQ(m_service->GetLogLevel(), 4);
}

TEST_F(ConfigurationService, UnInitializeFlushesWithForce) {
    Open();
    Ticket()->Operation = RecordOperation;
    EXPECT_TRUE(m_service->UnInitialize());
    EXPECT_THAT(g_operations, ElementsAre(STICKET_OP_SAVE));
}

TEST_F(ConfigurationService, ReleaseConfigInstanceClosesWithoutFlushing) {
    Open();
    m_service->SetLogLevel(4);
    Ticket()->Operation = RecordOperation;
    EXPECT_TRUE(m_service->ReleaseConfigInstance());
    EXPECT_THAT(g_operations, IsEmpty());
    EXPECT_EQ(Ticket(), nullptr);
    EXPECT_TRUE(Saved()) << "the ticket itself saves what is unsaved when it ends";
}

TEST_F(ConfigurationService, FlushSavesNothingBeforeTheFirstSetterUnlessForced) {
    Open();
    Ticket()->Operation = RecordOperation;
    EXPECT_TRUE(m_service->Flush(false));
    EXPECT_THAT(g_operations, IsEmpty());
    EXPECT_TRUE(m_service->Flush(true));
    EXPECT_THAT(g_operations, ElementsAre(STICKET_OP_SAVE));
}

TEST_F(ConfigurationService, FlushSavesAgainEveryTimeOnceASetterWasUsed) {
    Open();
    m_service->SetLogLevel(4);
    Ticket()->Operation = RecordOperation;
    for (int i = 0; i < 3; ++i) m_service->Flush(false);
    EXPECT_EQ(g_operations.size(), 3u);
}

TEST_F(ConfigurationService, FlushStillSavesAfterTheTicketWasClosedAndOpenedAgain) {
    Open();
    m_service->SetLogLevel(4);
    m_service->UnInitialize();
    Open();
    Ticket()->Operation = RecordOperation;
    m_service->Flush(false);
    EXPECT_THAT(g_operations, ElementsAre(STICKET_OP_SAVE));
}

TEST_F(ConfigurationService, FlushAnswersTrueWhateverTheSaveDid) {
    Open();
    Ticket()->Operation = RecordOperation;
    g_operationResult = 0;
    EXPECT_TRUE(m_service->Flush(true));
    EXPECT_EQ(g_operations.size(), 1u);
}

TEST_F(ConfigurationService, FlushWritesTheFileThatALaterObjectReads) {
    Open();
    std::string name = "Proof";
    m_service->SetProductName(name);
    EXPECT_FALSE(Saved());
    m_service->Flush(false);
    EXPECT_EQ(FileContent(m_file),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
              "<ticket>\n"
              "\t<Product>\n"
              "\t\t<Name type=\"string\">Proof</Name>\n"
              "\t</Product>\n"
              "</ticket>\n");
    m_service->Release();
    m_service = CConfigurationControl::GetInstance();
    Open();
    EXPECT_EQ(m_service->GetProductName(), "Proof");
}

TEST_F(ConfigurationService, ReleaseSavesAndTheNextObjectBeginsAnew) {
    Open();
    m_service->SetLogLevel(4);
    m_service->Release();
    EXPECT_TRUE(Saved());
    m_service = CConfigurationControl::GetInstance();
    EXPECT_EQ(Ticket(), nullptr);
    EXPECT_FALSE(m_service->IsConfigFileAvailable()) << "the new object has the path of the old one";
}

// A derived class: the service's own virtual calls must reach its overrides.
class DERIVED_SERVICE : public CConfigurationControl {
 public:
    explicit DERIVED_SERVICE(std::vector<std::string>& calls) : m_calls(calls) {}
    ~DERIVED_SERVICE() override { m_calls.push_back("deleted"); }
    bool Flush(bool force) override {
        m_calls.push_back(force ? "Flush(true)" : "Flush(false)");
        return CConfigurationControl::Flush(force);
    }
    bool UnInitialize() override {
        m_calls.push_back("UnInitialize");
        return CConfigurationControl::UnInitialize();
    }
    void SetLogLevel(int) override { m_calls.push_back("SetLogLevel"); }

 private:
    std::vector<std::string>& m_calls;
};

TEST_F(ConfigurationService, ReleaseUninitialisesThroughTheInterfaceAndDeletes) {
    m_service->Release();
    std::vector<std::string> calls;
    (new DERIVED_SERVICE(calls))->Release();
    EXPECT_THAT(calls, ElementsAre("UnInitialize", "Flush(true)", "deleted"));
    m_service = CConfigurationControl::GetInstance();
}

TEST_F(ConfigurationService, TheEndOfAnyObjectMakesTheProcessForgetItsOne) {
    {
        CConfigurationControl const another;
        EXPECT_EQ(CConfigurationControl::GetInstance(), m_service);
    }
    std::unique_ptr<CConfigurationControl> const forgotten(m_service);
    m_service = CConfigurationControl::GetInstance();
    EXPECT_NE(m_service, forgotten.get());
    auto* const newest = m_service;
    EXPECT_EQ(CConfigurationControl::GetInstance(), newest);
}

TEST_F(ConfigurationService, DestructionClosesTheTicketWithoutFlushing) {
    m_service->Release();
    std::vector<std::string> calls;
    {
        DERIVED_SERVICE service(calls);
        service.Initialize(m_file);
        service.SetLogMode(2);
    }
    EXPECT_THAT(calls, ElementsAre("deleted"));
    EXPECT_TRUE(Saved()) << "the ticket itself saves what is unsaved when it ends";
    m_service = CConfigurationControl::GetInstance();
}

TEST_F(ConfigurationService, DefaultsAreWrittenInOrderWithTheirMessages) {
    Open();
    m_service->SetConfigFileDefaults(9);
    EXPECT_THAT(m_logger.TakeTexts(),
                ElementsAre("6 Corvane language is set to 9", "6 Product name is set to OKT_Vireo_ZR",
                            "6 Corvane Product version is set to 7.000000"));
    m_service->Flush(false);
    EXPECT_EQ(FileContent(m_file),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
              "<ticket>\n"
              "\t<Language>\n"
              "\t\t<SelectedID type=\"int\">9</SelectedID>\n"
              "\t</Language>\n"
              "\t<Product>\n"
              "\t\t<Name type=\"string\">OKT_Vireo_ZR</Name>\n"
              "\t\t<TraceErrorRequired type=\"int\">0</TraceErrorRequired>\n"
              "\t\t<Version type=\"int\">7</Version>\n"
              "\t</Product>\n"
              "</ticket>\n");
}

TEST_F(ConfigurationService, DefaultsGoToTheProcessWideObjectWhicheverIsAsked) {
    Open();
    auto another = std::make_unique<CConfigurationControl>();
    another->Initialize(m_scratch.Path("another.xml"));
    another->SetConfigFileDefaults(9);
    EXPECT_EQ(another->GetLanguageSelected(), 0);
    EXPECT_EQ(m_service->GetLanguageSelected(), 9);

    m_service->Release();
    another->SetConfigFileDefaults(10);  // creates the global object, which has no ticket
    EXPECT_EQ(another->GetLanguageSelected(), 0);
    m_service = CConfigurationControl::GetInstance();
    EXPECT_EQ(Ticket(), nullptr);
}

TEST_F(ConfigurationService, ObserversAreTakenHoweverOftenAndNeverCalledOrDeleted) {
    struct OBSERVER : IConfigNotification {
        ~OBSERVER() override = default;
    };
    alignas(OBSERVER) unsigned char storage[sizeof(OBSERVER)];
    auto* const observer = new (storage) OBSERVER;  // never destroyed: its destructor reports an error
    for (auto* const added : {observer, observer, static_cast<OBSERVER*>(nullptr)}) {
        m_service->AddConfigNotification(added);
    }
    Open();
    m_service->SetLogLevel(4);
    m_service->SetConfigFileDefaults(1);
    m_service->Flush(true);
    m_service->Release();
    m_service = CConfigurationControl::GetInstance();
}

TEST_F(ConfigurationService, ConfigFileIsAvailableWhenItCanBeOpened) {
    EXPECT_FALSE(m_service->IsConfigFileAvailable());
    Open();
    EXPECT_FALSE(m_service->IsConfigFileAvailable());
    m_service->SetLogLevel(4);
    EXPECT_FALSE(m_service->IsConfigFileAvailable());
    m_service->Flush(false);
    EXPECT_TRUE(m_service->IsConfigFileAvailable());
    m_service->UnInitialize();
    EXPECT_TRUE(m_service->IsConfigFileAvailable()) << "the ticket is not asked";
}

TEST_F(ConfigurationService, AsksForAPipeWithoutWaitingForItsWriter) {
    ASSERT_EQ(mkfifo(m_file.c_str(), 0600), 0);
    EXPECT_TRUE(Succeeded(Spawn([this] {
        alarm(20);
        m_service->Initialize(m_file);
        return m_service->IsConfigFileAvailable();
    })));
}

// Messages

TEST_F(ConfigurationService, AsksForTheLevelBeforeEachMessage) {
    Open();
    m_service->SetPGMediaPresetID(1);
    m_service->SetPGMediaPresetID(2);
    EXPECT_THAT(m_logger.TakeCalls(), ElementsAre("enabled? 6", "6 PG Media Preset ID is set to 1", "enabled? 6",
                                                  "6 PG Media Preset ID is set to 2"));
}

TEST_F(ConfigurationService, WritesNoMessageOfADisabledLevel) {
    Open();
    m_logger.disabledLevel = 6;
    m_service->SetPGMediaPresetID(1);
    EXPECT_THAT(m_logger.TakeCalls(), ElementsAre("enabled? 6"));
    EXPECT_EQ(m_service->GetPGMediaPresetID(), 1);
}

TEST_F(ConfigurationService, WorksForAHostWithoutALogger) {
    RECORDING_LOGGER::Current() = nullptr;
    EXPECT_TRUE(m_service->Initialize(m_file));
    EXPECT_TRUE(m_service->Initialize(""));
    m_service->SetPGMediaPresetID(1);
    EXPECT_EQ(m_service->GetPGMediaPresetID(), 1);
    EXPECT_THAT(m_logger.TakeCalls(), IsEmpty());
}

TEST_F(ConfigurationService, MessagesNameTheSourceAndTheLineTheyComeFrom) {
    m_service->Initialize("");
    m_service->Initialize(m_file);
    std::string name = "name";
    m_service->SetProductName(name);
    m_service->SetProductVersion(1);
    m_service->SetLocalMeasureUnit(1);
    m_service->SetLoginPassword(name);
    m_service->SetPGUseLocalSettingsStatus(true, true);
    char const* const expected[] = {"is empty",
                                    "is %s",
                                    "SetProductName",
                                    "SetProductVersion",
                                    "LogChange(LOCAL_MEASURE_UNIT",
                                    "SetLoginPassword",
                                    "PG_WORKFLOW_USE_LOCAL_SETTINGS"};
    std::vector<std::string> source;
    std::ifstream file(std::string(TEST_DATA) + "/../src/ConfigurationCtrl.cpp");
    for (std::string line; std::getline(file, line);) source.push_back(line);

    auto const messages = m_logger.TakeMessages();
    ASSERT_EQ(messages.size(), std::size(expected));
    for (size_t i = 0; i < messages.size(); ++i) {
        EXPECT_EQ(messages[i].file, "src/ConfigurationCtrl.cpp");
        ASSERT_LE(static_cast<size_t>(messages[i].line), source.size());
        EXPECT_THAT(source[static_cast<size_t>(messages[i].line) - 1], HasSubstr(expected[i])) << messages[i].text;
    }
}

TEST_F(ConfigurationService, AnswersAPathQuestionWhileASetterIsUnderWay) {
    Open();
    bool available = true;
    m_logger.duringMessage = [&] { available = m_service->IsConfigFileAvailable(); };
    m_service->SetPGMediaPresetID(1);
    EXPECT_FALSE(available);
}

// Faults

TEST_F(ConfigurationService, AnExceptionInsideAGetterUnlocksAndReachesTheCaller) {
    Open();
    auto* const get = std::exchange(Ticket()->GetParameter, &ThrowOnGet);
    int number = 0;
    EXPECT_THROW(m_service->GetLogLevel(), char const*);
    EXPECT_THROW(m_service->GetLoginServer(), char const*);
    EXPECT_THROW(m_service->GetLoginPassword(), char const*);
    EXPECT_THROW(m_service->GetProductVersion(), char const*);
    EXPECT_THROW(m_service->GetJEDimensions(number, number, number, number), char const*);
    Ticket()->GetParameter = get;
    EXPECT_EQ(m_service->GetLogLevel(), 3);
}

TEST_F(ConfigurationService, AnExceptionInsideASetterUnlocksAndReachesTheCaller) {
    Open();
    auto* const set = std::exchange(Ticket()->SetParameter, &ThrowOnSet);
    EXPECT_THROW(m_service->SetLogLevel(4), char const*);
    EXPECT_THROW(m_service->SetLoginServer("x"), char const*);
    EXPECT_THROW(m_service->SetLocalMeasureUnit(1), char const*);
    EXPECT_THROW(m_service->SetSMDimensions(1, 2, 3, 4), char const*);
    Ticket()->SetParameter = set;
    auto* const operation = std::exchange(Ticket()->Operation, &RecordOperation);
    m_service->Flush(false);
    EXPECT_THAT(g_operations, IsEmpty()) << "nothing was written";
    Ticket()->Operation = operation;
    m_service->SetLogLevel(4);
    EXPECT_EQ(m_service->GetLogLevel(), 4);
}

TEST_F(ConfigurationService, AnExceptionFromTheLoggerUnlocksAndReachesTheCaller) {
    Open();
    m_logger.duringMessage = [] { throw std::string("full"); };
    EXPECT_THROW(m_service->SetPGMediaPresetID(1), std::string);
    m_logger.duringMessage = nullptr;
    EXPECT_EQ(m_service->GetPGMediaPresetID(), 1);
}

TEST_F(ConfigurationService, ARefusedWriteIsReportedAndMarksForSavingAllTheSame) {
    Open();
    Ticket()->SetParameter = RefuseSet;
    m_service->SetPGMediaPresetID(1);
    EXPECT_THAT(m_logger.TakeTexts(), ElementsAre("6 PG Media Preset ID is set to 1"));
    Ticket()->Operation = RecordOperation;
    m_service->Flush(false);
    EXPECT_THAT(g_operations, ElementsAre(STICKET_OP_SAVE));
}

// Threads

TEST_F(ConfigurationService, FirstCreationUnderThreadsGivesAllTheSameObject) {
    for (int round = 0; round < 50; ++round) {
        m_service->Release();
        IConfigurationControl* seen[4] = {};
        Together(4, [&](int n) { seen[n] = GetConfigurationControl(); });
        m_service = CConfigurationControl::GetInstance();
        EXPECT_THAT(seen, testing::Each(m_service));
    }
}

TEST_F(ConfigurationService, ReadsThePasswordToItsEndBeforeTheTicketLetsAnotherThreadChangeIt) {
    Open();
    std::string const password = "a password which no small buffer holds";
    m_service->SetLoginPassword(password);
    g_set = Ticket()->SetParameter;
    g_get = std::exchange(Ticket()->GetParameter, &ChangeAfterGet);
    EXPECT_EQ(m_service->GetLoginPassword(), password);
    EXPECT_EQ(g_change.get(), 1);
    Ticket()->GetParameter = g_get;
    EXPECT_EQ(m_service->GetLoginPassword(), OTHER_PASSWORD);
}

TEST_F(ConfigurationService, OpensSavesAndClosesWhileOthersUseIt) {
    // One thread for each use: the locks taken by a neighbouring use on the same thread would hide a data race.
    std::function<void()> const uses[] = {
        [this] { m_service->SetLogLevel(4); },
        [this] {
            int const level = m_service->GetLogLevel();
            EXPECT_TRUE(level == 4 || level == 3 || level == -1) << level;  // set, absent from this file, no ticket
        },
        [this] { m_service->GetProductVersion(); },
        [this] { m_service->GetLoginServer(); },
        [this] { m_service->GetLoginPassword(); },
        [this] {
            int x = 0, y = 0, width = 0, height = 0;
            m_service->GetSMDimensions(x, y, width, height);
        },
        [this] { m_service->Flush(false); },
        [this] { m_service->IsConfigFileAvailable(); },
        [this, i = 0]() mutable { m_service->Initialize(m_scratch.Path(++i % 2 ? "one.xml" : "two.xml")); },
    };
    std::atomic<bool> done{false};
    std::vector<std::thread> threads;
    for (auto const& use : uses) {
        threads.emplace_back([&done, &use] {
            while (!done) use();
        });
    }
    for (int i = 0; i < 20; ++i) {
        m_service->Initialize(m_file);
        m_service->Flush(false);
        m_service->GetConfigInstance(true);
        m_service->UnInitialize();
        m_service->ReleaseConfigInstance();
    }
    done = true;
    for (auto& thread : threads) thread.join();
}

}  // namespace
