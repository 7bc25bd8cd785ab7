// Feeds arbitrary bytes as a file to tickets: whole, partial, and through a text conversion. Each must load
// or refuse them. A reference model predicts the file that each then saves, and the values loaded from it.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <map>
#include <pugixml.hpp>
#include <string>

#include "../support/FileText.h"
#include "../support/Files.h"
#include "../support/Tickets.h"
#include "ConfigurationControl/StringConversion.h"
#include "Format/OddNames.h"
#include "Format/Reader.h"
#include "FuzzFile.h"
#include "FuzzInput.h"
#include "FuzzReader.h"
#include "TicketRules.h"

namespace {

constexpr char KEPT[] = ".unreadable";

// A conversion that is its own inverse. It neither adds nor removes NUL bytes.
class MIRRORED : public STICKET_STRING_CONVERSION {
 public:
    std::string ToFile(std::string const& text) override { return Mirror(text); }
    std::string FromFile(std::string const& text, int /*reserved*/) override { return Mirror(text); }

    static std::string Mirror(std::string text) {
        for (char& byte : text) byte = static_cast<char>(-byte);
        return text;
    }
};

// The values that a ticket loads from the file, and those after a save and another load.
struct CYCLE {
    VALUES values;
    std::string saved;
};

void Save(STICKET_ACCESS const* ticket) {
    // Fails, but marks the ticket as changed.
    MUST_HOLD(ticket->SetParameter(ticket->pTicket, nullptr, PARAM_STRING, nullptr, SCALAR_INDEX) == 0);
    MUST_HOLD(tickets::Operate(ticket, STICKET_OP_SAVE) == 1);
}

CYCLE LoadAndSave(std::string const& file, STICKET_STRING_CONVERSION* conversion = nullptr) {
    STICKET_WHOAMI whoAmI = tickets::NOBODY;
    whoAmI.pContext = conversion;
    tickets::OWNER const ticket(STICKET::CCreate(file.c_str(), whoAmI));
    VALUES const values = Walked(ticket);
    Save(ticket);
    return {values, FileContent(file)};
}

std::string FileOf(VALUES const& values) {
    return values.empty() ? "" : FILE_MODEL(values).Text();
}

// The values of one key are adjacent in the file, in the order of the next walk; only the order of keys differs.
std::string Reloaded(VALUES const& values) {
    std::map<std::string, VALUES> byKey;
    for (VALUE const& value : FILE_MODEL(values).Reloaded()) byKey[value.key].push_back(value);
    VALUES sorted;
    for (auto& [key, elements] : byKey) {
        int index = elements.size() > 1 ? 0 : SCALAR_INDEX;
        for (VALUE& element : elements) {
            element.index = index++;
            sorted.push_back(element);
        }
    }
    return Spelled(sorted);
}

// Expects the kept file exactly if the content could not be read to its end. Bytes after a NUL are not read.
void CheckKept(std::string const& file, std::string const& content, bool isRead) {
    bool const hasNul = content.find('\0') != std::string::npos;
    MUST_HOLD(files::Exists(file + KEPT) == (!content.empty() && (hasNul || !isRead)));
    if (!files::Exists(file + KEPT)) return;
    MustBeSame(FileContent(file + KEPT), content, "kept file");
    std::remove((file + KEPT).c_str());
}

void CheckFirst(std::string const& file, std::string const& content, VALUES const& values) {
    pugi::xml_document document;
    std::string text = content;
    bool const parses = document.load_buffer_inplace(
        text.data(), text.size(), pugi::parse_full | pugi::parse_ws_pcdata_single, pugi::encoding_utf8);
    // Names that look like markup are read as markup only if the file cannot be read otherwise. What ends markup counts
    // only up to the first NUL: a load reads nothing behind it.
    std::size_t const nul = std::min(content.find('\0'), content.size());
    if (parses && !TICKET_NAMES::LookLikeMarkup(content.substr(0, nul + 1))) {
        CheckKept(file, content, true);
        return MustBeSame(Spelled(values), Spelled(TICKET_RULES::LoadedFrom(DOCUMENT_READER::Read(document))),
                          "values");
    }
    READ_RESULT const result = FileText::Read(content).result;
    if (parses && result.reading == READING::IN_PART) return CheckKept(file, content, false);
    bool const isRead = result.IsRead();
    CheckKept(file, content, isRead);
    MUST_HOLD(isRead || values.empty());
}

void CheckConversion(std::string const& file, std::string const& content, CYCLE const& plain) {
    files::Write(file, content);
    MIRRORED conversion;
    CYCLE const converted = LoadAndSave(file, &conversion);
    MustBeSame(converted.saved, plain.saved, "saved through a conversion");
    VALUES expected = plain.values;
    for (VALUE& value : expected)
        if (value.type == PARAM_STRING) value.content = MIRRORED::Mirror(value.content);
    MustBeSame(Spelled(converted.values), Spelled(expected), "values of a conversion");
}

// `file` was saved from `values`.
void CheckPartial(std::string const& file, VALUES const& values) {
    if (values.empty()) return;
    std::string const before = FileContent(file);
    tickets::OWNER const ticket(file.c_str());
    std::string const& key = values[values.size() / 2].key;
    char const* const keys[] = {key.c_str(), nullptr};
    MUST_HOLD(tickets::Operate(ticket, STICKET_OP_PARTIAL_KEYS, const_cast<char const**>(keys)) == 1);
    unsigned int type = 0;
    MUST_HOLD(ticket->GetParameter(ticket->pTicket, key.c_str(), PARAM_NONE, &type, SCALAR_INDEX) == 1);
    unsigned int loaded = 0;
    MUST_HOLD(tickets::Operate(ticket, STICKET_OP_COUNT_LOADED, &loaded) == 1);
    auto const isKey = [&](VALUE const& value) { return value.key == key; };
    MUST_HOLD(loaded == std::count_if(values.begin(), values.end(), isKey));
    MustBeSame(Spelled(Walked(ticket)), Reloaded(values), "values after a partial load");
    MUST_HOLD(tickets::Operate(ticket, STICKET_OP_RELEASE) == 1);
    MustBeSame(FileContent(file), before, "file after a partial load");
}

int Finish(std::string const& file) {
    std::remove(file.c_str());
    std::remove((file + KEPT).c_str());
    return 0;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    static SCRATCH_DIRECTORY const scratch;
    std::string const file = scratch.Path("ticket.xml");
    std::string const content(reinterpret_cast<char const*>(data), size);
    files::Write(file, content);

    CYCLE const first = LoadAndSave(file);
    CheckFirst(file, content, first.values);
    MustBeSame(first.saved, FileOf(first.values), "first saved file");
    auto const isSure = [](VALUE const& value) { return IsSureKey(value.key); };
    if (!std::all_of(first.values.begin(), first.values.end(), isSure)) return Finish(file);
    CYCLE const second = LoadAndSave(file);
    MustBeSame(Spelled(second.values), Reloaded(first.values), "values read again");
    MustBeSame(second.saved, FileOf(second.values), "second saved file");
    // Each save may remove a space from either end of a text, and changes nothing else.
    CYCLE const third = LoadAndSave(file);
    MustBeSame(Spelled(third.values), Reloaded(second.values), "values read a third time");
    if (third.values == second.values) MustBeSame(third.saved, second.saved, "third saved file");

    CheckPartial(file, third.values);
    CheckConversion(file, content, first);
    return Finish(file);
}
