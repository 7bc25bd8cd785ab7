// Decides once whether standard output gets colours and a pager, and escapes what is printed there.
#include "Terminal.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <streambuf>
#include <utility>

#include "Pager.h"
#include "Text.h"
#include "Values.h"

namespace {

bool usesColour = false;
std::size_t linesBeforePager = 0;  // 0: no pager

char const* Sequence(COLOUR colour) {
    switch (colour) {
        case COLOUR::RED:
            return "\033[31m";
        case COLOUR::GREEN:
            return "\033[32m";
        case COLOUR::YELLOW:
            return "\033[33m";
        default:
            return "";
    }
}

}  // namespace

// Shows text on a terminal, in a pager once it is longer than the screen. Colours take another way than text, so that
// no text can bring its own.
class TERMINAL_BUFFER : public std::streambuf {
 public:
    explicit TERMINAL_BUFFER(std::ostream& stream) : m_stream(stream), m_terminal(stream.rdbuf(this)) {}
    ~TERMINAL_BUFFER() override {
        Finish();
        m_stream.rdbuf(m_terminal);
    }

    void Control(std::string_view sequence) {
        Show(m_text.size());
        Pass(sequence);
    }

    // Shows what has been held back for a pager, and waits for the pager.
    void Finish() {
        Show(m_text.size());
        Release();
        m_pager.reset();
    }

 protected:
    int_type overflow(int_type c) override {
        if (traits_type::eq_int_type(c, traits_type::eof())) return traits_type::not_eof(c);
        char const byte = traits_type::to_char_type(c);
        xsputn(&byte, 1);
        return c;
    }
    std::streamsize xsputn(char const* text, std::streamsize size) override {
        m_text.append(text, static_cast<std::size_t>(size));
        if (m_text.size() > ENOUGH) Show(LengthOfWholeCharacters(m_text));
        return size;
    }
    int sync() override {
        Show(m_text.size());
        return m_failed ? -1 : m_terminal->pubsync();
    }

 private:
    static constexpr std::size_t ENOUGH = 1 << 16;

    void Show(std::size_t size) {
        Pass(Printable(std::string_view(m_text).substr(0, size), LAYOUT::KEPT));
        m_text.erase(0, size);
    }
    void Pass(std::string_view text) {
        if (text.empty()) return;  // at the end, after the pager has been left
        if (m_pager) return m_pager->Show(text);
        m_held += text;
        m_lines += static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
        if (linesBeforePager == 0) return Release();
        if (m_lines <= linesBeforePager) return;
        m_pager = std::make_unique<PAGER>();
        m_pager->Show(std::exchange(m_held, {}));
    }
    void Release() {
        auto const size = static_cast<std::streamsize>(m_held.size());
        if (m_terminal->sputn(m_held.data(), size) != size || m_terminal->pubsync() != 0) m_failed = true;
        m_held.clear();
    }

    std::ostream& m_stream;
    std::streambuf* const m_terminal;
    std::string m_text;  // not yet made printable
    std::string m_held;  // printable, not yet shown
    std::size_t m_lines = 0;
    std::unique_ptr<PAGER> m_pager;
    bool m_failed = false;
};

OUTPUT::OUTPUT() {
    if (IsForPeople()) m_terminal = std::make_unique<TERMINAL_BUFFER>(std::cout);
}

OUTPUT::~OUTPUT() = default;

void OUTPUT::Finish() {
    std::cout.flush();
    if (!std::cout) throw FAILURE("standard output cannot be written");
    if (m_terminal != nullptr) m_terminal->Finish();
}

bool OUTPUT::IsForPeople() {
    static bool const isTerminal = isatty(STDOUT_FILENO) != 0;
    return isTerminal;
}

void OUTPUT::UsePager() {
    winsize size = {};
    if (!IsForPeople() || !PAGER::IsWanted() || ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0) return;
    linesBeforePager = size.ws_row;  // a terminal that does not know its size gets no pager
}

void UseColour(std::string_view when) {
    char const* const no = std::getenv("NO_COLOR");
    bool const isUnwanted = no != nullptr && *no != '\0';
    usesColour = when == "always" || (when == "auto" && OUTPUT::IsForPeople() && !isUnwanted);
}

std::ostream& operator<<(std::ostream& out, COLOURED const& coloured) {
    if (!usesColour || coloured.colour == COLOUR::NONE) return out << coloured.text;
    auto* const terminal = dynamic_cast<TERMINAL_BUFFER*>(out.rdbuf());
    if (terminal == nullptr) return out << Sequence(coloured.colour) << coloured.text << "\033[0m";
    terminal->Control(Sequence(coloured.colour));
    out << coloured.text;
    terminal->Control("\033[0m");
    return out;
}

void Complain(std::string const& text) {
    std::cerr << "ticket: " + Printable(text) + "\n";
}

void Note(std::string const& text) {
    std::cerr << "ticket: note: " + Printable(text) + "\n";
}

void OccupyStandardStreams() {
    for (int const stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(stream, F_GETFD) >= 0) continue;
        // The lowest free number is this one; opened the wrong way round, every use of it fails as it should.
        if (open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY) < 0) return;
    }
}
