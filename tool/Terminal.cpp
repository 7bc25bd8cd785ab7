// Decides once what standard output wants, and keeps the standard streams in order.
#include "Terminal.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <iostream>
#include <streambuf>

#include "Text.h"
#include "Values.h"

// Shows text on a terminal. Colours take another way than text, so that no text can bring its own.
class TERMINAL_BUFFER : public std::streambuf {
 public:
    explicit TERMINAL_BUFFER(std::ostream& stream) : m_stream(stream), m_terminal(stream.rdbuf(this)) {}
    ~TERMINAL_BUFFER() override {
        sync();
        m_stream.rdbuf(m_terminal);
    }

    void Control(std::string_view sequence) {
        Show(m_text.size());
        Pass(sequence);
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
        auto const size = static_cast<std::streamsize>(text.size());
        if (m_terminal->sputn(text.data(), size) != size) m_failed = true;
    }

    std::ostream& m_stream;
    std::streambuf* const m_terminal;
    std::string m_text;  // not yet shown
    bool m_failed = false;
};

namespace {

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

bool IsRefusedByTheUser() {
    char const* const no = std::getenv("NO_COLOR");
    return no != nullptr && *no != '\0';
}

}  // namespace

OUTPUT::OUTPUT() {
    if (IsForPeople()) m_terminal = std::make_unique<TERMINAL_BUFFER>(std::cout);
}

OUTPUT::~OUTPUT() = default;

bool OUTPUT::IsForPeople() {
    static bool const isTerminal = isatty(STDOUT_FILENO) != 0;
    return isTerminal;
}

std::ostream& operator<<(std::ostream& out, COLOURED const& coloured) {
    auto* const terminal = dynamic_cast<TERMINAL_BUFFER*>(out.rdbuf());
    if (terminal == nullptr || coloured.colour == COLOUR::NONE || IsRefusedByTheUser()) return out << coloured.text;
    terminal->Control(Sequence(coloured.colour));
    out << coloured.text;
    terminal->Control("\033[0m");
    return out;
}

void Complain(std::string const& text) {
    std::cerr << "ticket: " + Printable(text) + "\n";
}

void OccupyStandardStreams() {
    for (int const stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(stream, F_GETFD) >= 0) continue;
        // The lowest free number is this one; opened the wrong way round, every use of it fails as it should.
        if (open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY) < 0) return;
    }
}
