// A host that stops where a debugger shows its ticket, store and records.
#include "ConfigurationControl/Store.h"

extern "C" void Stop(void const* shown);
extern "C" void StopInC();

int main() {
    ticket::Store store;
    store.set("Log/Level", 5);
    store.set("Window/Title", "A \"proof\"");
    store.set("Recent", {"a.pdf", "b.pdf"});
    store.set("Wide", std::uint64_t{18446744073709551615U});
    store.set("Preset", ticket::Bytes{std::byte{0}, std::byte{'x'}});
    [[maybe_unused]] STICKET_ACCESS const& table = *store.table();
    [[maybe_unused]] ticket::Store const empty(static_cast<STICKET_ACCESS const*>(nullptr));
    [[maybe_unused]] ticket::Result const refused = store.set("", 1);
    [[maybe_unused]] ticket::Result const done;
    char const* text = nullptr;
    table.GetParameter(table.pTicket, "Window/Title", PARAM_STRING, &text, SCALAR_INDEX);
    int const level = 7;
    [[maybe_unused]] GETMULTIPAR const read{"Window/Title", PARAM_STRING, &text, SCALAR_INDEX, true};
    [[maybe_unused]] SETMULTIPAR const write[] = {
        {"Log/Level", PARAM_INT, &level, SCALAR_INDEX, false}, {"Name", PARAM_STRING, "n", APPEND_INDEX, true}, {}};
    [[maybe_unused]] BIN_STRING const bytes{"\1a", 2};
    [[maybe_unused]] BIN_STRING const noBytes{nullptr, 5};
    [[maybe_unused]] STICKET_ACCESS const noTicket{};
    [[maybe_unused]] STICKET_ACCESS destroyed = table;
    destroyed.pTicket = reinterpret_cast<STICKET*>(std::uintptr_t{0x10});
    void* const dangling = reinterpret_cast<void*>(std::uintptr_t{0x20});
    GETMULTIPAR const wrong[] = {{"Name", PARAM_STRING, dangling, SCALAR_INDEX, false},
                                 {"Log/Level", PARAM_INT, dangling, SCALAR_INDEX, false},
                                 {"Preset", PARAM_BINSTR, dangling, SCALAR_INDEX, false},
                                 {static_cast<char const*>(dangling), PARAM_INT, nullptr, 0, false}};
    Stop(wrong);
    StopInC();
    return 0;
}
