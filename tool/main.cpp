// `ticket`: shows, checks and changes ticket files.
#include <algorithm>
#include <csignal>
#include <exception>

#include "Commands.h"
#include "Terminal.h"
#include "Values.h"

int main(int argc, char** argv) {
    OccupyStandardStreams();
    std::signal(SIGXFSZ, SIG_IGN);  // a write beyond the limit of file sizes then
                                    // fails like any other
    int result = FAILED;
    try {
        OUTPUT output;
        result = RunCommandLine(Commands(), {argv + std::min(argc, 1), argv + argc});
        output.Finish();
    } catch (MISSING_KEY const& missing) {
        Complain(missing.what());
        result = FOUND_SOMETHING;
    } catch (std::exception const& error) {
        Complain(error.what());
        result = FAILED;
    } catch (char const* text) {
        Complain(text);
        result = FAILED;
    }
    return result;
}
