// Reads arbitrary bytes as the text of a file by both readers and by the XML library alone. Both must make the same
// calls in the same order, with the same result. A mutator of lines keeps most inputs close to the form that a save
// writes.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "../support/FileText.h"
#include "FuzzInput.h"

namespace {

std::string Joined(std::vector<std::string> const& values) {
    std::string all;
    for (std::string const& value : values) all += value + "\n";
    return all;
}

void MustBeAsByXml(FileText const& read, FileText const& byXml) {
    MUST_HOLD(read.result.reading == byXml.result.reading);
    MustBeSame(Joined(read.values), Joined(byXml.values), "values");
}

// Only the keys with an even length are wanted.
struct EVERY_OTHER {
    std::vector<std::string> keys;

    static int Set(void* context, std::string_view key, PARAM_TYPE, void const*, int) {
        static_cast<EVERY_OTHER*>(context)->keys.emplace_back(key);
        return 1;
    }
    static bool Wants(void*, std::string_view key) { return key.size() % 2 == 0; }
    static void Drop(void* context) { static_cast<EVERY_OTHER*>(context)->keys.clear(); }

    LEAF_RECEIVER Receiver() { return {&Set, this, &Wants, &Drop}; }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    std::string const text(reinterpret_cast<char const*>(data), size);
    FileText const byXml = FileText::ReadByXml(text);
    MustBeAsByXml(FileText::Read(text), byXml);
    if (text.find('\0') == std::string::npos) MUST_HOLD(FileText::Read(text).result.offset == byXml.result.offset);
    for (std::size_t const told : {std::size_t{0}, size / 3, size - size / 4}) {
        TOLD_SOURCE source(text, told);
        // After a NUL the parser looks at the last byte of the text, so the source must report the true size.
        if (text.find('\0') == std::string::npos) MustBeAsByXml(FileText::Read(source), byXml);
    }
    EVERY_OTHER wanted;
    EVERY_OTHER wantedByXml;
    TEXT_SOURCE source(text);
    ReadTicket(source, wanted.Receiver());
    if (!ReadDocument(text, wantedByXml.Receiver()).IsRead()) wantedByXml.keys.clear();
    MustBeSame(Joined(wanted.keys), Joined(wantedByXml.keys), "wanted keys");
    return 0;
}

#ifdef CONFIGURATIONCONTROL_FUZZERS
extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t most);

namespace {

class LINES {
 public:
    LINES(std::string_view text, unsigned int seed) : m_random(seed) {
        for (std::size_t at = 0; at < text.size();) {
            std::size_t const end = std::min(text.find('\n', at), text.size() - 1);
            m_lines.emplace_back(text.substr(at, end + 1 - at));
            at = end + 1;
        }
    }

    void Mutate() {
        if (m_lines.empty()) m_lines.emplace_back(Leaf());
        std::size_t const at = Below(m_lines.size());
        std::string& line = m_lines[at];
        switch (Below(7)) {
            case 0:
                return void(m_lines.insert(m_lines.begin() + static_cast<std::ptrdiff_t>(at), Leaf()));
            case 1:
                return void(m_lines.erase(m_lines.begin() + static_cast<std::ptrdiff_t>(at)));
            case 2:
                return void(m_lines.insert(m_lines.begin() + static_cast<std::ptrdiff_t>(Below(m_lines.size())),
                                           std::string(line)));
            case 3:
                return line.swap(m_lines[Below(m_lines.size())]);
            case 4:
                return InsertBranch(at);
            case 5:
                return void(line.insert(Below(line.size() + 1), Pick(ODD)));
            default:
                return void(line.erase(Below(line.size() + 1), 1 + Below(3)));
        }
    }

    std::string Text() const {
        std::string text;
        for (std::string const& line : m_lines) text += line;
        return text;
    }

 private:
    static inline std::vector<std::string> const ODD{
        "<",    ">",      "/",    "\"",  "&",  "&amp;", "&#",
        "\\",   "\\x4",   "\n",   "\t",  " ",  "\r",    "?",
        "!",    "\xFF",   "\x01", "1",   "a",  "=",     "<!--x-->",
        "<a/>", "ticket", "'",    "-->", "?>", "[",     std::string(1, '\0')};
    static inline std::vector<std::string> const NAMES{"a",        "b", "ticket",  "Key-1", "_",
                                                       "\xC3\xA4", "a", "HP 4000", "?a",    "a?"};
    static inline std::vector<std::string> const TYPES{"int", "string", "double", "binstr", "int64", "uint64"};
    static inline std::vector<std::string> const TEXTS{
        "1", "-5", "500.e-003", "text", "a b", "\\", "\\xC3\\xA4", "a & b", "x \\x20", "1.#QNAN", "&lt;", "", " "};

    std::size_t Below(std::size_t end) { return m_random() % end; }
    std::string Pick(std::vector<std::string> const& from) { return from[Below(from.size())]; }

    std::string Leaf() {
        std::string const name = Pick(NAMES);
        return std::string(1 + Below(3), '\t') + "<" + name + " type=\"" + Pick(TYPES) + "\">" + Pick(TEXTS) + "</" +
               name + ">\n";
    }

    // An element around some of the lines, which move one tab to the right.
    void InsertBranch(std::size_t at) {
        std::size_t const end = std::min(m_lines.size(), at + Below(4));
        std::string const tabs(std::min(m_lines[at].find_first_not_of('\t'), std::size_t{8}), '\t');
        std::string const name = Pick(NAMES);
        for (std::size_t i = at; i < end; ++i) m_lines[i].insert(0, "\t");
        m_lines.insert(m_lines.begin() + static_cast<std::ptrdiff_t>(end), tabs + "</" + name + ">\n");
        m_lines.insert(m_lines.begin() + static_cast<std::ptrdiff_t>(at), tabs + "<" + name + ">\n");
    }

    std::vector<std::string> m_lines;
    std::mt19937 m_random;
};

}  // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t most,
                                               unsigned int seed) {
    if (seed % 4 == 0) return LLVMFuzzerMutate(data, size, most);
    LINES lines({reinterpret_cast<char const*>(data), size}, seed);
    lines.Mutate();
    std::string const text = lines.Text();
    std::size_t const length = std::min(text.size(), most);
    std::memcpy(data, text.data(), length);
    return length;
}
#endif
