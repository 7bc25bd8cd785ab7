// One file ticket under many threads, and many tickets on one file; meant above all for ThreadSanitizer.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <string>
#include <vector>

#include "support/FileTickets.h"
#include "support/Threads.h"

namespace {

using namespace tickets;

std::function<void()> Times(int count, std::function<void(int)> const& work) {
    return [=] {
        for (int i = 0; i < count; ++i) work(i);
    };
}

}  // namespace

TEST(FileThreads, OneTicketServesReadersWritersSaversAndReleasers) {
    constexpr int ROUNDS = 40;
    SCRATCH_DIRECTORY const scratch;
    std::string const file = scratch.Path("t.xml");
    std::atomic<int> called{0};
    std::atomic<int> queued{0};
    struct CALLBACK {
        static void Count(void* called) { ++*static_cast<std::atomic<int>*>(called); }
    };
    {
        OWNER const ticket(file.c_str());
        Set(ticket, "text", "start");
        Set(ticket, "writer/a", 0);
        Set(ticket, "writer/b", 0);
        auto const write = [&](std::string const& key) {
            return Times(10 * ROUNDS, [&ticket, key](int i) { EXPECT_EQ(Set(ticket, key.c_str(), i), 1); });
        };
        Together({
            write("writer/a"),
            write("writer/b"),
            Times(10 * ROUNDS,
                  [&](int i) {
                      std::string const text = "text " + std::to_string(i % 7);
                      EXPECT_EQ(Set(ticket, "text", text.c_str()), 1);
                      EXPECT_EQ(Set(ticket, "list", i, APPEND_INDEX), 1);
                  }),
            Times(20 * ROUNDS,
                  [&](int) {
                      char const* text = nullptr;
                      int number = -1;
                      GETMULTIPAR batch[] = {{"text", PARAM_STRING, &text, SCALAR_INDEX, false},
                                             {"writer/a", PARAM_INT, &number, SCALAR_INDEX, false},
                                             {nullptr, PARAM_NONE, nullptr, 0, false}};
                      EXPECT_EQ(ticket->GetMultiParameter(ticket->pTicket, batch), 1);
                      ASSERT_NE(text, nullptr);
                      EXPECT_THAT(text, testing::MatchesRegex("start|text [0-6]"));
                      EXPECT_NE(GetText(ticket, "text"), std::nullopt);
                  }),
            Times(5 * ROUNDS,
                  [&](int) {
                      EXPECT_GE(Contents(ticket).size(), 3u);
                      EXPECT_GE(Count(ticket), 3u);
                  }),
            Times(ROUNDS / 2, [&](int) { EXPECT_EQ(Operate(ticket, STICKET_OP_SAVE), 1); }),
            Times(ROUNDS / 2, [&](int) { EXPECT_EQ(Operate(ticket, STICKET_OP_RELEASE), 1); }),
            Times(ROUNDS,
                  [&](int i) {
                      if (ticket->QueueAfterNotification(ticket->pTicket, &CALLBACK::Count, &called)) ++queued;
                      int owner = 5;
                      ticket->Lock(ticket->pTicket, i % 20, &owner, true);
                      ticket->EnDisNotification(ticket->pTicket, -2, false, nullptr);
                  }),
        });
        Set(ticket, "text", "end");
        EXPECT_EQ(called, queued);
        EXPECT_EQ(GetInt(ticket, "list", 10 * ROUNDS - 1), 10 * ROUNDS - 1);
    }
    OWNER const ticket(file.c_str());
    EXPECT_EQ(GetInt(ticket, "writer/a"), 10 * ROUNDS - 1);
    EXPECT_EQ(GetInt(ticket, "writer/b"), 10 * ROUNDS - 1);
    EXPECT_EQ(GetText(ticket, "text"), "end");
    EXPECT_EQ(Count(ticket), 3u + 10 * ROUNDS);
    EXPECT_THAT(files::Names(scratch), testing::ElementsAre("t.xml"));
}

TEST(FileThreads, PartialKeysMayChangeWhileOthersRead) {
    SCRATCH_DIRECTORY const scratch;
    std::string const file = scratch.Path("t.xml");
    files::Write(file, Document({"<a type=\"int\">1</a>", "<b type=\"string\">text</b>"}));
    OWNER const ticket(file.c_str());
    Together({
        Times(100,
              [&](int i) {
                  SetPartialKeys(ticket, i % 2 ? std::vector<char const*>{"a"} : std::vector<char const*>{"", "a"});
              }),
        Times(200, [&](int) { EXPECT_EQ(GetInt(ticket, "a"), 1); }),
        Times(200, [&](int) { EXPECT_EQ(GetText(ticket, "b"), "text"); }),
        Times(100, [&](int) { EXPECT_EQ(Contents(ticket).size(), 2u); }),
    });
}

TEST(FileThreads, TicketsOfOneFileNeverSeeHalfOfASave) {
    constexpr int VALUES = 20;
    SCRATCH_DIRECTORY const scratch;
    std::string const file = scratch.Path("t.xml");
    auto const save = [&](int value) {
        OWNER const ticket(file.c_str());
        for (int i = 0; i < VALUES; ++i) Set(ticket, ("v" + std::to_string(i)).c_str(), value);
    };
    save(0);
    std::atomic<int> saving{2};
    auto const saveOften = [&](int first) {
        for (int i = 0; i < 20; ++i) save(first + i);
        --saving;
    };
    Together({
        [&] { saveOften(100); },
        [&] { saveOften(200); },
        [&] {
            while (saving > 0) {
                OWNER const ticket(file.c_str());
                auto const first = GetInt(ticket, "v0");
                ASSERT_NE(first, std::nullopt);
                EXPECT_EQ(Count(ticket), static_cast<unsigned int>(VALUES));
                EXPECT_EQ(GetInt(ticket, "v19"), first);
            }
        },
    });
    EXPECT_THAT(files::Names(scratch), testing::ElementsAre("t.xml"));
}
